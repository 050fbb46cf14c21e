#include "Platform/Libraries/SQLiteDatabase.h"
#include "Platform/Libraries/UserDefaultsSQLite.h"
#include "Tests/Support/StoreFolder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

namespace kova {
namespace {

namespace fs = std::filesystem;
using Dictionary = Value::Dictionary;
using tests::bodies;
using tests::body;
using std::string_literals::operator""s;

struct UserDefaultsTest : testing::Test {
    tests::TemporaryFolder temporary;
    fs::path folder = temporary.path() / "deep" / "store";
    std::unique_ptr<UserDefaultsSQLite> defaults = opened();

    [[nodiscard]] std::unique_ptr<UserDefaultsSQLite> opened() const
    {
        return std::make_unique<UserDefaultsSQLite>(UserDefaultsSQLite::Options {.folder = folder});
    }
    void reopen()
    {
        defaults.reset();
        defaults = opened();
    }
    [[nodiscard]] std::vector<std::string> filesNamed(std::string_view part) const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator {folder}) {
            if (entry.path().filename().string().find(part) != std::string::npos)
                names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        return names;
    }
};

void overwrite(const fs::path& file, std::streamoff offset, std::string_view bytes)
{
    std::fstream stream {file, std::ios::in | std::ios::out | std::ios::binary};
    stream.seekp(offset);
    stream << bytes;
}

TEST_F(UserDefaultsTest, KeepsEveryKindOfValueAcrossOpenings)
{
    const std::pair<const char*, Value> rows[] {
        {"bool", true},
        {"integer", std::numeric_limits<std::int64_t>::min()},
        {"double", 0.1},
        {"text", "pão ☕️\0"s},
        {"empty data", Data {}},
        {"data", Data {"\0\xFF bytes"s}},
        {"date", Date {1e9}},
        {"empty array", Value::Array {}},
        {"array", Value::Array {1, "a", Data {"b"s}, Value::Array {}, Dictionary {{"k", Value::Array {2}}}}},
        {"dictionary", Dictionary {{"a", Dictionary {{"b", Date {0}}}}}},
    };
    for (const auto& [key, value] : rows)
        defaults->setObject(key, value);
    for (int round = 0; round < 2; ++round) {
        for (const auto& [key, value] : rows)
            EXPECT_EQ(defaults->object(key), value) << key;
        reopen();
    }
    EXPECT_EQ(defaults->object("none"), std::nullopt);
    for (const auto& [key, value] : rows) {
        defaults->setObject(key, std::nullopt);
        EXPECT_EQ(defaults->object(key), std::nullopt) << key;
    }
}

TEST_F(UserDefaultsTest, IsPrivateToItsOwner)
{
    defaults->setObject("a", 1);
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(folder.parent_path()).permissions(), fs::perms::owner_all);
    for (const auto& name : filesNamed(""))
        EXPECT_EQ(fs::status(folder / name).permissions(), fs::perms::owner_read | fs::perms::owner_write) << name;
}

TEST_F(UserDefaultsTest, LeavesAKeyAloneThatIsGivenNoPropertyList)
{
    defaults->setObject("list", bodies(1, 3));
    defaults->setObject("one", 1);
    auto list = bodies(1, 3);
    list.append(Value {});
    defaults->setObject("list", list);
    defaults->setObject("one", "\xFF"s);
    EXPECT_EQ(defaults->object("list"), Value {bodies(1, 3)});
    EXPECT_EQ(defaults->object("one"), Value {1});
}

