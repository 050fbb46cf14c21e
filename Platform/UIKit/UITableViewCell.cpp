#include "Platform/UIKit/UITableViewCell.h"

namespace kova {

UITableViewCell::UITableViewCell(UITableViewCellStyle style, std::optional<std::string> reuseIdentifier)
    : m_style(style)
    , m_reuseIdentifier(std::move(reuseIdentifier))
{
}

} // namespace kova
