// The store on a real file system that is full or read-only: what is stored is read, what is set is kept until it fits.
//
// The file system is a small one in memory, in a namespace of the test's own.

#include "Tests/Support/NetworkNamespace.h"
#include "Tests/Support/StoreFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

namespace kova::tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// A file system of 600 KB over the store's folder.
class SmallDisk {
public:
    explicit SmallDisk(fs::path folder)
        : m_folder(std::move(folder))
    {
        run("mount -t tmpfs -o size=600k small " + m_folder.string());
    }
    ~SmallDisk() { run("umount --lazy " + m_folder.string()); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    // Down to the last page.
    void fill() const
    {
        std::ofstream filling {m_folder / "filling", std::ios::binary};
        const std::string page(4'096, 'x');
        while (filling.write(page.data(), static_cast<std::streamsize>(page.size())).flush()) { }
    }
    void makeRoom() const { fs::remove(m_folder / "filling"); }
    void setWritable(bool isWritable) const
    {
        run(std::string {"mount -o remount,"} + (isWritable ? "rw " : "ro ") + m_folder.string());
    }

private:
    static void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }

    fs::path m_folder;
};

struct UserDefaultsSpaceTest : testing::Test {
    StoreFolder folder;

    // What a process leaves that is killed: the log, and its index, beside the file.
    void leaveByKill(const Value& list) const
    {
        const auto child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const auto store = folder.open();
            store->setObject("list", list);
            kill(getpid(), SIGKILL);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));
    }

    // With nothing to be written: what is stored is there, and what is set reads back.
    void expectKept(UserDefaultsSQLite& store, const std::optional<Value>& stored) const
    {
        EXPECT_EQ(store.object("list"), stored);
        EXPECT_EQ(store.object("none"), std::nullopt);
        store.setObject("list", bodies(1, 301));
        store.setObject("text", std::string(100'000, 'x'));
        store.synchronize();
        EXPECT_EQ(store.object("list"), Value {bodies(1, 301)});
        EXPECT_EQ(store.object("text"), Value {std::string(100'000, 'x')});
    }

    void expectWritten() const
    {
        EXPECT_TRUE(comesTrue([this] {
            return folder.stored("list") == Value {bodies(1, 301)}
            && folder.stored("text") == Value {std::string(100'000, 'x')};
        }));
        EXPECT_EQ(folder.integrity(), "ok");
    }

    static void expectSaidOnce(const std::string& lines, std::string_view why)
    {
        EXPECT_EQ(lineCount(lines), 2) << lines;
        EXPECT_THAT(lines, HasSubstr(" cannot be written: "));
        EXPECT_THAT(lines, HasSubstr(why));
        EXPECT_THAT(lines, HasSubstr(" can be written again"));
    }
};

TEST_F(UserDefaultsSpaceTest, AFullDiskLosesNothing)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    struct Row {
        const char* name;
        std::optional<Value> stored;
        void (*leave)(const UserDefaultsSpaceTest&);
    };
    const Row rows[] {
        {"no store", std::nullopt, [](const UserDefaultsSpaceTest&) {}},
        {"an empty file", std::nullopt, [](const UserDefaultsSpaceTest& test) { std::ofstream {test.folder.file()}; }},
        {"a store that was closed", bodies(1, 300),
            [](const UserDefaultsSpaceTest& test) { test.folder.open()->setObject("list", bodies(1, 300)); }},
        {"a store whose process was killed", bodies(1, 300),
            [](const UserDefaultsSpaceTest& test) { test.leaveByKill(bodies(1, 300)); }},
        {"a log without its index", bodies(1, 300),
            [](const UserDefaultsSpaceTest& test) {
                test.leaveByKill(bodies(1, 300));
                fs::remove(test.folder.path() / "defaults.sqlite-shm");
            }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const SmallDisk disk {folder.path()};
        row.leave(*this);
        disk.fill();
        SaidLines said;
        auto store = folder.open();
        expectKept(*store, row.stored);
        disk.makeRoom();
        expectWritten();
        store.reset();
        expectSaidOnce(said.take(), "(No space left on device)");
    }
}

TEST_F(UserDefaultsSpaceTest, ADiskThatFillsUpUnderWayLosesNothing)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    const SmallDisk disk {folder.path()};
    auto store = folder.open();
    store->setObject("list", bodies(1, 300));
    store->synchronize();
    disk.fill();
    SaidLines said;
    expectKept(*store, bodies(1, 300));
    EXPECT_EQ(folder.stored("text"), std::nullopt) << "another process still reads what was there";
    disk.makeRoom();
    expectWritten();
    store.reset();
    expectSaidOnce(said.take(), "(No space left on device)");
}

TEST_F(UserDefaultsSpaceTest, WhatCanOnlyBeReadIsRead)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    struct Row {
        const char* name;
        void (*leave)(const UserDefaultsSpaceTest&);
    };
    const Row rows[] {
        {"a store that was closed",
            [](const UserDefaultsSpaceTest& test) { test.folder.open()->setObject("list", bodies(1, 300)); }},
        {"a store whose process was killed",
            [](const UserDefaultsSpaceTest& test) { test.leaveByKill(bodies(1, 300)); }},
        {
            "a log without its index",
            [](const UserDefaultsSpaceTest& test) {
                test.leaveByKill(bodies(1, 300));
                fs::remove(test.folder.path() / "defaults.sqlite-shm");
            },
        },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const SmallDisk disk {folder.path()};
        row.leave(*this);
        disk.setWritable(false);
        SaidLines said;
        auto store = folder.open();
        expectKept(*store, bodies(1, 300));
        disk.setWritable(true);
        expectWritten();
        store.reset();
        expectSaidOnce(said.take(), "(Read-only file system)");
    }
}

} // namespace
} // namespace kova::tests
