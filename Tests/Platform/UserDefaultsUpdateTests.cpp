// Updates of the store: none is lost, whoever else writes, and whatever stands in the way for a while.

#include "Tests/Support/StoreFolder.h"
#include "Tests/Support/WithoutThreads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace kova::tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// The numbers of a list's bodies in order of size.
std::vector<int> numbers(const std::optional<Value>& list)
{
    std::vector<int> found;
    for (const auto& element : list ? *list->as<Value::Array>() : Value::Array {})
        found.push_back(std::stoi(std::string {element.as<Data>()->text().substr(5)}));
    std::ranges::sort(found);
    return found;
}

std::vector<int> numbersTo(int last)
{
    std::vector<int> wanted;
    for (int number = 1; number <= last; ++number)
        wanted.push_back(number);
    return wanted;
}

TEST(UserDefaultsUpdateTest, LosesNothingBetweenThreadsAndProcesses)
{
    constexpr int threads = 4;
    constexpr int each = 200;
    const StoreFolder folder;
    const auto writeFrom = [&](int first) {
        const auto store = folder.open();
        std::vector<std::jthread> writers;
        for (int thread = 0; thread < threads; ++thread) {
            writers.emplace_back([&, from = first + thread * each] {
                for (int number = from; number < from + each; ++number)
                    append(*store, "list", number);
            });
        }
    };
    const auto child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        writeFrom(1);
        _exit(0);
    }
    writeFrom(1 + threads * each);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(numbers(folder.stored("list")), numbersTo(2 * threads * each));
}

