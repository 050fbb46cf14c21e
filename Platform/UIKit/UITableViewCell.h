// One visible row of a table. The table makes a few of them and uses them again and again.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIView.h"

namespace kova {

enum class UITableViewCellStyle { default_ = 0 };

class KOVA_EXPORT UITableViewCell : public UIView {
public:
    UITableViewCell(UITableViewCellStyle style, std::optional<std::string> reuseIdentifier);

    [[nodiscard]] UITableViewCellStyle style() const { return m_style; }
    [[nodiscard]] const std::optional<std::string>& reuseIdentifier() const { return m_reuseIdentifier; }

    /// Runs just before a cell that has shown another row is handed out again, never for a new one.
    virtual void prepareForReuse() { }

private:
    UITableViewCellStyle m_style;
    std::optional<std::string> m_reuseIdentifier;
};

} // namespace kova
