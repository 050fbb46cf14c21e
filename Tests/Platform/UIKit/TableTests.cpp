#include "Platform/UIKit/UINavigationController.h"
#include "Tests/Platform/UIKit/TableScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace kova::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(TableTest, OnlyVisibleRowsHaveCells)
{
    struct Case {
        std::size_t rowCount;
        double offset;
        std::size_t cells;
        std::int64_t firstRow;
    };
    const Case cases[] {{0, 0, 0, 0}, {3, 0, 3, 0}, {3, 100, 2, 1}, {3, -780, 1, 0}, {3, 1e300, 0, 0}, {3, NAN, 0, 0},
        {100'000, 1, 11, 0}, {100'000, 80, 10, 1}, {100'000, 7'999'200, 10, 99'990}};
    for (const auto& [rowCount, offset, cells, firstRow] : cases) {
        SCOPED_TRACE(testing::Message() << rowCount << " rows at " << offset);
        TableScene scene {rowCount};
        scene.window->layoutIfNeeded();
        scene.scrollTo(offset);
        const auto rows = scene.table->indexPathsForVisibleRows();
        ASSERT_THAT(rows, SizeIs(cells));
        EXPECT_EQ(scene.table->subviews().size(), rows.size());
        for (std::size_t index = 0; index < rows.size(); ++index) {
            const auto row = rows[index].row;
            EXPECT_EQ(row, firstRow + static_cast<std::int64_t>(index));
            EXPECT_EQ(scene.cell(row)->text, std::to_string(row));
            EXPECT_EQ(scene.cell(row)->frame(), CGRect(0, 80 * static_cast<double>(row), 320, 80));
            EXPECT_EQ(scene.table->subviews()[index].get(), scene.cell(row)) << "cells are stacked by row";
        }
        EXPECT_EQ(scene.table->contentSize(), (CGSize {320, 80 * static_cast<double>(rowCount)}));
        EXPECT_LE(scene.cellsAsked, 25) << "the length of the table costs nothing";
        EXPECT_LE(scene.heightsAsked, 50);
        EXPECT_EQ(scene.countsAsked, 1) << "scrolling does not count";
    }
}

TEST(TableTest, ScrollingUsesCellsAgain)
{
    TableScene scene {1000};
    std::set<const TextCell*> cells;
    int preparations = 0;
    for (double offset = 0; offset <= 8000; offset += 40) {
        scene.scrollTo(offset);
        for (const auto& row : scene.table->indexPathsForVisibleRows()) {
            EXPECT_EQ(scene.cell(row.row)->text, std::to_string(row.row));
            cells.insert(scene.cell(row.row));
        }
    }
    for (const auto* cell : cells)
        preparations += cell->preparations;
    EXPECT_EQ(cells.size(), 11U);
    EXPECT_EQ(scene.cellsAsked, 110);
    EXPECT_EQ(preparations, scene.cellsAsked - 11) << "each cell is prepared when it is dequeued again, and never new";
    auto* const stays = scene.cell(105);
    scene.scrollTo(8010);
    EXPECT_EQ(scene.cell(105), stays) << "a row that stays visible keeps its cell";
    EXPECT_EQ(scene.cell(3), nullptr);
}

TEST(TableTest, CountsAgainOnlyWhenReloaded)
{
    TableScene scene {3};
    EXPECT_THAT(scene.shown(), ElementsAre("0", "1", "2"));
    scene.rows = {"a", "b"};
    scene.table->reloadData();
    scene.table->reloadData();
    EXPECT_EQ(scene.countsAsked, 1) << "it waits for the next layout";
    EXPECT_THAT(scene.shown(), ElementsAre("a", "b"));
    EXPECT_EQ(scene.countsAsked, 2);
    scene.table->reloadData();
    scene.table->beginUpdates();
    EXPECT_EQ(scene.countsAsked, 3) << "an update that comes before the layout has to know the count";
    scene.table->endUpdates();
    EXPECT_THAT(scene.shown(), ElementsAre("a", "b"));
    EXPECT_EQ(scene.countsAsked, 4);
}

