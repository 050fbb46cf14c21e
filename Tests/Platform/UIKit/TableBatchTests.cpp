#include "Tests/Platform/UIKit/TableScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace kova::tests {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

std::vector<IndexPath> at(const std::vector<std::int64_t>& rows)
{
    std::vector<IndexPath> paths;
    for (const auto row : rows)
        paths.push_back({.row = row});
    return paths;
}

const std::vector<std::string> five {"0", "1", "2", "3", "4"};

TEST(TableBatchesTest, TheCountOfTheDataSourceHolds)
{
    struct Case {
        const char* name;
        std::vector<std::int64_t> deleted;
        std::vector<std::int64_t> inserted;
        std::vector<std::int64_t> reloaded;
        /// What the data source has from the middle of the batch on.
        std::vector<std::string> rows;
        /// Which of the cells 0 to 4 of before shows the row now, -1 for a cell that is none of them; none at all when
        /// the table has to be loaded anew.
        std::optional<std::vector<int>> cells;
    };
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto greatest = std::numeric_limits<std::int64_t>::max();
    const Case cases[] {
        {"nothing", {}, {}, {}, five, {{0, 1, 2, 3, 4}}},
        // The deleted cells are used again for the new rows, the one that was recycled last first.
        {"deletes by old and inserts by new numbers", {0, 4, 1}, {0, 2}, {}, {"a", "2", "b", "3"}, {{4, 2, 1, 3}}},
        {"a reload takes another cell", {}, {}, {1}, {"0", "x", "2", "3", "4"}, {{0, -1, 2, 3, 4}}},
        {"a reload of a row that moves", {}, {0}, {2}, {"new", "0", "1", "x", "3", "4"}, {{-1, 0, 1, -1, 3, 4}}},
        {"negative rows", {-1, least}, {-1}, {}, five, {{0, 1, 2, 3, 4}}},
        {"a row that is not there", {9}, {}, {}, five, std::nullopt},
        {"a row that is not there, with data", {greatest}, {}, {}, {"0", "1"}, std::nullopt},
        {"a deletion without data", {0}, {}, {}, five, std::nullopt},
        {"data without a deletion", {}, {}, {}, {"1"}, std::nullopt},
        {"doubles", {3, 3}, {}, {}, {"0", "1", "2"}, std::nullopt},
        {"an insertion beyond the end", {}, {6}, {}, {"0", "1", "2", "3", "4", "5"}, std::nullopt},
        {"a reload of a deleted row", {4}, {}, {4}, {"0", "1", "2", "3"}, std::nullopt},
    };
    for (const auto& [name, deleted, inserted, reloaded, rows, expectedCells] : cases) {
        SCOPED_TRACE(name);
        TableScene scene {5};
        ASSERT_EQ(scene.shown(), five);
        std::vector<std::shared_ptr<UITableViewCell>> before;
        for (std::int64_t row = 0; row < 5; ++row)
            before.push_back(scene.table->cellForRow({.row = row}));
        scene.countsAsked = 0;
        scene.table->beginUpdates();
        scene.table->insertRows(at(inserted), UITableViewRowAnimation::top);
        scene.table->deleteRows(at(deleted), UITableViewRowAnimation::fade);
        scene.rows = rows;
        scene.table->reloadRows(at(reloaded), UITableViewRowAnimation::automatic);
        scene.table->endUpdates();
        EXPECT_EQ(scene.table->numberOfRows(), std::ssize(rows));
        ASSERT_TRUE(scene.lastUpdate);
        EXPECT_EQ(scene.lastUpdate->reloadedWhole, !expectedCells);
        EXPECT_EQ(scene.shown(), rows);
        EXPECT_EQ(scene.countsAsked, 1) << "the layout does not count again";
        EXPECT_EQ(scene.table->subviews().size(), rows.size());
        if (!expectedCells)
            continue;
        std::vector<int> cells;
        for (std::int64_t row = 0; row < scene.table->numberOfRows(); ++row) {
            const auto found = std::ranges::find(before, scene.table->cellForRow({.row = row}));
            cells.push_back(found == before.end() ? -1 : static_cast<int>(found - before.begin()));
            EXPECT_EQ(scene.table->subviews()[static_cast<std::size_t>(row)], scene.table->cellForRow({.row = row}));
            EXPECT_EQ(scene.cell(row)->frame().origin.y, 80 * static_cast<double>(row));
        }
        EXPECT_EQ(cells, *expectedCells);
    }
}

TEST(TableBatchesTest, AnythingMayHappenWithinOne)
{
    struct Case {
        const char* name;
        void (*run)(TableScene& scene);
        std::vector<std::string> rows;
        bool reloadsWhole;
    };
    const Case cases[] {
        {"batches",
            [](TableScene& scene) {
                scene.table->beginUpdates();
                scene.table->deleteRows(at({4}), UITableViewRowAnimation::fade);
                scene.table->endUpdates();
                scene.table->beginUpdates();
                scene.rows.pop_back();
                scene.table->endUpdates();
            },
            {"0", "1", "2", "3"}, false},
        {"layout",
            [](TableScene& scene) {
                scene.rows = {"0"};
                scene.table->setFrame({0, 0, 200, 700});
                scene.window->layoutIfNeeded();
                scene.table->deleteRows(at({1, 2, 3, 4}), UITableViewRowAnimation::fade);
            },
            {"0"}, false},
        {"a reload of all",
            [](TableScene& scene) {
                scene.table->insertRows(at({0}), UITableViewRowAnimation::top);
                scene.table->reloadData();
                scene.rows.emplace_back("5");
            },
            {"0", "1", "2", "3", "4", "5"}, true},
        {"another section",
            [](TableScene& scene) {
                scene.table->reloadRows({{.row = 0, .section = 1}}, UITableViewRowAnimation::none);
            },
            five, true},
    };
    for (const auto& [name, run, rows, reloadsWhole] : cases) {
        SCOPED_TRACE(name);
        TableScene scene {5};
        scene.window->layoutIfNeeded();
        scene.countsAsked = 0;
        scene.table->deleteRows({}, UITableViewRowAnimation::fade);
        scene.table->insertRows({}, UITableViewRowAnimation::fade);
        scene.table->reloadRows({}, UITableViewRowAnimation::fade);
        EXPECT_EQ(scene.countsAsked, 0) << "no row is no update";
        scene.table->beginUpdates();
        run(scene);
        scene.table->endUpdates();
        // One end too many.
        scene.table->endUpdates();
        EXPECT_EQ(scene.countsAsked, 1);
        EXPECT_EQ(scene.lastUpdate->reloadedWhole, reloadsWhole);
        EXPECT_EQ(scene.shown(), rows);
    }
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
