#include "Tests/Platform/UIKit/TableScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace kova::tests {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::SizeIs;

std::vector<IndexPath> at(const std::vector<std::int64_t>& rows)
{
    std::vector<IndexPath> paths;
    for (const auto row : rows)
        paths.push_back({.row = row});
    return paths;
}

/// What a row of the table of cases may do to the table and its data.
struct Batch {
    TableScene& scene;

    void begin() const { scene.table->beginUpdates(); }
    void end() const { scene.table->endUpdates(); }
    void deleteRows(const std::vector<std::int64_t>& rows) const
    {
        scene.table->deleteRows(at(rows), UITableViewRowAnimation::fade);
    }
    void insertRows(const std::vector<std::int64_t>& rows) const
    {
        scene.table->insertRows(at(rows), UITableViewRowAnimation::top);
    }
    void reloadRows(const std::vector<std::int64_t>& rows) const
    {
        scene.table->reloadRows(at(rows), UITableViewRowAnimation::automatic);
    }
    void setData(std::vector<std::string> rows) const { scene.rows = std::move(rows); }
};

struct BatchCase {
    const char* name;
    void (*run)(const Batch& batch);
    std::vector<std::string> texts;
    /// Which of the cells 0 to 4 of before shows the row now; -1 for a cell that is none of them.
    std::vector<int> cells;
    bool reloadsWhole = false;
    int counts = 1;
};

class TableBatchTest : public testing::TestWithParam<BatchCase> { };

TEST_P(TableBatchTest, TheCountOfTheDataSourceHolds)
{
    TableScene scene {5};
    ASSERT_THAT(scene.shown(), ElementsAre("0", "1", "2", "3", "4"));
    std::vector<std::shared_ptr<UITableViewCell>> before;
    for (std::int64_t row = 0; row < 5; ++row)
        before.push_back(scene.table->cellForRow({.row = row}));
    scene.countsAsked = 0;
    GetParam().run({scene});
    EXPECT_EQ(scene.countsAsked, GetParam().counts);
    EXPECT_EQ(scene.table->numberOfRows(), std::ssize(GetParam().texts));
    if (GetParam().counts > 0) {
        ASSERT_TRUE(scene.lastUpdate);
        EXPECT_EQ(scene.lastUpdate->reloadedWhole, GetParam().reloadsWhole);
    }
    EXPECT_THAT(scene.shown(), ElementsAreArray(GetParam().texts));
    EXPECT_EQ(scene.countsAsked, GetParam().counts) << "the layout does not count again";
    EXPECT_EQ(scene.table->subviews().size(), GetParam().texts.size());
    if (GetParam().reloadsWhole)
        return;
    std::vector<int> cells;
    for (std::int64_t row = 0; row < scene.table->numberOfRows(); ++row) {
        const auto found = std::ranges::find(before, scene.table->cellForRow({.row = row}));
        cells.push_back(found == before.end() ? -1 : static_cast<int>(found - before.begin()));
        EXPECT_EQ(scene.table->subviews()[static_cast<std::size_t>(row)], scene.table->cellForRow({.row = row}));
        EXPECT_EQ(scene.cell(row)->frame().origin.y, 80 * static_cast<double>(row));
    }
    EXPECT_THAT(cells, ElementsAreArray(GetParam().cells));
}