// Every way in which a list may differ from the stored one, checked against a second connection that reads the rows
// afresh.
TEST_F(UserDefaultsTest, WritesAnyChangeOfAnArray)
{
    std::mt19937 random {11};
    std::vector<Value> model;
    for (int step = 0; step < 600; ++step) {
        auto list = defaults->object("list").value_or(Value::Array {});
        auto changed = *list.as<Value::Array>();
        const auto change = random() % 6;
        if (change <= 2) {
            changed.append(body(static_cast<int>(random() % 5)));
        } else if (change == 3) {
            changed.removeFirst(random() % 3);
        } else {
            std::vector<Value> elements {changed.begin(), changed.end()};
            if (change == 4 && !elements.empty())
                elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(random() % elements.size()));
            else
                elements.insert(
                    elements.begin() + static_cast<std::ptrdiff_t>(random() % (elements.size() + 1)), body(step));
            changed = Value::Array {std::move(elements)};
        }
        model.assign(changed.begin(), changed.end());
        defaults->setObject("list", changed);
        if (step % 20 == 0) {
            const auto fresh = opened()->object("list");
            ASSERT_TRUE(fresh);
            ASSERT_EQ(*fresh, Value {Value::Array {model}}) << "step " << step;
        }
    }
    EXPECT_EQ(defaults->object("list"), Value {Value::Array {model}});
}

TEST_F(UserDefaultsTest, SeesWhatAnotherConnectionHasWritten)
{
    const auto other = opened();
    defaults->setObject("list", bodies(1, 200));
    EXPECT_EQ(other->object("list"), Value {bodies(1, 200)});
    auto appended = *other->object("list")->as<Value::Array>();
    appended.append(body(201));
    appended.removeFirst(2);
    other->setObject("list", appended);
    EXPECT_EQ(defaults->object("list"), Value {bodies(3, 201)});

    // Written from an outdated reading: the update between is lost, but the list is whole.
    auto outdated = *defaults->object("list")->as<Value::Array>();
    other->setObject("list", bodies(50, 60));
    outdated.append(body(202));
    defaults->setObject("list", outdated);
    EXPECT_EQ(other->object("list"), Value {bodies(3, 202)});
    defaults->setObject("list", "no list any more");
    other->setObject("list", bodies(1, 2));
    EXPECT_EQ(defaults->object("list"), Value {bodies(1, 2)});
}

TEST_F(UserDefaultsTest, TwoProcessesAndManyThreadsTearNothing)
{
    defaults.reset();
    constexpr int rounds = 150;
    const auto writeOwnList = [&](UserDefaultsSQLite& store, const std::string& key) {
        for (int number = 0; number < rounds; ++number) {
            auto list = store.object(key).value_or(Value::Array {});
            auto array = *list.as<Value::Array>();
            array.append(body(number));
            store.setObject(key, array);
            store.setObject("shared", bodies(number, number + 5));
        }
    };
    const auto child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        {
            UserDefaultsSQLite store {{.folder = folder}};
            writeOwnList(store, "child");
        }
        _exit(0);
    }
    defaults = opened();
    {
        std::jthread first {[&] { writeOwnList(*defaults, "first"); }};
        std::jthread second {[&] { writeOwnList(*defaults, "second"); }};
        for (int read = 0; read < rounds; ++read) {
            const auto shared = defaults->object("shared");
            if (shared) {
                const auto* array = shared->as<Value::Array>();
                ASSERT_TRUE(array && array->size() == 6U);
            }
        }
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    for (const auto* key : {"child", "first", "second"})
        EXPECT_EQ(defaults->object(key), Value {bodies(0, rounds - 1)}) << key;
}

