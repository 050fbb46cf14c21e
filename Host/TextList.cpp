#include "Host/TextList.h"

#include "Platform/UIKit/UILabel.h"

#include <algorithm>
#include <utility>

namespace kova::host {

namespace {

constexpr const char* identifier = "text";
constexpr double margin = 12;
constexpr std::size_t mostAppended = 500;

class TextCell : public UITableViewCell {
public:
    TextCell(UITableViewCellStyle style, std::optional<std::string> reuseIdentifier)
        : UITableViewCell(style, std::move(reuseIdentifier))
    {
        addSubview(label);
    }

    std::shared_ptr<UILabel> label = std::make_shared<UILabel>();

protected:
    void layoutSubviews() override
    {
        const auto size = bounds().size;
        label->setFrame({margin, 0, std::max(0.0, size.width - 2 * margin), size.height});
    }
};

} // namespace

TextList::TextList(Style style)
    : m_style(style)
{
    m_table->registerClass<TextCell>(identifier);
    m_table->setSeparatorStyle(UITableViewCellSeparatorStyle::none);
    m_table->setBackgroundColor(style.background);
    m_table->setDataSource(this);
    m_table->setDelegate(this);
}

void TextList::setTexts(std::vector<std::string> texts)
{
    m_texts = std::move(texts);
    m_table->reloadData();
}

void TextList::append(const std::vector<std::string>& texts)
{
    m_texts.insert(m_texts.end(), texts.begin(), texts.end());
    if (m_texts.size() > mostAppended)
        m_texts.erase(m_texts.begin(), m_texts.end() - mostAppended);
    m_table->reloadData();
    m_table->layoutIfNeeded();
    m_table->setContentOffset(m_table->clampedOffset({.x = 0, .y = m_table->contentSize().height}));
}

std::int64_t TextList::numberOfRowsInSection(UITableView&, std::int64_t)
{
    return static_cast<std::int64_t>(m_texts.size());
}

std::shared_ptr<UITableViewCell> TextList::cellForRowAt(UITableView& tableView, IndexPath indexPath)
{
    auto cell = std::dynamic_pointer_cast<TextCell>(tableView.dequeueReusableCell(identifier, indexPath));
    cell->label->setText(m_texts.at(static_cast<std::size_t>(indexPath.row)));
    cell->label->setFont(m_style.font);
    cell->label->setTextColor(m_style.color);
    cell->setBackgroundColor(m_style.background);
    return cell;
}

double TextList::heightForRowAt(UITableView&, IndexPath)
{
    return m_style.rowHeight;
}

void TextList::didSelectRowAt(UITableView&, IndexPath indexPath)
{
    if (selected)
        selected(static_cast<std::size_t>(indexPath.row));
}

} // namespace kova::host
