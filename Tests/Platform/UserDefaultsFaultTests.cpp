// The store on a disk that fails: what is stored stays readable, and what is set meanwhile is not lost.

#include "Tests/Support/FaultyDisk.h"
#include "Tests/Support/StoreFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <thread>
#include <tuple>

namespace kova::tests {
namespace {

using Call = SQLiteDisk::Call;
using Clock = std::chrono::steady_clock;
using testing::HasSubstr;

std::optional<Value> removeLast(const std::optional<Value>& present)
{
    const auto& list = *present->as<Value::Array>();
    Value::Array shorter;
    for (std::size_t index = 0; index + 1 < list.size(); ++index)
        shorter.append(list[index]);
    return Value {shorter};
}

struct UserDefaultsFaultTest : testing::Test {
    StoreFolder folder;
    FaultyDisk disk;
    std::unique_ptr<UserDefaultsSQLite> store = folder.open();
};

TEST_F(UserDefaultsFaultTest, WhatCannotBeWrittenIsKeptAndWrittenLater)
{
    const FaultyDisk::Fault faults[] {
        {.call = Call::Write, .file = "-wal", .code = SQLITE_FULL},
        {.call = Call::Write, .file = "-wal", .code = SQLITE_IOERR_WRITE, .after = 1},
        {.call = Call::Write, .file = "-wal", .code = SQLITE_IOERR_WRITE, .after = 2},
        {.call = Call::Write, .file = "", .code = SQLITE_READONLY},
    };
    const std::pair<const char*, void (*)(UserDefaultsSQLite&)> occasions[] {
        {"the next write", [](UserDefaultsSQLite& defaults) { defaults.setObject("other", 1); }},
        {"synchronize", [](UserDefaultsSQLite& defaults) { defaults.synchronize(); }},
        {"the end", [](UserDefaultsSQLite& defaults) { defaults.close(); }},
        {"by itself", [](UserDefaultsSQLite&) {}},
    };
    for (const auto& fault : faults) {
        for (const auto& [occasion, occur] : occasions) {
            SCOPED_TRACE(testing::Message() << "code " << fault.code << " after " << fault.after << ", " << occasion);
            store->setObject("list", bodies(1, 200));
            store->setObject("gone", "stored");
            store->synchronize();

            SaidLines said;
            disk.breakDown(fault);
            store->setObject("list", bodies(1, 201));
            store->setObject("list", bodies(2, 202));
            store->setObject("list", Value::Array {Value {}}); // No property list: leaves the key alone.
            store->setObject("text", Value {"new"});
            store->setObject("gone", std::nullopt);
            EXPECT_EQ(store->object("list"), Value {bodies(2, 202)});
            EXPECT_EQ(store->object("text"), Value {"new"});
            EXPECT_EQ(store->object("gone"), std::nullopt);
            disk.mend();
            occur(*store);
            EXPECT_TRUE(comesTrue([&] {
                return folder.stored("list") == Value {bodies(2, 202)} && folder.stored("text") == Value {"new"}
                && folder.stored("gone") == std::nullopt;
            }));
            store = folder.open();
            const auto lines = said.take();
            EXPECT_EQ(lineCount(lines), 3) << lines;
            EXPECT_THAT(lines, HasSubstr(folder.file().string() + " cannot be written: "));
            EXPECT_THAT(lines, HasSubstr("no property list (key \"list\")"));
            EXPECT_THAT(lines, HasSubstr(folder.file().string() + " can be written again"));
        }
    }
    EXPECT_EQ(folder.integrity(), "ok");
}

TEST_F(UserDefaultsFaultTest, AFileThatBecomesWritableOnceItIsOpenIsWhole)
{
    store->setObject("list", bodies(1, 3));
    store.reset();
    disk.breakDown({.call = Call::Open, .file = ".sqlite", .code = SQLITE_READONLY, .times = 1});
    SaidLines said;
    store = folder.open();
    EXPECT_EQ(store->object("list"), Value {bodies(1, 3)});
    store->setObject("list", bodies(1, 4));
    EXPECT_TRUE(comesTrue([&] { return folder.stored("list") == Value {bodies(1, 4)}; }));
    store.reset();
    const auto lines = said.take();
    EXPECT_EQ(lineCount(lines), 2) << lines;
    EXPECT_THAT(lines, HasSubstr("cannot be written: it could only be read"));
}

TEST_F(UserDefaultsFaultTest, ACheckpointThatFailsIsTriedAgain)
{
    const FaultyDisk::Fault faults[] {
        {.call = Call::Sync, .file = "-wal", .code = SQLITE_IOERR_FSYNC},
        {.call = Call::Sync, .file = ".sqlite", .code = SQLITE_IOERR_FSYNC},
        {.call = Call::Write, .file = ".sqlite", .code = SQLITE_FULL},
        {.call = Call::Write, .file = ".sqlite", .code = SQLITE_IOERR_WRITE, .after = 1},
        {.call = Call::Read, .file = "-wal", .code = SQLITE_IOERR_READ},
        {.call = Call::Open, .file = "", .code = SQLITE_CANTOPEN},
    };
    int last = 200;
    for (const auto& fault : faults) {
        SCOPED_TRACE(testing::Message() << "code " << fault.code);
        SaidLines said;
        disk.breakDown(fault);
        store->setObject("text", std::string(20'000, static_cast<char>('a' + last % 20)));
        store->setObject("list", bodies(1, ++last));
        ASSERT_TRUE(disk.waitUntilHit());
        store->setObject("list", bodies(1, ++last));
        EXPECT_EQ(store->object("list"), Value {bodies(1, last)});
        disk.mend();
        const auto onDisk = [&] {
            const TemporaryFolder copy;
            std::filesystem::copy_file(folder.file(), copy.path() / "defaults.sqlite");
            return UserDefaultsSQLite {{.folder = copy.path()}}.object("list");
        };
        EXPECT_TRUE(comesTrue([&] { return onDisk() == Value {bodies(1, last)}; }));
        store = folder.open();
        const auto lines = said.take();
        EXPECT_EQ(lineCount(lines, folder.file().string()), 2) << lines; // A copy made within a checkpoint is damaged.
        EXPECT_THAT(lines, HasSubstr(" cannot be brought to the disk: "));
        EXPECT_THAT(lines, HasSubstr(" is brought to the disk again"));
    }
}

// An update that follows a failed read once replaced everything stored.
TEST_F(UserDefaultsFaultTest, ReplaysUpdatesAfterFailedReads)
{
    store->setObject("list", bodies(1, 2'000));
    store = folder.open();
    SaidLines said;
    disk.breakDown({.call = Call::Read, .file = "", .code = SQLITE_IOERR_READ});
    EXPECT_EQ(store->object("list"), std::nullopt);
    append(*store, "list", 2'001);
    EXPECT_EQ(store->object("list"), Value {bodies(2'001, 2'001)}) << "an unknown list counts as empty";
    append(*store, "list", 2'002);
    disk.mend();
    append(*store, "list", 2'003);
    EXPECT_EQ(store->object("list"), Value {bodies(1, 2'003)});
    const auto lines = said.take();
    EXPECT_EQ(lineCount(lines), 4) << lines;
    EXPECT_THAT(lines, HasSubstr(" cannot be read: "));
    EXPECT_THAT(lines, HasSubstr(" cannot be written: "));
    EXPECT_THAT(lines, HasSubstr("the updates that were kept in memory are stored"));
    EXPECT_THAT(lines, HasSubstr(" can be read again"));

    // A value that was known goes on to be shown.
    const SaidLines quiet;
    folder.open()->setObject("list", bodies(1, 5));
    disk.breakDown({.call = Call::Read, .file = "", .code = SQLITE_IOERR_READ});
    EXPECT_EQ(store->object("list"), Value {bodies(1, 2'003)});
    append(*store, "list", 6);
    disk.mend();
    store->synchronize();
    EXPECT_EQ(store->object("list"), Value {bodies(1, 6)});
}

// SQLite takes a read error of the system for damage. A healthy store was once set aside for it.
TEST_F(UserDefaultsFaultTest, ReadErrorsSetNothingAside)
{
    store->setObject("list", bodies(1, 2'000));
    store.reset();
    for (const auto times : {1U, 3U, 1'000U}) {
        std::size_t number = 0;
        for (bool wasHit = true; wasHit; ++number) {
            SCOPED_TRACE(testing::Message() << times << " reads fail from read " << number << " on");
            const SaidLines said;
            disk.breakDown({.call = Call::Read, .code = SQLITE_IOERR_CORRUPTFS, .after = number, .times = times});
            store = folder.open();
            append(*store, "list", 2'001);
            static_cast<void>(store->object("list"));
            wasHit = disk.met() > number;
            disk.mend();
            store->update("list", &removeLast);
            store.reset();
            ASSERT_EQ(folder.stored("list"), Value {bodies(1, 2'000)});
        }
        EXPECT_GT(number, 5U);
    }
    for (const auto& entry : std::filesystem::directory_iterator {folder.path()})
        EXPECT_EQ(entry.path().string().find("damaged"), std::string::npos) << entry.path();
}

// Every call that a life of the store makes fails once, and then, in another life, every one from there on until
// shortly before the end. What was set last must be there in the end.
TEST_F(UserDefaultsFaultTest, NoSingleFailureLosesOrTearsAnything)
{
    for (const auto& [times, code] : {std::pair {1U, SQLITE_IOERR_WRITE}, std::pair {40U, SQLITE_FULL}}) {
        std::size_t number = 0;
        for (bool wasHit = true; wasHit; ++number) {
            SCOPED_TRACE(testing::Message() << times << " calls from call " << number << " on, code " << code);
            const SaidLines said;
            const StoreFolder fresh;
            disk.breakDown({.code = code, .after = number, .times = times});
            store = fresh.open();
            for (int last = 1; last <= 12; ++last) {
                store->setObject("list", bodies(last / 2, last));
                store->setObject("text", Value {std::string(static_cast<std::size_t>(last) * 500, 'x')});
                if (last % 4 == 0)
                    store->synchronize();
            }
            wasHit = disk.met() > number;
            disk.mend();
            store.reset();
            ASSERT_EQ(fresh.stored("list"), Value {bodies(6, 12)});
            ASSERT_EQ(fresh.stored("text"), Value {std::string(6'000, 'x')});
            ASSERT_EQ(fresh.integrity(), "ok");
        }
        EXPECT_GT(number, 100U);
    }
}

TEST_F(UserDefaultsFaultTest, ADiskThatHangsHoldsUpNeitherWritesNorTheEnd)
{
    const SaidLines said;
    disk.breakDown({.call = Call::Sync});
    for (int last = 1; last <= 50; ++last)
        store->setObject("list", bodies(1, last));
    ASSERT_TRUE(disk.waitUntilHit());
    EXPECT_EQ(store->object("list"), Value {bodies(1, 50)});
    store->setObject("list", bodies(1, 51));
    const auto began = Clock::now();
    store->close();
    EXPECT_LT(Clock::now() - began, std::chrono::seconds {3});
    EXPECT_EQ(store->object("list"), std::nullopt);
    store->setObject("list", bodies(1, 1));
    store.reset();
    disk.mend();
    EXPECT_TRUE(comesTrue([this] { return disk.openFiles() == 0; })) << "what hung ends by itself";
    EXPECT_EQ(folder.stored("list"), Value {bodies(1, 51)});
}

TEST_F(UserDefaultsFaultTest, AWriterThatHangsDoesNotHoldUpTheEnd)
{
    const SaidLines said;
    store->setObject("text", "stored");
    disk.breakDown({.call = Call::Write});
    {
        std::jthread writer {[this] { store->setObject("text", "hangs"); }};
        ASSERT_TRUE(disk.waitUntilHit());
        const auto began = Clock::now();
        store->close();
        EXPECT_LT(Clock::now() - began, std::chrono::seconds {3});
        disk.mend();
    }
    store.reset();
    EXPECT_TRUE(comesTrue([this] { return disk.openFiles() == 0; }));
    EXPECT_EQ(folder.stored("text"), Value {"hangs"});
}

// Another process that takes the store for itself, whole or only for writing, and keeps it or lets go in the end.
TEST_F(UserDefaultsFaultTest, ALockHeldForLongHasABoundForReadersWritersAndTheEnd)
{
    store->setObject("text", "stored");
    store->synchronize();
    const std::tuple<const char*, bool, bool> rows[] {
        {"for writing", false, false}, {"whole", true, false}, {"for a time", false, true}};
    for (const auto& [name, isWhole, letsGo] : rows) {
        SCOPED_TRACE(name);
        store.reset();
        SQLiteDatabase holder {folder.file(), std::chrono::seconds {5}};
        if (isWhole)
            holder.execute("PRAGMA locking_mode = EXCLUSIVE");
        holder.execute("BEGIN IMMEDIATE");

        SaidLines said;
        auto began = Clock::now();
        const auto lap = [&] {
            const auto now = Clock::now();
            return now - std::exchange(began, now);
        };
        store = folder.open();
        store->setObject("list", bodies(1, 1));
        // Opening and writing each wait for the full time once.
        EXPECT_LT(lap(), std::chrono::milliseconds {1'500});
        EXPECT_EQ(store->object("text"), isWhole ? std::nullopt : std::optional<Value> {"stored"});
        for (int last = 2; last <= 5; ++last)
            store->setObject("list", bodies(1, last));
        EXPECT_EQ(store->object("list"), Value {bodies(1, 5)});
        EXPECT_LT(lap(), std::chrono::milliseconds {1'500});
        if (letsGo) {
            holder.execute("ROLLBACK");
            EXPECT_TRUE(comesTrue([this] { return folder.stored("list") == Value {bodies(1, 5)}; }));
            began = Clock::now();
        }
        store->close();
        EXPECT_LT(lap(), std::chrono::seconds {3});
        const auto lines = said.take();
        EXPECT_THAT(lines, HasSubstr("cannot be written: database is locked"));
        EXPECT_THAT(lines, HasSubstr(letsGo ? "can be written again" : "which are lost: 1 of \"list\""));
    }
}

} // namespace
} // namespace kova::tests