TEST(TableTest, KnowsTheHeightsOfTheRowsItHasSeen)
{
    TableScene scene {100'000};
    // 80, 20, 0, 80, 20, 0, …: a hundred points for every three rows.
    scene.height = [](std::int64_t row) { return row % 3 == 0 ? 80 : row % 3 == 1 ? 20 : -1; };
    for (double offset = 0; offset < 5000; offset += 400)
        scene.scrollTo(offset);
    for (std::int64_t row = 0; row < 150; row += 3) {
        const double top = static_cast<double>(row) / 3 * 100;
        EXPECT_EQ(scene.table->rectForRow({.row = row}), CGRect(0, top, 320, 80));
        EXPECT_EQ(scene.table->rectForRow({.row = row + 1}), CGRect(0, top + 80, 320, 20));
        EXPECT_EQ(scene.table->rectForRow({.row = row + 2}), CGRect(0, top + 100, 320, 0));
    }
    scene.scrollTo(1200);
    EXPECT_EQ(scene.table->indexPathsForVisibleRows().front().row, 36);
    EXPECT_EQ(scene.cell(38), nullptr) << "a row without height is not seen";
    scene.rows.erase(scene.rows.begin());
    scene.height = [](std::int64_t row) { return row % 3 == 2 ? 80 : row % 3 == 0 ? 20 : -1; };
    scene.table->deleteRows({{.row = 0}}, UITableViewRowAnimation::none);
    EXPECT_EQ(scene.table->rectForRow({.row = 2}), CGRect(0, 20, 320, 80)) << "heights follow their rows";
    EXPECT_EQ(scene.table->rectForRow({.row = 100'000}), CGRect());
}

TEST(TableTest, TellsTheRowThatACellShowsAtOnce)
{
    TableScene scene {30};
    scene.window->layoutIfNeeded();
    const auto third = scene.table->cellForRow({.row = 3});
    const auto last = scene.table->cellForRow({.row = 9});
    EXPECT_EQ(scene.table->indexPath(*third), IndexPath {.row = 3});
    scene.rows.insert(scene.rows.begin(), "new");
    scene.table->insertRows({{.row = 0}}, UITableViewRowAnimation::top);
    EXPECT_EQ(scene.table->indexPath(*third), IndexPath {.row = 4});
    EXPECT_EQ(scene.table->indexPath(*last), IndexPath {.row = 0}) << "used again for the row that came";
    scene.rows.erase(scene.rows.begin() + 2);
    scene.table->deleteRows({{.row = 2}}, UITableViewRowAnimation::fade);
    EXPECT_EQ(scene.table->indexPath(*third), IndexPath {.row = 3});
    ASSERT_TRUE(scene.lastUpdate);
    ASSERT_THAT(scene.lastUpdate->deleted, SizeIs(1));
    EXPECT_TRUE(scene.lastUpdate->deleted.front().cell) << "an observer learns which cell the row had";
    scene.table->reloadData();
    EXPECT_EQ(scene.table->indexPath(*third), std::nullopt);
    EXPECT_EQ(scene.table->indexPath(TextCell {UITableViewCellStyle::default_, "text"}), std::nullopt);
}

TEST(TableTest, FollowsTheSizeOfItsFrame)
{
    TableScene scene {1000};
    scene.window->layoutIfNeeded();
    auto* const first = scene.cell(0);
    scene.table->setFrame({0, 0, 768, 1600});
    EXPECT_THAT(scene.shown(), SizeIs(20));
    EXPECT_EQ(scene.cell(0), first);
    EXPECT_EQ(first->frame(), CGRect(0, 0, 768, 80));
    EXPECT_EQ(scene.table->contentSize().width, 768);
    scene.table->setFrame({0, 0, 768, 0});
    EXPECT_THAT(scene.shown(), IsEmpty());
    EXPECT_EQ(scene.countsAsked, 1);
}

/// Three rows, with cells of its own.
struct OwnCells : Linkable, UITableViewDataSource {
    std::vector<std::shared_ptr<UITableViewCell>> cells;

    OwnCells()
    {
        for (int row = 0; row < 3; ++row)
            cells.push_back(std::make_shared<UITableViewCell>(UITableViewCellStyle::default_, std::nullopt));
    }
    std::int64_t numberOfRowsInSection(UITableView&, std::int64_t) override { return std::ssize(cells); }
    std::shared_ptr<UITableViewCell> cellForRowAt(UITableView&, IndexPath indexPath) override
    {
        return cells[static_cast<std::size_t>(indexPath.row)];
    }
};

TEST(TableTest, ADataSourceMayKeepItsCellsItselfAndMayGo)
{
    auto source = std::make_unique<OwnCells>();
    auto& cells = source->cells;
    const auto table = std::make_shared<UITableView>(CGRect {0, 0, 320, 800}, UITableViewStyle::plain);
    table->setDataSource(source.get());
    table->layoutIfNeeded();
    EXPECT_EQ(table->rectForRow({.row = 1}), CGRect(0, 44, 320, 44)) << "without a delegate rows are 44 high";
    std::swap(cells[0], cells[2]);
    table->reloadRows({{.row = 0}, {.row = 1}, {.row = 2}}, UITableViewRowAnimation::none);
    table->layoutIfNeeded();
    EXPECT_THAT(table->subviews(), ElementsAre(cells[0], cells[1], cells[2]));
    EXPECT_EQ(table->cellForRow({.row = 2}), cells[2]);
    table->reloadData();
    table->layoutIfNeeded();
    EXPECT_THAT(table->subviews(), ElementsAre(cells[0], cells[1], cells[2]));

    source.reset();
    table->userSelectsRow({.row = 1});
    table->userDeletesRow({.row = 1});
    table->setContentOffset({.x = 0, .y = 10});
    table->layoutIfNeeded();
    EXPECT_THAT(table->indexPathsForVisibleRows(), IsEmpty());
    EXPECT_THAT(table->subviews(), IsEmpty());
}

/// A screen whose table tells it of selections.
struct ListScreen : UIViewController, UITableViewDataSource, UITableViewDelegate {
    std::shared_ptr<UITableView> table = std::make_shared<UITableView>(CGRect {}, UITableViewStyle::plain);
    std::int64_t rowCount = 20;
    std::function<void(ListScreen&)> handler;
    std::string touchedAfterwards;

    void loadView() override
    {
        table->setDataSource(this);
        table->setDelegate(this);
        setView(table);
    }
    std::int64_t numberOfRowsInSection(UITableView&, std::int64_t) override { return rowCount; }
    std::shared_ptr<UITableViewCell> cellForRowAt(UITableView&, IndexPath) override
    {
        return std::make_shared<UITableViewCell>(UITableViewCellStyle::default_, std::nullopt);
    }
    void didSelectRowAt(UITableView&, IndexPath) override { run(); }
    void commit(UITableView&, UITableViewCellEditingStyle, IndexPath) override { run(); }

private:
    void run()
    {
        if (handler)
            handler(*this);
        // The screen must still be there, whatever the handler has closed.
        touchedAfterwards = "a text that is too long to be stored within the object itself";
    }
};

TEST(TableTest, AHandlerMayChangeRowsAndScreens)
{
    struct Case {
        const char* name;
        void (*handle)(ListScreen& list);
        /// None when the screen is closed.
        std::optional<std::int64_t> rowsAfterwards;
    };
    const Case cases[] {
        {"nothing", [](ListScreen&) {}, 20},
        {"reloads",
            [](ListScreen& list) {
                list.rowCount = 7;
                list.table->reloadData();
                list.table->layoutIfNeeded();
            },
            7},
        {"deletes",
            [](ListScreen& list) {
                list.table->deleteRows({{.row = 3}}, UITableViewRowAnimation::fade);
                --list.rowCount;
                list.table->beginUpdates();
                list.table->endUpdates();
            },
            19},
        {"pushes",
            [](ListScreen& list) {
                list.navigationController()->pushViewController(std::make_shared<UIViewController>(), true);
            },
            20},
        {"closes the stack", [](ListScreen& list) { list.dismiss(true); }, std::nullopt},
        {"closes the window", [](ListScreen& list) { list.table->window()->setRootViewController(nullptr); },
            std::nullopt},
    };
    for (const auto& [name, handle, rowsAfterwards] : cases) {
        for (const bool deletes : {false, true}) {
            SCOPED_TRACE(name);
            const auto window = std::make_shared<UIWindow>(CGRect {0, 0, 320, 800});
            window->setRootViewController(std::make_shared<UIViewController>());
            auto list = std::make_shared<ListScreen>();
            list->handler = handle;
            window->rootViewController()->present(std::make_shared<UINavigationController>(list), false);
            const auto table = std::weak_ptr {list->table};
            const std::weak_ptr<ListScreen> screen = std::exchange(list, nullptr);
            auto& shown = *table.lock();
            if (deletes)
                shown.userDeletesRow({.row = 3});
            else
                shown.userSelectsRow({.row = 3});
            window->layoutIfNeeded();
            EXPECT_EQ(screen.expired(), !rowsAfterwards);
            EXPECT_EQ(table.expired(), !rowsAfterwards);
            if (rowsAfterwards) {
                EXPECT_EQ(table.lock()->numberOfRows(), rowsAfterwards);
            }
        }
    }
}

} // namespace
} // namespace kova::tests
