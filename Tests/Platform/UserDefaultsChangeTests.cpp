// The store whose files are deleted, replaced or cut while it is in use: what is set from then on is not lost.

#include "Tests/Support/StoreFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>
#include <utility>

namespace kova::tests {
namespace {

namespace fs = std::filesystem;

using Change = std::function<void(const StoreFolder&)>;

// Deletes the files with these suffixes.
Change deletes(std::vector<std::string> suffixes)
{
    return [suffixes = std::move(suffixes)](const StoreFolder& folder) {
        for (const auto& suffix : suffixes)
            fs::remove(folder.file().string() + suffix);
    };
}

Change cutsTo(std::uintmax_t size)
{
    return [size](const StoreFolder& folder) { fs::resize_file(folder.file(), size); };
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

TEST(UserDefaultsChangeTest, WhatIsSetAfterwardsIsKept)
{
    struct Row {
        const char* name;
        Change change;
        /// What is there then of a key that was set long before.
        std::optional<Value> inbox;
    };
    const Value before {"long before"};
    const Row rows[] {
        {"the file deleted", deletes({""}), std::nullopt},
        {"everything deleted", deletes({"", "-wal", "-shm"}), std::nullopt},
        {"the folder deleted", [](const StoreFolder& folder) { fs::remove_all(folder.path()); }, std::nullopt},
        {"the file replaced", &replace, Value {"of the other"}},
        {"the log deleted", deletes({"-wal"}), before},
        {"the index deleted", deletes({"-shm"}), before},
        {"log and index deleted", deletes({"-wal", "-shm"}), before},
        {"the file emptied", cutsTo(0), std::nullopt},
        // The log still has what stood there.
        {"the file cut", cutsTo(5'000), before},
    };
    for (const auto& [name, change, inbox] : rows) {
        SCOPED_TRACE(name);
        const StoreFolder folder;
        SaidLines said;
        // No checkpoint by itself: one that crosses the change would hide it.
        auto store = folder.open(std::chrono::minutes {1});
        store->setObject("inbox", before);
        store->setObject("list", bodies(1, 1'000));
        store->synchronize();
        store->setObject("list", bodies(1, 1'001));
        store->setObject("just before", 1);

        change(folder);
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
        EXPECT_EQ(store->object("inbox"), inbox);
        store.reset();
        EXPECT_EQ(folder.integrity(), "ok");
    }
}

// Files that change while the process goes on with them: what it wrote since they were checkpointed is there once.
TEST(UserDefaultsChangeTest, ReplaysUpdatesOnceAfterChanges)
{
    struct Row {
        const char* name;
        Change change;
        /// The list before the last update.
        Value::Array list;
        const char* said;
        bool isSynchronized = false;
    };
    const auto cuts = [](const char* suffix, std::uintmax_t size) {
        return [suffix, size](const StoreFolder& folder) { fs::resize_file(folder.file().string() + suffix, size); };
    };
    const Row rows[] {
        {"log emptied", cuts("-wal", 0), bodies(1, 60), "lost a part of the log"},
        {"log cut", cuts("-wal", 40'000), bodies(1, 60), "lost a part of the log"},
        // The rest of the log is older than the file then.
        {"log cut after a checkpoint", cuts("-wal", 40'000), bodies(1, 60), "lost a part of the log", true},
        {"index emptied", cuts("-shm", 0), bodies(1, 60), "lost a part of the index"},
        {"index cut", cuts("-shm", 4'096), bodies(1, 60), "lost a part of the index"},
        {"log deleted", deletes({"-wal"}), bodies(1, 60), "lost the files beside it"},
        {"log and index deleted", deletes({"-wal", "-shm"}), bodies(1, 60), "lost the files beside it"},
        {"backup copied over it",
            [](const StoreFolder& folder) {
                std::ifstream backup {folder.path() / "backup", std::ios::binary};
                std::ofstream {folder.file(), std::ios::binary | std::ios::trunc} << backup.rdbuf();
            },
            [] {
                auto list = bodies(1, 20);
                for (int number = 51; number <= 60; ++number)
                    list.append(body(number));
                return list;
            }(),
            "was overwritten"},
    };
    for (const auto& [name, change, list, message, isSynchronized] : rows) {
        SCOPED_TRACE(name);
        const StoreFolder folder;
        folder.open()->setObject("list", bodies(1, 20));
        fs::copy_file(folder.file(), folder.path() / "backup");
        SaidLines said;
        auto store = folder.open(std::chrono::minutes {1});
        for (int number = 21; number <= 50; ++number)
            append(*store, "list", number);
        store->synchronize();
        for (int number = 51; number <= 60; ++number)
            append(*store, "list", number);

        if (isSynchronized)
            store->synchronize();
        change(folder);
        auto wanted = list;
        EXPECT_EQ(store->object("list"), Value {wanted});
        wanted.append(body(61));
        append(*store, "list", 61);
        EXPECT_EQ(store->object("list"), Value {wanted});
        store.reset();
        EXPECT_EQ(folder.stored("list"), Value {wanted});
        EXPECT_EQ(folder.integrity(), "ok");
        EXPECT_EQ(lineCount(said.take(), message), 1);
    }
}

// The index of the log is mapped memory, and a cut leaves nothing behind it.
TEST(UserDefaultsChangeTest, SurvivesAnIndexThatIsCutInAnUpdate)
{
    constexpr int count = 60;
    for (const std::uintmax_t size : {0, 4'096, 16'384, 30'000}) {
        SCOPED_TRACE(size);
        const StoreFolder folder;
        const SaidLines said;
        auto store = folder.open(std::chrono::minutes {1});
        for (int number = 1; number <= count; ++number) {
            store->update("list", [=, &folder, isFirstRun = true](const std::optional<Value>& list) mutable {
                if (std::exchange(isFirstRun, false))
                    fs::resize_file(folder.file().string() + "-shm", size);
                return appended(list, number);
            });
        }
        EXPECT_EQ(store->object("list"), Value {bodies(1, count)});
        store.reset();
        EXPECT_EQ(folder.stored("list"), Value {bodies(1, count)});
        EXPECT_EQ(folder.integrity(), "ok");
    }
}

// The log has what both have stored, so nothing is to be made once more.
TEST(UserDefaultsChangeTest, ReplaysNothingWhenOnlyTheIndexIsCut)
{
    const StoreFolder folder;
    const SaidLines said;
    std::array<int, 2> turn {};
    ASSERT_EQ(pipe(turn.data()), 0);
    const auto other = fork();
    ASSERT_GE(other, 0);
    if (other == 0) {
        char byte = 0;
        const bool isTurn = read(turn[0], &byte, 1) == 1;
        if (isTurn)
            append(*folder.open(std::chrono::minutes {1}), "list", 2);
        _exit(isTurn ? 0 : 1);
    }
    auto store = folder.open(std::chrono::minutes {1});
    append(*store, "list", 1);
    ASSERT_EQ(write(turn[1], "x", 1), 1);
    int status = -1;
    ASSERT_EQ(waitpid(other, &status, 0), other);
    ASSERT_EQ(status, 0);
    fs::resize_file(folder.file().string() + "-shm", 0);
    EXPECT_EQ(store->object("list"), Value {bodies(1, 2)});
    append(*store, "list", 3);
    store.reset();
    EXPECT_EQ(folder.stored("list"), Value {bodies(1, 3)});
    close(turn[0]);
    close(turn[1]);
}

TEST(UserDefaultsChangeTest, SurvivesAnIndexThatIsCutAtAnyTime)
{
    constexpr int count = 1'500;
    constexpr int updatesPerCut = 5;
    const StoreFolder folder;
    const SaidLines said;
    auto store = folder.open(std::chrono::milliseconds {1});
    std::atomic<int> done = 0;
    std::jthread cutting {[&] {
        for (int cut = 1; cut < count / updatesPerCut; ++cut) {
            for (int present = done; present < cut * updatesPerCut; present = done)
                done.wait(present);
            fs::resize_file(folder.file().string() + "-shm", cut % 2 == 0 ? 0 : 4'096);
        }
    }};
    for (int number = 1; number <= count; ++number) {
        append(*store, "list", number);
        done = number;
        done.notify_one();
    }
    cutting.join();
    EXPECT_EQ(store->object("list"), Value {bodies(1, count)});
    store.reset();
    EXPECT_EQ(folder.stored("list"), Value {bodies(1, count)});
    EXPECT_EQ(folder.integrity(), "ok");
}

TEST(UserDefaultsChangeTest, LeavesOtherFaultsToHandlerOfHost)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto fault = [] {
        constexpr int handled = 7;
        std::signal(SIGBUS, [](int) { _exit(handled); });
        const StoreFolder folder;
        folder.open()->setObject("text", "opens the store");
        const auto path = folder.path() / "empty";
        std::ofstream {path};
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const auto* page = static_cast<const volatile char*>(mmap(nullptr, 1, PROT_READ, MAP_PRIVATE, file, 0));
        _exit(*page);
    };
    EXPECT_EXIT(fault(), testing::ExitedWithCode(7), "");
}

// Another process has found the file damaged and set it aside, while this one held it open and saw nothing wrong.
TEST(UserDefaultsChangeTest, AFileThatAnotherProcessSetAsideIsLeft)
{
    const StoreFolder folder;
    const SaidLines said;
    auto store = folder.open();
    store->setObject("list", bodies(1, 100));
    store->synchronize();
    for (const std::string suffix : {"", "-wal", "-shm"})
        fs::rename(folder.file().string() + suffix, folder.file().string() + ".damaged" + suffix);
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
