// A table in a window over rows of text, with a data source that writes down what it is asked.

#pragma once

#include "Platform/UIKit/UITableView.h"
#include "Platform/UIKit/UIWindow.h"
#include "Platform/UIKit/UIWindowObserver.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kova::tests {

class TextCell : public UITableViewCell {
public:
    using UITableViewCell::UITableViewCell;

    void prepareForReuse() override
    {
        ++preparations;
        text = "prepared";
    }

    std::string text;
    int preparations = 0;
};

/// As tall as ten rows of 80 points, in a window that notes the last batch.
class TableScene : public Linkable, public UITableViewDataSource, public UITableViewDelegate, public UIWindowObserver {
public:
    static constexpr double rowHeight = 80;

    explicit TableScene(std::size_t rowCount)
    {
        for (std::size_t row = 0; row < rowCount; ++row)
            rows.push_back(std::to_string(row));
        window->setObserver(this);
        window->addSubview(table);
        table->registerClass<TextCell>("text");
        table->setDataSource(this);
        table->setDelegate(this);
    }
    ~TableScene() override { window->setObserver(nullptr); }

    /// The texts of the visible rows from the top, after layout.
    std::vector<std::string> shown()
    {
        window->layoutIfNeeded();
        std::vector<std::string> texts;
        for (const auto& row : table->indexPathsForVisibleRows())
            texts.push_back(cell(row.row)->text);
        return texts;
    }
    TextCell* cell(std::int64_t row) const { return dynamic_cast<TextCell*>(table->cellForRow({.row = row}).get()); }
    void scrollTo(double y)
    {
        table->setContentOffset({.x = 0, .y = y});
        window->layoutIfNeeded();
    }

    std::int64_t numberOfRowsInSection(UITableView&, std::int64_t) override
    {
        ++countsAsked;
        return static_cast<std::int64_t>(rows.size());
    }
    std::shared_ptr<UITableViewCell> cellForRowAt(UITableView&, IndexPath indexPath) override
    {
        ++cellsAsked;
        auto cell = table->dequeueReusableCell("text", indexPath);
        static_cast<TextCell&>(*cell).text = rows.at(static_cast<std::size_t>(indexPath.row));
        return cell;
    }
    void commit(UITableView&, UITableViewCellEditingStyle style, IndexPath forRowAt) override
    {
        if (onCommit)
            onCommit(style, forRowAt);
    }
    double heightForRowAt(UITableView&, IndexPath indexPath) override
    {
        ++heightsAsked;
        return height ? height(indexPath.row) : rowHeight;
    }
    void viewDidChange(UIView&, UIChange) override { }
    void viewWillLeave(UIView&) override { }
    void tableDidUpdate(UITableView&, const UITableViewUpdate& update) override { lastUpdate = update; }

    std::vector<std::string> rows;
    std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRect {0, 0, 320, 10 * rowHeight});
    std::shared_ptr<UITableView> table
        = std::make_shared<UITableView>(CGRect {0, 0, 320, 10 * rowHeight}, UITableViewStyle::plain);
    int countsAsked = 0;
    int cellsAsked = 0;
    int heightsAsked = 0;
    std::optional<UITableViewUpdate> lastUpdate;
    std::function<double(std::int64_t)> height;
    std::function<void(UITableViewCellEditingStyle, IndexPath)> onCommit;
};

} // namespace kova::tests