TEST_F(UserDefaultsTest, SetsADamagedDatabaseAsideAndBeginsAFreshOne)
{
    const std::pair<const char*, void (*)(const fs::path&)> rows[] {
        {"no database", [](const fs::path& file) { std::ofstream {file} << std::string(8'192, 'x'); }},
        {"cut in the middle", [](const fs::path& file) { fs::resize_file(file, 4'096 + 100); }},
        {"pages overwritten",
            [](const fs::path& file) {
                std::fstream stream {file, std::ios::in | std::ios::out | std::ios::binary};
                stream.seekp(4'096);
                stream << std::string(fs::file_size(file) - 4'096, '\xA5');
            }},
        {"a header of a newer format", [](const fs::path& file) { overwrite(file, 18, "\x09"); }},
        {"a schema of a newer format", [](const fs::path& file) { overwrite(file, 47, "\x7F"); }},
        {"tables of somebody else",
            [](const fs::path& file) {
                fs::remove(file);
                SQLiteDatabase {file, std::chrono::seconds {5}}.execute("CREATE TABLE entry (a)");
            }},
    };
    for (const auto& [name, damage] : rows) {
        defaults->setObject("list", bodies(1, 2'000));
        defaults.reset();
        damage(folder / "defaults.sqlite");
        std::ofstream {folder / "defaults.sqlite-wal"} << "left behind";
        testing::internal::CaptureStderr();
        defaults = opened();
        EXPECT_EQ(defaults->object("list"), std::nullopt) << name;
        defaults->setObject("list", bodies(1, 3));
        reopen();
        EXPECT_EQ(defaults->object("list"), Value {bodies(1, 3)}) << name;
        const auto said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::ranges::count(said, '\n'), 1) << name << ": " << said;
        EXPECT_NE(said.find("damaged"), std::string::npos) << said;
    }
    // Each round leaves a file of its own, with the log that stood beside it.
    const auto aside = filesNamed("damaged");
    EXPECT_EQ(std::ranges::count_if(aside, [](const auto& name) { return name.ends_with("-wal"); }), std::ssize(rows));
    EXPECT_EQ(std::ranges::count_if(
                  aside, [](const auto& name) { return !name.ends_with("-wal") && !name.ends_with("-shm"); }),
        std::ssize(rows));
}

TEST_F(UserDefaultsTest, DamageFoundUnderWayIsSetAsideToo)
{
    defaults->setObject("list", bodies(1, 2'000));
    defaults->synchronize();
    reopen();
    {
        std::fstream stream {folder / "defaults.sqlite", std::ios::in | std::ios::out | std::ios::binary};
        const auto size = fs::file_size(folder / "defaults.sqlite");
        stream.seekp(static_cast<std::streamoff>(size / 2));
        stream << std::string(size / 4, '\xA5');
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(defaults->object("list"), std::nullopt);
    defaults->setObject("list", bodies(1, 3));
    EXPECT_EQ(defaults->object("list"), Value {bodies(1, 3)});
    EXPECT_NE(testing::internal::GetCapturedStderr().find("damaged"), std::string::npos);
    EXPECT_FALSE(filesNamed("damaged").empty());
}

TEST_F(UserDefaultsTest, WorksInMemoryWhereThereIsNoFolder)
{
    std::ofstream {temporary.path() / "file"} << "not a folder";
    testing::internal::CaptureStderr();
    UserDefaultsSQLite store {{.folder = temporary.path() / "file" / "store"}};
    EXPECT_NE(testing::internal::GetCapturedStderr().find("cannot be written: "), std::string::npos);
    store.setObject("list", bodies(1, 3));
    EXPECT_EQ(store.object("list"), Value {bodies(1, 3)});
}

TEST_F(UserDefaultsTest, ABusyStoreIsWaitedForWithABound)
{
    defaults->setObject("a", 1);
    SQLiteDatabase holder {folder / "defaults.sqlite", std::chrono::seconds {5}};
    holder.execute("BEGIN IMMEDIATE");
    UserDefaultsSQLite impatient {{.folder = folder, .busyTimeout = std::chrono::milliseconds {50}}};
    testing::internal::CaptureStderr();
    impatient.setObject("a", 2);
    impatient.setObject("b", 2);
    EXPECT_EQ(impatient.object("a"), Value {2}) << "kept in memory";
    EXPECT_EQ(UserDefaultsSQLite {{.folder = folder}}.object("a"), Value {1}) << "readers do not wait";
    holder.execute("ROLLBACK");
    impatient.setObject("a", 3);
    EXPECT_EQ(defaults->object("a"), Value {3});
    EXPECT_EQ(defaults->object("b"), Value {2});
    const auto said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::ranges::count(said, '\n'), 2) << said;
    EXPECT_NE(said.find("cannot be written: database is locked"), std::string::npos) << said;
    EXPECT_NE(said.find("can be written again"), std::string::npos) << said;
}

// The log is what a power cut may take; what a copy of the file without it shows is on the disk.
TEST_F(UserDefaultsTest, BringsWritesToTheDiskWhenAskedAndByItself)
{
    const auto onDisk = [&](const char* key) {
        const tests::TemporaryFolder copy;
        fs::copy_file(folder / "defaults.sqlite", copy.path() / "defaults.sqlite");
        return UserDefaultsSQLite {{.folder = copy.path()}}.object(key);
    };
    defaults->setObject("a", 1);
    EXPECT_EQ(onDisk("a"), std::nullopt);
    defaults->synchronize();
    EXPECT_EQ(onDisk("a"), Value {1});

    defaults->setObject("b", 2);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds {10};
    while (onDisk("b") != Value {2})
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
}

TEST_F(UserDefaultsTest, ANewerStoreIsLeftAlone)
{
    defaults->setObject("a", 1);
    defaults.reset();
    SQLiteDatabase {folder / "defaults.sqlite", std::chrono::seconds {5}}.execute("PRAGMA user_version = 2");
    testing::internal::CaptureStderr();
    defaults = opened();
    EXPECT_EQ(defaults->object("a"), std::nullopt);
    defaults->setObject("a", 2);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("newer version"), std::string::npos);
    SQLiteDatabase {folder / "defaults.sqlite", std::chrono::seconds {5}}.execute("PRAGMA user_version = 1");
    EXPECT_EQ(defaults->object("a"), Value {1}) << "what could not be opened is tried again";
}

// At the last position there is, the next element had a position that is no number any more.
TEST_F(UserDefaultsTest, AnArrayAtTheEdgeOfThePositionsReadsAsNone)
{
    SQLiteDatabase other {folder / "defaults.sqlite", std::chrono::seconds {5}};
    for (const auto* move : {"UPDATE element SET position = position + 9223372036854775805",
             "UPDATE element SET position = position - 9223372036854775806"}) {
        defaults->setObject("list", bodies(1, 3));
        other.execute(move);
        EXPECT_EQ(defaults->object("list"), std::nullopt) << move;
        defaults->setObject("list", bodies(1, 4));
        reopen();
        EXPECT_EQ(defaults->object("list"), Value {bodies(1, 4)}) << move;
        defaults->setObject("list", std::nullopt);
    }
}

// A list that was read as empty because the disk was full must not replace the stored one when there is room again.
TEST_F(UserDefaultsTest, AWriteAfterAFailedReadIsRefusedOnce)
{
    const auto setVersion
        = [&](const char* sql) { SQLiteDatabase {folder / "defaults.sqlite", std::chrono::seconds {5}}.execute(sql); };
    defaults->setObject("a", 1);
    defaults.reset();
    setVersion("PRAGMA user_version = 2");
    testing::internal::CaptureStderr();
    defaults = opened();
    EXPECT_EQ(defaults->object("a"), std::nullopt);
    setVersion("PRAGMA user_version = 1");
    defaults->setObject("a", 2);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("after a read that failed"), std::string::npos);
    EXPECT_EQ(defaults->object("a"), Value {1});
    defaults->setObject("a", 3);
    EXPECT_EQ(defaults->object("a"), Value {3});
}

TEST_F(UserDefaultsTest, AClosedStoreIsEmptyAndSilent)
{
    defaults->setObject("a", 1);
    defaults->close();
    EXPECT_EQ(defaults->object("a"), std::nullopt);
    defaults->setObject("a", 2);
    defaults->synchronize();
    reopen();
    EXPECT_EQ(defaults->object("a"), Value {1});
}

} // namespace
} // namespace kova