// A checkpoint that left no mark once looked like a stranger's change to other processes.
TEST(UserDefaultsUpdateTest, TakesNoCheckpointForStrangersChange)
{
    const StoreFolder folder;
    SaidLines said;
    const auto first = folder.open(std::chrono::minutes {1});
    const auto second = folder.open(std::chrono::minutes {1});
    append(*first, "list", 1);
    {
        const FolderLock held {folder.path() / "defaults.lock", BusyTimeout {std::chrono::seconds {1}}};
        ASSERT_TRUE(held.isHeld());
        // Makes the log long enough for a checkpoint of its own.
        for (int number = 2; number <= 40; ++number) {
            append(*second, "list", number);
            second->setObject("text", std::string(200'000, static_cast<char>('a' + number % 20)));
        }
    }
    append(*first, "list", 41);
    second->synchronize();
    append(*first, "list", 42);
    append(*second, "list", 43);
    EXPECT_EQ(first->object("list"), Value {bodies(1, 43)});
    EXPECT_EQ(said.take(), "");
}

TEST(UserDefaultsUpdateTest, ReadsPresentValueAndStoresNext)
{
    const StoreFolder folder;
    SaidLines said;
    const auto store = folder.open();
    const auto sets = [](std::optional<Value> next) { return [next](const std::optional<Value>&) { return next; }; };
    store->update("a", [](const std::optional<Value>& present) { return present ? Value {"set"} : Value {1}; });
    EXPECT_EQ(store->object("a"), Value {1});
    store->update("a", sets(Value {Value::Array {Value {}}}));
    EXPECT_EQ(store->object("a"), Value {1}) << "no property list";
    EXPECT_THROW(store->update("a", [](const auto&) -> std::optional<Value> { throw std::runtime_error {"no"}; }),
        std::runtime_error);
    EXPECT_EQ(folder.stored("a"), Value {1});
    store->update("a", sets(std::nullopt));
    EXPECT_EQ(store->object("a"), std::nullopt);
    EXPECT_EQ(lineCount(said.take(), "does not take a value that is no property list (key \"a\")"), 1);
    store->setObject("b", 2);
    const auto readsOther = [&store](const auto&) { return store->object("b"); };
    store->update("a", readsOther);
    EXPECT_EQ(folder.stored("a"), Value {2}) << "reading needs no lock that is held";
    EXPECT_DEATH(store->update("a",
                     [&](const auto& present) {
                         store->setObject("b", 3);
                         return present;
                     }),
        "must not change the defaults");
}

struct Obstacle {
    const char* name;
    /// Puts it in the store's way.
    std::function<void(const fs::path& folder)> put;
    std::function<void(const fs::path& folder)> remove;
};

fs::path asideOf(const fs::path& path)
{
    return path.string() + ".aside";
}

// Takes the file away and puts something else in its place.
Obstacle inPlaceOfFile(const char* name, void (*make)(const fs::path&))
{
    return {name,
        [make](const fs::path& folder) {
            fs::rename(folder / "defaults.sqlite", folder / "aside");
            make(folder / "defaults.sqlite");
        },
        [](const fs::path& folder) {
            fs::remove_all(folder / "defaults.sqlite");
            fs::rename(folder / "aside", folder / "defaults.sqlite");
        }};
}

TEST(UserDefaultsUpdateTest, KeepsUpdatesWhileStoreIsAway)
{
    const Obstacle obstacles[] {
        // A folder that cannot be made again: a file stands where it was.
        {"folder moved away",
            [](const fs::path& folder) {
                fs::rename(folder, asideOf(folder));
                std::ofstream {folder};
            },
            [](const fs::path& folder) {
                fs::remove(folder);
                fs::rename(asideOf(folder), folder);
            }},
        inPlaceOfFile("folder in its place", [](const fs::path& file) { fs::create_directory(file); }),
        inPlaceOfFile("pipe in its place", [](const fs::path& file) { mkfifo(file.c_str(), 0600); }),
        inPlaceOfFile("dangling link in its place",
            [](const fs::path& file) { fs::create_symlink(file.parent_path() / "nowhere", file); }),
    };
    for (const auto& [name, put, remove] : obstacles) {
        for (const bool isOpen : {false, true}) {
            SCOPED_TRACE(testing::Message() << name << (isOpen ? ", while in use" : ", from the start"));
            const TemporaryFolder temporary;
            const auto folder = temporary.path() / "store";
            const auto open = [&] {
                return std::make_unique<UserDefaultsSQLite>(
                    UserDefaultsSQLite::Options {.folder = folder, .checkpointDelay = std::chrono::milliseconds {20}});
            };
            auto store = open();
            store->setObject("list", bodies(1, 300));
            if (!isOpen)
                store.reset();

            SaidLines said;
            put(folder);
            if (!isOpen)
                store = open();
            append(*store, "list", 301);
            append(*store, "list", 302);
            EXPECT_EQ(store->object("list"), Value {isOpen ? bodies(1, 302) : bodies(301, 302)});
            remove(folder);
            append(*store, "list", 303);
            EXPECT_EQ(store->object("list"), Value {bodies(1, 303)});
            EXPECT_EQ(store->close(), 0U);
            EXPECT_EQ(open()->object("list"), Value {bodies(1, 303)});
            EXPECT_THAT(said.take(), HasSubstr("the updates that were kept in memory are stored"));
            EXPECT_FALSE(fs::exists(folder / "nowhere"));
        }
    }
}

TEST(UserDefaultsUpdateTest, CountsUpdatesThatAreLostAtTheEnd)
{
    const StoreFolder folder;
    fs::create_directory(folder.file());
    SaidLines said;
    const auto store = folder.open();
    for (int number = 1; number <= 3; ++number)
        append(*store, "list", number);
    store->setObject("text", "one");
    store->setObject("text", "two");
    EXPECT_EQ(store->close(), 4U);
    EXPECT_EQ(store->close(), 4U);
    EXPECT_THAT(said.take(), HasSubstr("which are lost: 3 of \"list\", 1 of \"text\""));
}

// The guard against writing after a failed read was once one for each key, whichever thread had failed.
TEST(UserDefaultsUpdateTest, ReplaysUpdatesOfManyThreadsAfterExclusiveLock)
{
    const StoreFolder folder;
    folder.open()->setObject("list", bodies(1, 1'500));
    std::optional<SQLiteDatabase> holder {std::in_place, folder.file(), std::chrono::seconds {5}};
    holder->execute("PRAGMA locking_mode = EXCLUSIVE");
    holder->execute("BEGIN IMMEDIATE");
    const SaidLines said;
    const auto store = folder.open();
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&store, thread] {
                for (int number = 1; number <= 5; ++number) {
                    append(*store, "list", 1'500 + thread * 5 + number);
                    static_cast<void>(store->object("list"));
                }
            });
        }
    }
    EXPECT_EQ(numbers(store->object("list")).size(), 20U);
    holder.reset();
    EXPECT_TRUE(comesTrue([&] { return numbers(folder.stored("list")) == numbersTo(1'520); }));
}

// A thread that cannot be started once made update() throw although the value was stored.
TEST(UserDefaultsUpdateTest, StoresWithoutThreads)
{
    if (!canForbidThreads())
        GTEST_SKIP() << "only root can become a user without threads";
    const StoreFolder folder;
    ASSERT_EQ(chown(folder.path().c_str(), userWithoutThreads, userWithoutThreads), 0);
    EXPECT_EQ(runWithoutThreads([&] {
        const auto store = folder.open();
        for (int number = 1; number <= 3; ++number)
            append(*store, "list", number);
        if (store->close() != 0)
            _exit(2);
    }),
        0);
    ASSERT_EQ(chown(folder.path().c_str(), 0, 0), 0);
    for (const auto& file : fs::directory_iterator {folder.path()})
        ASSERT_EQ(chown(file.path().c_str(), 0, 0), 0);
    EXPECT_EQ(folder.stored("list"), Value {bodies(1, 3)});
}

// A folder that somebody else has prepared may hold a forged inbox, and links to files that are not ours to change.
TEST(UserDefaultsUpdateTest, RefusesStrangersFolders)
{
    struct Row {
        const char* name;
        std::function<bool(const fs::path& folder)> prepare;
        const char* said;
    };
    const TemporaryFolder elsewhere;
    std::ofstream {elsewhere.path() / "target"} << "theirs";
    fs::permissions(elsewhere.path() / "target", fs::perms::owner_all | fs::perms::group_all | fs::perms::others_all);
    constexpr uid_t nobody = 65'534;
    const Row rows[] {
        {"folder of another user", [&](const fs::path& folder) { return chown(folder.c_str(), nobody, nobody) == 0; },
            "belongs to the user 65534"},
        {"file of another user",
            [&](const fs::path& folder) { return chown((folder / "defaults.sqlite").c_str(), nobody, nobody) == 0; },
            "defaults.sqlite belongs to the user 65534"},
        {"log of another user",
            [&](const fs::path& folder) {
                std::ofstream {folder / "defaults.sqlite-wal"};
                return chown((folder / "defaults.sqlite-wal").c_str(), nobody, nobody) == 0;
            },
            "defaults.sqlite-wal belongs to the user 65534"},
        {"link in place of the folder",
            [&](const fs::path& folder) {
                fs::rename(folder, asideOf(folder));
                fs::create_symlink(asideOf(folder), folder);
                return true;
            },
            " is a link, so the store is not used"},
        {"link in place of the file",
            [&](const fs::path& folder) {
                fs::remove(folder / "defaults.sqlite");
                fs::create_symlink(elsewhere.path() / "target", folder / "defaults.sqlite");
                return true;
            },
            "defaults.sqlite is a link"},
        {"link in place of the lock",
            [&](const fs::path& folder) {
                fs::remove(folder / "defaults.lock");
                fs::create_symlink(elsewhere.path() / "target", folder / "defaults.lock");
                return true;
            },
            ""},
    };
    for (const auto& [name, prepare, said] : rows) {
        SCOPED_TRACE(name);
        const TemporaryFolder temporary;
        const auto folder = temporary.path() / "store";
        UserDefaultsSQLite {{.folder = folder}}.setObject("list", bodies(1, 3));
        if (!prepare(folder))
            continue;
        SaidLines lines;
        UserDefaultsSQLite store {{.folder = folder}};
        const bool isRefused = *said != '\0';
        EXPECT_EQ(store.object("list"), isRefused ? std::nullopt : std::optional<Value> {bodies(1, 3)});
        append(store, "list", 4);
        EXPECT_EQ(store.close() > 0, isRefused);
        EXPECT_THAT(lines.take(), HasSubstr(said));
        EXPECT_EQ(fs::file_size(elsewhere.path() / "target"), 6U);
        EXPECT_EQ(fs::status(elsewhere.path() / "target").permissions(),
            fs::perms::owner_all | fs::perms::group_all | fs::perms::others_all);
    }
}

} // namespace
} // namespace kova::tests
