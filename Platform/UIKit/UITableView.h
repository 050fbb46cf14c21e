// A list of rows, of which only the visible ones exist as cells.
//
// The table has one section. It asks for the number of rows when it loads (on the first layout or update, and after
// reloadData()) and once at the end of the outermost update batch. In a batch, deletions and reloads name rows as they
// were before it, insertions as they are after it. Whatever the batch said, the data source's count holds afterwards:
// a batch that does not fit it reloads the table. Cells are subviews, in the coordinates of the content. Main thread
// only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/IndexPath.h"
#include "Platform/UIKit/UIScrollView.h"
#include "Platform/UIKit/UITableViewCell.h"
#include "Platform/UIKit/UITableViewDataSource.h"
#include "Platform/UIKit/UITableViewDelegate.h"
#include "Platform/UIKit/UITableViewRowHeights.h"

#include <concepts>
#include <map>
#include <optional>

namespace kova {

class UITableViewBatch;
enum class UITableViewRowChange;
struct UITableViewUpdate;

enum class UITableViewStyle { plain = 0, grouped = 1 };
enum class UITableViewRowAnimation { fade = 0, right = 1, left = 2, top = 3, bottom = 4, none = 5, automatic = 100 };
enum class UITableViewCellSeparatorStyle { none = 0, singleLine = 1 };

class KOVA_EXPORT UITableView : public UIScrollView {
public:
    UITableView(const CGRect& frame, UITableViewStyle style);
    ~UITableView() override;

    [[nodiscard]] UITableViewStyle style() const { return m_style; }
    [[nodiscard]] UITableViewCellSeparatorStyle separatorStyle() const { return m_separatorStyle; }
    void setSeparatorStyle(UITableViewCellSeparatorStyle style) { assign(m_separatorStyle, style); }
    void setDataSource(WeakLink<UITableViewDataSource> dataSource);
    void setDelegate(WeakLink<UITableViewDelegate> delegate);

    // Cells.

    /// From now on dequeueReusableCell() makes cells of this class for the identifier.
    template <std::derived_from<UITableViewCell> Cell> void registerClass(const std::string& forCellReuseIdentifier)
    {
        m_makers[forCellReuseIdentifier] = [](UITableViewCellStyle style, std::string identifier) {
            return std::make_shared<Cell>(style, std::move(identifier));
        };
    }
    /// A cell that is not in use, prepared for reuse, or a new one. An identifier that was not registered stops the
    /// process.
    [[nodiscard]] std::shared_ptr<UITableViewCell> dequeueReusableCell(
        const std::string& withIdentifier, IndexPath forIndexPath);
    /// The cell that shows a row now, null when the row is not visible.
    [[nodiscard]] std::shared_ptr<UITableViewCell> cellForRow(IndexPath at) const;
    /// The row that a cell shows now, none once it shows no row of this table. Rows move with every update, so this is
    /// asked when it is needed and never remembered.
    [[nodiscard]] std::optional<IndexPath> indexPath(const UITableViewCell& forCell) const;
    /// The rows that have a cell, from the top.
    [[nodiscard]] std::vector<IndexPath> indexPathsForVisibleRows() const;
    /// As last counted.
    [[nodiscard]] std::int64_t numberOfRows() const { return m_rowCount; }
    /// In the coordinates of the content.
    [[nodiscard]] CGRect rectForRow(IndexPath at) const;

    // Updates.

    void reloadData();
    void beginUpdates();
    void endUpdates();
    // Each is a batch of its own outside of beginUpdates() and endUpdates().
    void insertRows(const std::vector<IndexPath>& at, UITableViewRowAnimation with);
    void deleteRows(const std::vector<IndexPath>& at, UITableViewRowAnimation with);
    void reloadRows(const std::vector<IndexPath>& at, UITableViewRowAnimation with);

    // What the user does. A row that does not exist is ignored.

    void userSelectsRow(IndexPath at);
    /// What the data source says of the row.
    [[nodiscard]] bool userMayEditRow(IndexPath at);
    /// Has the data source commit the deletion, if it lets the row be edited.
    void userDeletesRow(IndexPath at);

protected:
    void layoutSubviews() override;

private:
    using CellMaker = std::function<std::shared_ptr<UITableViewCell>(UITableViewCellStyle, std::string)>;

    /// A row that has a cell.
    struct VisibleRow {
        std::shared_ptr<UITableViewCell> cell;
        /// The row was reloaded: the cell stands until the new one has been made.
        bool isStale = false;
        /// When false, the row's height is to be asked again.
        bool isMeasured = true;
    };

    void loadIfNeeded();
    [[nodiscard]] std::int64_t askRowCount();
    void change(UITableViewRowChange how, const std::vector<IndexPath>& rows, UITableViewRowAnimation animation);
    void apply(UITableViewUpdate update, std::int64_t rowCount);
    void forgetRows();
    [[nodiscard]] bool exists(IndexPath row) const;

    [[nodiscard]] bool placeRows();
    [[nodiscard]] std::vector<std::int64_t> measureVisibleRows();
    [[nodiscard]] double measure(std::int64_t row);
    [[nodiscard]] bool makeCell(std::int64_t row);
    void show(std::int64_t row, const std::shared_ptr<UITableViewCell>& cell);
    [[nodiscard]] std::size_t levelOf(std::int64_t row) const;
    void recycle(const std::shared_ptr<UITableViewCell>& cell);

    UITableViewStyle m_style;
    UITableViewCellSeparatorStyle m_separatorStyle = UITableViewCellSeparatorStyle::singleLine;
    WeakLink<UITableViewDataSource> m_dataSource;
    WeakLink<UITableViewDelegate> m_delegate;
    std::map<std::string, CellMaker> m_makers;
    /// What has shown a row and waits for another, by identifier.
    std::map<std::string, std::vector<std::shared_ptr<UITableViewCell>>> m_reusableCells;
    std::map<std::int64_t, VisibleRow> m_visibleRows;
    UITableViewRowHeights m_heights;
    std::int64_t m_rowCount = 0;
    std::unique_ptr<UITableViewBatch> m_batch;
    int m_batchDepth = 0;
    bool m_needsRowCount = true;
    bool m_needsUsualHeight = true;
    /// The content may have become shorter than the offset allows.
    bool m_clampsOffset = false;
    /// Of the last layout: content is clamped when the view grows, not while it bounces.
    CGSize m_laidOutSize {};
    bool m_isPlacingRows = false;
    /// Counts what changes rows, so that a layout notices when the data source changes them under its hands.
    std::uint64_t m_generation = 0;
};

} // namespace kova
