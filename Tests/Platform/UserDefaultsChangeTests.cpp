// The store whose files are deleted, replaced or cut while it is in use: what is set from then on is not lost.

#include "Tests/Support/StoreFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace kova::tests {
namespace {

namespace fs = std::filesystem;

void removeBeside(const StoreFolder& folder, const char* suffix)
{
    fs::remove(folder.file().string() + suffix);
}

// Somebody puts a store of another day in this one's place: just the file, and the log that stood there stays.
void replace(const StoreFolder& folder)
{
    const StoreFolder other;
    {
        const auto store = other.open();
        store->setObject("list", bodies(500, 900));
        store->setObject("text", "of the other");
        store->setObject("inbox", "of the other");
    }
    fs::copy_file(other.file(), folder.path() / "new");
    fs::rename(folder.path() / "new", folder.file());
}

struct ChangeRow {
    const char* name;
    void (*change)(const StoreFolder&);
    /// What is there then of a key that was set long before.
    std::optional<Value> inbox;
};

void PrintTo(const ChangeRow& row, std::ostream* stream)
{
    *stream << row.name;
}

struct UserDefaultsChangeTest : testing::TestWithParam<ChangeRow> { };

TEST_P(UserDefaultsChangeTest, WhatIsSetAfterwardsIsKept)
{
    const StoreFolder folder;
    SaidLines said;
    // No checkpoint by itself: one that crosses the change would hide it.
    auto store = folder.open(std::chrono::minutes {1});
    store->setObject("inbox", "long before");
    store->setObject("list", bodies(1, 1'000));
    store->synchronize();
    store->setObject("list", bodies(1, 1'001));
    store->setObject("just before", 1);

    GetParam().change(folder);
    store->setObject("list", bodies(1, 1'002));
    EXPECT_EQ(store->object("list"), Value {bodies(1, 1'002)});
    store->setObject("after", 2);
    store->synchronize();
    store->setObject("text", "later");
    store.reset();
    EXPECT_NE(lineCount(said.take()), 0) << "it is said";

    store = folder.open();
    EXPECT_EQ(store->object("list"), Value {bodies(1, 1'002)});
    EXPECT_EQ(store->object("after"), Value {2});
    EXPECT_EQ(store->object("text"), Value {"later"});
    EXPECT_EQ(store->object("inbox"), GetParam().inbox);
    store.reset();
    EXPECT_EQ(folder.integrity(), "ok");
}

INSTANTIATE_TEST_SUITE_P(Changes, UserDefaultsChangeTest,
    testing::Values(
        ChangeRow {"the file deleted", [](const StoreFolder& folder) { fs::remove(folder.file()); }, std::nullopt},
        ChangeRow {"everything deleted",
            [](const StoreFolder& folder) {
                for (const auto* suffix : {"", "-wal", "-shm"})
                    removeBeside(folder, suffix);
            },
            std::nullopt},
        ChangeRow {
            "the folder deleted", [](const StoreFolder& folder) { fs::remove_all(folder.path()); }, std::nullopt},
        ChangeRow {"the file replaced", &replace, Value {"of the other"}},
        ChangeRow {
            "the log deleted", [](const StoreFolder& folder) { removeBeside(folder, "-wal"); }, Value {"long before"}},
        ChangeRow {"the index deleted", [](const StoreFolder& folder) { removeBeside(folder, "-shm"); },
            Value {"long before"}},
        ChangeRow {"log and index deleted",
            [](const StoreFolder& folder) {
                removeBeside(folder, "-wal");
                removeBeside(folder, "-shm");
            },
            Value {"long before"}},
        ChangeRow {
            "the file emptied", [](const StoreFolder& folder) { fs::resize_file(folder.file(), 0); }, std::nullopt},
        ChangeRow {
            "the file cut", [](const StoreFolder& folder) { fs::resize_file(folder.file(), 5'000); }, std::nullopt}));

// Another process has found the file damaged and set it aside, while this one held it open and saw nothing wrong.
TEST(UserDefaultsSetAsideTest, AFileThatAnotherProcessSetAsideIsLeft)
{
    const StoreFolder folder;
    const SaidLines said;
    auto store = folder.open();
    store->setObject("list", bodies(1, 100));
    store->synchronize();
    fs::rename(folder.file(), folder.path() / "defaults.sqlite.damaged");
    for (const auto* suffix : {"-wal", "-shm"})
        fs::rename(folder.file().string() + suffix, folder.path() / (std::string {"defaults.sqlite.damaged"} + suffix));
    const auto other = folder.open();
    other->setObject("other", 1);
    store->setObject("list", bodies(1, 101));
    store->synchronize();
    EXPECT_EQ(other->object("list"), Value {bodies(1, 101)});
    EXPECT_EQ(store->object("other"), Value {1});
    other->setObject("other", 2);
    store.reset();
    EXPECT_EQ(folder.stored("other"), Value {2}) << "the end of one does not take the other's log";
}

} // namespace
} // namespace kova::tests
