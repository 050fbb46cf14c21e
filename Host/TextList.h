// A table of one-line texts, such as the tray of pushes and the pane with the log. Main queue only.

#pragma once

#include "Platform/UIKit/UIFont.h"
#include "Platform/UIKit/UITableView.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kova::host {

class TextList : public Linkable, public UITableViewDataSource, public UITableViewDelegate {
public:
    struct Style {
        UIFont font {};
        UIColor color = UIColor::blackColor();
        UIColor background = UIColor::whiteColor();
        double rowHeight = 44;
    };

    explicit TextList(Style style);

    [[nodiscard]] const std::shared_ptr<UITableView>& table() const { return m_table; }
    void setTexts(std::vector<std::string> texts);
    /// Adds texts at the end and shows the end; of many texts only the last ones are kept.
    void append(const std::vector<std::string>& texts);

    /// Runs with the number of a row that the user taps.
    std::function<void(std::size_t)> selected;

private:
    std::int64_t numberOfRowsInSection(UITableView& tableView, std::int64_t section) override;
    std::shared_ptr<UITableViewCell> cellForRowAt(UITableView& tableView, IndexPath indexPath) override;
    double heightForRowAt(UITableView& tableView, IndexPath indexPath) override;
    void didSelectRowAt(UITableView& tableView, IndexPath indexPath) override;

    Style m_style;
    std::vector<std::string> m_texts;
    std::shared_ptr<UITableView> m_table = std::make_shared<UITableView>(CGRect {}, UITableViewStyle::plain);
};

} // namespace kova::host
