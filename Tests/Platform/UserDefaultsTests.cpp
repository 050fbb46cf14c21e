#include "Tests/Support/StoreFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

namespace kova::tests {
namespace {

namespace fs = std::filesystem;
using Dictionary = Value::Dictionary;
using std::string_literals::operator""s;

struct UserDefaultsTest : testing::Test {
    StoreFolder folder;
    std::unique_ptr<UserDefaultsSQLite> store = folder.open();

    void reopen()
    {
        store.reset();
        store = folder.open();
    }
    /// How many files were set aside, of those whose names end so.
    std::ptrdiff_t countAside(std::string_view end) const
    {
        return std::ranges::count_if(fs::directory_iterator {folder.path()}, [end](const auto& entry) {
            const auto name = entry.path().filename().string();
            return name.find("damaged") != std::string::npos && name.ends_with(end);
        });
    }
    void execute(const char* sql) const { SQLiteDatabase {folder.file(), std::chrono::seconds {5}}.execute(sql); }
};

void overwrite(const fs::path& file, std::size_t offset, std::string_view bytes)
{
    std::fstream stream {file, std::ios::in | std::ios::out | std::ios::binary};
    stream.seekp(static_cast<std::streamoff>(offset));
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
        store->setObject(key, value);
    for (int round = 0; round < 2; ++round) {
        for (const auto& [key, value] : rows) {
            EXPECT_EQ(store->object(key), value) << key;
            // What is no property list leaves the key alone.
            store->setObject(key, Value::Array {1, Value {}});
            store->setObject(key, "\xFF"s);
        }
        reopen();
    }
    EXPECT_EQ(store->object("none"), std::nullopt);
    for (const auto& [key, value] : rows) {
        store->setObject(key, std::nullopt);
        EXPECT_EQ(store->object(key), std::nullopt) << key;
    }
}

TEST_F(UserDefaultsTest, IsPrivateToItsOwner)
{
    const auto deep = folder.path() / "deep";
    const auto mask = umask(0777);
    UserDefaultsSQLite defaults {{.folder = deep / "store"}};
    umask(mask);
    defaults.setObject("a", 1);
    EXPECT_EQ(fs::status(deep).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(deep / "store").permissions(), fs::perms::owner_all);
    for (const auto& file : fs::directory_iterator {deep / "store"})
        EXPECT_EQ(file.status().permissions(), fs::perms::owner_read | fs::perms::owner_write) << file;
}

// Every way in which a list may differ from the stored one, checked against a second connection that reads the rows
// afresh.
TEST_F(UserDefaultsTest, WritesAnyChangeOfAnArray)
{
    std::mt19937 random {11};
    for (int step = 0; step < 600; ++step) {
        const auto list = store->object("list").value_or(Value::Array {});
        auto changed = *list.as<Value::Array>();
        const auto change = random() % 6;
        if (change <= 2) {
            changed.append(body(static_cast<int>(random() % 5)));
        } else if (change == 3) {
            changed.removeFirst(random() % 3);
        } else {
            std::vector<Value> elements {changed.begin(), changed.end()};
            const auto place = elements.begin() + static_cast<std::ptrdiff_t>(random() % (elements.size() + 1));
            if (change == 4 && place != elements.end())
                elements.erase(place);
            else
                elements.insert(place, body(step));
            changed = Value::Array {std::move(elements)};
        }
        store->setObject("list", changed);
        if (step % 20 == 0) {
            ASSERT_EQ(folder.stored("list"), Value {changed}) << "step " << step;
        }
    }
}

TEST_F(UserDefaultsTest, SeesWhatAnotherConnectionHasWritten)
{
    const auto other = folder.open();
    store->setObject("list", bodies(1, 200));
    EXPECT_EQ(other->object("list"), Value {bodies(1, 200)});
    auto appended = *other->object("list")->as<Value::Array>();
    appended.append(body(201));
    appended.removeFirst(2);
    other->setObject("list", appended);
    EXPECT_EQ(store->object("list"), Value {bodies(3, 201)});

    // Written from an outdated reading: the update between is lost, but the list is whole.
    auto outdated = *store->object("list")->as<Value::Array>();
    other->setObject("list", bodies(50, 60));
    outdated.append(body(202));
    store->setObject("list", outdated);
    EXPECT_EQ(other->object("list"), Value {bodies(3, 202)});
    store->setObject("list", "no list any more");
    other->setObject("list", bodies(1, 2));
    EXPECT_EQ(store->object("list"), Value {bodies(1, 2)});
}

TEST_F(UserDefaultsTest, TwoProcessesAndManyThreadsTearNothing)
{
    store.reset();
    constexpr int rounds = 150;
    const auto writeOwnList = [&](UserDefaultsSQLite& defaults, const std::string& key) {
        for (int number = 0; number < rounds; ++number) {
            auto list = defaults.object(key).value_or(Value::Array {});
            auto array = *list.as<Value::Array>();
            array.append(body(number));
            defaults.setObject(key, array);
            defaults.setObject("shared", bodies(number, number + 5));
        }
    };
    const auto child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        {
            UserDefaultsSQLite defaults {{.folder = folder.path()}};
            writeOwnList(defaults, "child");
        }
        _exit(0);
    }
    UserDefaultsSQLite defaults {{.folder = folder.path()}};
    {
        std::jthread first {[&] { writeOwnList(defaults, "first"); }};
        std::jthread second {[&] { writeOwnList(defaults, "second"); }};
        for (int read = 0; read < rounds; ++read) {
            if (const auto shared = defaults.object("shared")) {
                const auto* array = shared->as<Value::Array>();
                ASSERT_TRUE(array && array->size() == 6U);
            }
        }
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    for (const auto* key : {"child", "first", "second"})
        EXPECT_EQ(defaults.object(key), Value {bodies(0, rounds - 1)}) << key;
}

TEST_F(UserDefaultsTest, SetsADamagedDatabaseAsideAndBeginsAFreshOne)
{
    const std::tuple<const char*, void (*)(const fs::path&), std::optional<Value>> rows[] {
        {"no database", [](const fs::path& file) { std::ofstream {file} << std::string(8'192, 'x'); }, std::nullopt},
        {"cut in the middle", [](const fs::path& file) { fs::resize_file(file, 4'096 + 100); }, std::nullopt},
        {"pages overwritten",
            [](const fs::path& file) { overwrite(file, 4'096, std::string(fs::file_size(file) - 4'096, '\xA5')); },
            std::nullopt},
        {"a header of a newer format", [](const fs::path& file) { overwrite(file, 18, "\x09"); },
            Value {bodies(1, 2'000)}},
        {"a schema of a newer format", [](const fs::path& file) { overwrite(file, 47, "\x7F"); }, std::nullopt},
        {"tables of somebody else",
            [](const fs::path& file) {
                fs::remove(file);
                SQLiteDatabase {file, std::chrono::seconds {5}}.execute("CREATE TABLE entry (a)");
            },
            std::nullopt},
    };
    for (const auto& [name, damage, saved] : rows) {
        store->setObject("list", bodies(1, 2'000));
        store.reset();
        damage(folder.file());
        std::ofstream {folder.file().string() + "-wal"} << "left behind";
        SaidLines said;
        store = folder.open();
        EXPECT_EQ(store->object("list"), saved) << name;
        store->setObject("list", bodies(1, 3));
        reopen();
        EXPECT_EQ(store->object("list"), Value {bodies(1, 3)}) << name;
        const auto lines = said.take();
        EXPECT_EQ(lineCount(lines), 1) << name << ": " << lines;
        EXPECT_NE(lines.find("damaged"), std::string::npos) << lines;
    }
    // Each round leaves a file of its own, with the log that stood beside it.
    EXPECT_EQ(countAside("-wal"), std::ssize(rows));
    EXPECT_EQ(countAside("") - countAside("-wal") - countAside("-shm"), std::ssize(rows));
}

TEST_F(UserDefaultsTest, DamageFoundUnderWayIsSetAsideToo)
{
    store->setObject("list", bodies(1, 2'000));
    store->synchronize();
    reopen();
    const auto size = fs::file_size(folder.file());
    overwrite(folder.file(), size / 2, std::string(size / 4, '\xA5'));
    SaidLines said;
    const auto saved = store->object("list").value_or(Value {});
    const auto* list = saved.as<Value::Array>();
    ASSERT_TRUE(list);
    EXPECT_GT(list->size(), 500U) << "half of the file was healthy";
    EXPECT_LT(list->size(), 2'000U);
    EXPECT_EQ((*list)[0], body(1));
    EXPECT_EQ((*list)[list->size() - 1], body(2'000));
    append(*store, "list", 2'001);
    EXPECT_EQ(store->object("list")->as<Value::Array>()->size(), list->size() + 1);
    EXPECT_NE(said.take().find("\"list\" (" + std::to_string(list->size()) + " elements)"), std::string::npos);
    EXPECT_GT(countAside(""), 0);
}

TEST_F(UserDefaultsTest, WorksInMemoryWhereThereIsNoFolder)
{
    std::ofstream {folder.path() / "file"} << "not a folder";
    SaidLines said;
    UserDefaultsSQLite defaults {{.folder = folder.path() / "file" / "store"}};
    EXPECT_NE(said.take().find("cannot be written: "), std::string::npos);
    defaults.setObject("list", bodies(1, 3));
    EXPECT_EQ(defaults.object("list"), Value {bodies(1, 3)});
}

TEST_F(UserDefaultsTest, ANewerStoreIsLeftAlone)
{
    store->setObject("a", 1);
    store.reset();
    execute("PRAGMA journal_mode = DELETE");
    execute("PRAGMA user_version = 2");
    SaidLines said;
    store = folder.open();
    EXPECT_EQ(store->object("a"), std::nullopt);
    store->setObject("a", 2);
    EXPECT_NE(said.take().find("newer version"), std::string::npos);
    EXPECT_FALSE(fs::exists(folder.file().string() + "-wal"));
    execute("PRAGMA user_version = 1");
    store->synchronize();
    EXPECT_EQ(store->object("a"), Value {2}) << "a store that could not be opened is tried again";
}

// A row numbered 0 was once taken for none, so that no event could be kept.
TEST_F(UserDefaultsTest, WritesRowsOfAnyNumber)
{
    for (const auto* renumber : {"UPDATE entry SET id = 0; UPDATE element SET entry = 0",
             "UPDATE entry SET id = -7; UPDATE element SET entry = -7"}) {
        store->setObject("list", bodies(1, 3));
        execute(renumber);
        append(*store, "list", 4);
        EXPECT_EQ(folder.stored("list"), Value {bodies(1, 4)}) << renumber;
        store->setObject("list", std::nullopt);
    }
}

// At the last position there is, the next element had a position that is no number any more.
TEST_F(UserDefaultsTest, AnArrayAtTheEdgeOfThePositionsReadsAsNone)
{
    for (const auto* move : {"UPDATE element SET position = position + 9223372036854775805",
             "UPDATE element SET position = position - 9223372036854775806"}) {
        store->setObject("list", bodies(1, 3));
        execute(move);
        EXPECT_EQ(store->object("list"), std::nullopt) << move;
        store->setObject("list", bodies(1, 4));
        reopen();
        EXPECT_EQ(store->object("list"), Value {bodies(1, 4)}) << move;
        store->setObject("list", std::nullopt);
    }
}

} // namespace
} // namespace kova::tests