INSTANTIATE_TEST_SUITE_P(Batches, TableBatchTest,
    testing::Values(BatchCase {"Nothing",
                        [](const Batch& batch) {
                            batch.begin();
                            batch.end();
                        },
                        {"0", "1", "2", "3", "4"}, {0, 1, 2, 3, 4}},
        BatchCase {"InsertAtTop",
            [](const Batch& batch) {
                batch.setData({"new", "0", "1", "2", "3", "4"});
                batch.begin();
                batch.insertRows({0});
                batch.end();
            },
            {"new", "0", "1", "2", "3", "4"}, {-1, 0, 1, 2, 3, 4}},
        BatchCase {"InsertByNewNumbers",
            [](const Batch& batch) {
                batch.setData({"a", "0", "b", "1", "2", "3", "4", "c"});
                batch.insertRows({7, 2, 0});
            },
            {"a", "0", "b", "1", "2", "3", "4", "c"}, {-1, 0, -1, 1, 2, 3, 4, -1}},
        BatchCase {"DeleteBeforeTheData",
            [](const Batch& batch) {
                batch.begin();
                batch.deleteRows({1});
                batch.setData({"0", "2", "3", "4"});
                batch.end();
            },
            {"0", "2", "3", "4"}, {0, 2, 3, 4}},
        BatchCase {"DeleteByOldAndInsertByNewNumbers",
            [](const Batch& batch) {
                batch.setData({"a", "2", "b", "3"});
                batch.begin();
                batch.insertRows({0, 2});
                batch.deleteRows({0, 4});
                batch.deleteRows({1});
                batch.end();
            },
            // The deleted cells are used again for the new rows, the one that was recycled last first.
            {"a", "2", "b", "3"}, {4, 2, 1, 3}},
        BatchCase {"ReloadTakesAnotherCell",
            [](const Batch& batch) {
                batch.setData({"0", "x", "2", "3", "4"});
                batch.reloadRows({1});
            },
            {"0", "x", "2", "3", "4"}, {0, -1, 2, 3, 4}},
        BatchCase {"ReloadOfARowThatMoves",
            [](const Batch& batch) {
                batch.setData({"new", "0", "1", "x", "3", "4"});
                batch.begin();
                batch.insertRows({0});
                batch.reloadRows({2});
                batch.end();
            },
            {"new", "0", "1", "x", "3", "4"}, {-1, 0, 1, -1, 3, 4}},
        BatchCase {"Nested",
            [](const Batch& batch) {
                batch.begin();
                batch.begin();
                batch.deleteRows({4});
                batch.end();
                batch.begin();
                batch.setData({"0", "1", "2", "3"});
                batch.end();
                batch.end();
                batch.end();
            },
            {"0", "1", "2", "3"}, {0, 1, 2, 3}},
        BatchCase {"DeleteAll",
            [](const Batch& batch) {
                batch.setData({});
                batch.deleteRows({0, 1, 2, 3, 4});
            },
            {}, {}},
        BatchCase {"ReplaceAll",
            [](const Batch& batch) {
                batch.setData({"a", "b"});
                batch.begin();
                batch.deleteRows({0, 1, 2, 3, 4});
                batch.insertRows({0, 1});
                batch.end();
            },
            {"a", "b"}, {4, 3}},
        BatchCase {"EmptySets",
            [](const Batch& batch) {
                batch.deleteRows({});
                batch.insertRows({});
                batch.reloadRows({});
            },
            {"0", "1", "2", "3", "4"}, {0, 1, 2, 3, 4}, false, 0},
        BatchCase {"NegativeRows",
            [](const Batch& batch) {
                batch.deleteRows({-1, std::numeric_limits<std::int64_t>::min()});
                batch.begin();
                batch.insertRows({-1});
                batch.end();
            },
            {"0", "1", "2", "3", "4"}, {0, 1, 2, 3, 4}},
        BatchCase {"DeleteOfARowThatIsNotThere",
            [](const Batch& batch) {
                batch.begin();
                batch.deleteRows({9});
                batch.end();
            },
            {"0", "1", "2", "3", "4"}, {}, true},
        BatchCase {"DeleteOfARowThatIsNotThereWithData",
            [](const Batch& batch) {
                batch.begin();
                batch.deleteRows({std::numeric_limits<std::int64_t>::max()});
                batch.setData({"0", "1"});
                batch.end();
            },
            {"0", "1"}, {}, true},
        BatchCase {"DeleteWithoutData", [](const Batch& batch) { batch.deleteRows({0}); }, {"0", "1", "2", "3", "4"},
            {}, true},
        BatchCase {"DataWithoutDelete",
            [](const Batch& batch) {
                batch.begin();
                batch.setData({"1"});
                batch.end();
            },
            {"1"}, {}, true},
        BatchCase {"Doubles",
            [](const Batch& batch) {
                batch.setData({"0", "1", "2"});
                batch.deleteRows({3, 3});
            },
            {"0", "1", "2"}, {}, true},
        BatchCase {"InsertBeyondTheEnd",
            [](const Batch& batch) {
                batch.setData({"0", "1", "2", "3", "4", "5"});
                batch.insertRows({6});
            },
            {"0", "1", "2", "3", "4", "5"}, {}, true},
        BatchCase {"ReloadOfADeletedRow",
            [](const Batch& batch) {
                batch.setData({"0", "1", "2", "3"});
                batch.begin();
                batch.deleteRows({4});
                batch.reloadRows({4});
                batch.end();
            },
            {"0", "1", "2", "3"}, {}, true},
        BatchCase {"AnotherSection",
            [](const Batch& batch) {
                batch.scene.table->reloadRows({{.row = 0, .section = 1}}, UITableViewRowAnimation::none);
            },
            {"0", "1", "2", "3", "4"}, {}, true},
        BatchCase {"ReloadDataWithin",
            [](const Batch& batch) {
                batch.begin();
                batch.insertRows({0});
                batch.scene.table->reloadData();
                batch.setData({"a", "0", "1", "2", "3", "4"});
                batch.end();
            },
            {"a", "0", "1", "2", "3", "4"}, {}, true},
        BatchCase {"LayoutWithin",
            [](const Batch& batch) {
                batch.begin();
                batch.setData({"0"});
                batch.scene.table->setFrame({0, 0, 200, 700});
                batch.scene.window->layoutIfNeeded();
                batch.deleteRows({1, 2, 3, 4});
                batch.end();
            },
            {"0"}, {0}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(TableBatchesTest, TheFirstUpdateCountsWhenNoLayoutHas)
{
    TableScene scene {5};
    scene.rows.emplace_back("new");
    scene.table->insertRows(at({5}), UITableViewRowAnimation::top);
    EXPECT_EQ(scene.countsAsked, 2);
    EXPECT_THAT(scene.shown(), SizeIs(6));
    EXPECT_EQ(scene.countsAsked, 2);
}

TEST(TableBatchesTest, ASwipeCommitsWithinABatch)
{
    TableScene scene {12};
    scene.window->layoutIfNeeded();
    scene.countsAsked = 0;
    scene.onCommit = [&](UITableViewCellEditingStyle style, IndexPath row) {
        EXPECT_EQ(style, UITableViewCellEditingStyle::delete_);
        // In this order: the row goes before its record does.
        scene.table->deleteRows({row}, UITableViewRowAnimation::fade);
        EXPECT_EQ(scene.countsAsked, 0);
        scene.rows.erase(scene.rows.begin() + row.row);
    };
    scene.table->userDeletesRow({.row = 2});
    EXPECT_EQ(scene.countsAsked, 1);
    EXPECT_FALSE(scene.lastUpdate->reloadedWhole);
    EXPECT_THAT(scene.shown(), ElementsAre("0", "1", "3", "4", "5", "6", "7", "8", "9", "10"));
    scene.onCommit = [](auto, auto) { ADD_FAILURE() << "there is no such row"; };
    for (const IndexPath row : {IndexPath {.row = 11}, IndexPath {.row = -1}, IndexPath {.row = 0, .section = 1}})
        scene.table->userDeletesRow(row);
}

TEST(TableBatchesTest, TheOffsetFollowsWhenTheContentGetsShorter)
{
    TableScene scene {100};
    scene.scrollTo(90 * 80);
    scene.rows.resize(50);
    std::vector<IndexPath> gone;
    for (std::int64_t row = 50; row < 100; ++row)
        gone.push_back({.row = row});
    scene.table->deleteRows(gone, UITableViewRowAnimation::none);
    EXPECT_EQ(scene.shown().front(), "40");
    EXPECT_EQ(scene.table->contentOffset().y, 40 * 80);
    scene.scrollTo(-60);
    EXPECT_EQ(scene.table->contentOffset().y, -60) << "an overshoot is the drawing platform's own affair";
}

TEST(TableBatchesTest, ReloadedCellsAreUsedAgain)
{
    TableScene scene {1};
    scene.window->layoutIfNeeded();
    auto* const first = scene.cell(0);
    scene.table->reloadRows(at({0}), UITableViewRowAnimation::automatic);
    scene.window->layoutIfNeeded();
    auto* const second = scene.cell(0);
    EXPECT_NE(second, first) << "the old cell stands until the new one is there";
    EXPECT_EQ(second->preparations, 0);
    scene.table->reloadRows(at({0}), UITableViewRowAnimation::automatic);
    scene.window->layoutIfNeeded();
    EXPECT_EQ(scene.cell(0), first);
    EXPECT_EQ(first->preparations, 1);
    scene.table->reloadData();
    scene.window->layoutIfNeeded();
    EXPECT_EQ(first->preparations + second->preparations, 2);
}

/// Random batches that fit, against a list that is changed one row after the other.
TEST(TableBatchesTest, RowsGoWhereAListWouldHaveThem)
{
    std::mt19937 random {20240131};
    const auto below = [&](std::size_t limit) { return random() % limit; };
    TableScene scene {8};
    scene.window->layoutIfNeeded();
    int next = 8;
    for (int round = 0; round < 500; ++round) {
        std::map<std::string, TextCell*> cells;
        for (const auto& row : scene.table->indexPathsForVisibleRows())
            cells[scene.cell(row.row)->text] = scene.cell(row.row);
        std::vector<std::int64_t> deleted;
        std::vector<std::int64_t> inserted;
        const auto before = scene.rows;
        for (std::size_t row = before.size(); row-- > 0;) {
            if (below(4) == 0) {
                deleted.push_back(static_cast<std::int64_t>(row));
                scene.rows.erase(scene.rows.begin() + static_cast<std::ptrdiff_t>(row));
            }
        }
        // Ascending insertions, so that each stands at its final number at once.
        for (std::size_t row = 0; row <= scene.rows.size() && scene.rows.size() < 15; ++row) {
            if (below(4) == 0) {
                inserted.push_back(static_cast<std::int64_t>(row));
                scene.rows.insert(scene.rows.begin() + static_cast<std::ptrdiff_t>(row), "n" + std::to_string(next++));
            }
        }
        std::ranges::shuffle(deleted, random);
        std::ranges::shuffle(inserted, random);
        scene.table->beginUpdates();
        scene.table->insertRows(at(inserted), UITableViewRowAnimation::none);
        scene.table->deleteRows(at(deleted), UITableViewRowAnimation::none);
        scene.table->endUpdates();
        ASSERT_FALSE(scene.lastUpdate->reloadedWhole);
        const auto shown = scene.shown();
        const std::size_t visible = std::min<std::size_t>(10, scene.rows.size());
        ASSERT_THAT(shown, ElementsAreArray(scene.rows.begin(), scene.rows.begin() + static_cast<long>(visible)));
        for (std::size_t row = 0; row < visible; ++row) {
            const auto stays = cells.find(shown[row]);
            if (stays != cells.end()) {
                ASSERT_EQ(scene.cell(static_cast<std::int64_t>(row)), stays->second)
                    << "a row that moves keeps its cell";
            }
        }
    }
}

} // namespace
} // namespace kova::tests
