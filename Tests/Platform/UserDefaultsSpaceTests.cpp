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
using testing::Not;

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

/// What stands in the folder before.
enum class Leftover { Nothing, EmptyFile, ClosedStore, KilledStore, LogWithoutIndex };

void leave(const StoreFolder& folder, Leftover leftover)
{
    if (leftover == Leftover::EmptyFile)
        std::ofstream {folder.file()};
    if (leftover == Leftover::ClosedStore)
        folder.open()->setObject("list", bodies(1, 300));
    if (leftover < Leftover::KilledStore)
        return;
    // What a process leaves that is killed: the log, and its index, beside the file.
    const auto child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const auto store = folder.open();
        store->setObject("list", bodies(1, 300));
        kill(getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    if (leftover == Leftover::LogWithoutIndex)
        fs::remove(folder.path() / "defaults.sqlite-shm");
}

TEST(UserDefaultsSpaceTest, NothingIsLostWhereNothingCanBeWritten)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    enum class Trouble { Full, FullUnderWay, ReadOnly };
    const std::tuple<const char*, Leftover, Trouble> rows[] {
        {"full, without a store", Leftover::Nothing, Trouble::Full},
        {"full, over an empty file", Leftover::EmptyFile, Trouble::Full},
        {"full, over a store that was closed", Leftover::ClosedStore, Trouble::Full},
        {"full, over a store whose process was killed", Leftover::KilledStore, Trouble::Full},
        {"full, over a log without its index", Leftover::LogWithoutIndex, Trouble::Full},
        {"filled up under way", Leftover::Nothing, Trouble::FullUnderWay},
        {"read-only, a store that was closed", Leftover::ClosedStore, Trouble::ReadOnly},
        {"read-only, a store whose process was killed", Leftover::KilledStore, Trouble::ReadOnly},
        {"read-only, a log without its index", Leftover::LogWithoutIndex, Trouble::ReadOnly},
    };
    const StoreFolder folder;
    const Value text {std::string(100'000, 'x')};
    for (const auto& [name, leftover, trouble] : rows) {
        SCOPED_TRACE(name);
        const bool isReadOnly = trouble == Trouble::ReadOnly;
        const bool isUnderWay = trouble == Trouble::FullUnderWay;
        const bool isStored = isUnderWay || leftover >= Leftover::ClosedStore;
        const SmallDisk disk {folder.path()};
        leave(folder, leftover);
        std::unique_ptr<UserDefaultsSQLite> store;
        if (isUnderWay) {
            store = folder.open();
            store->setObject("list", bodies(1, 300));
            store->synchronize();
        }
        if (isReadOnly)
            disk.setWritable(false);
        else
            disk.fill();
        if (isReadOnly) {
            SaidLines said;
            EXPECT_EQ(UserDefaultsSQLite {{.folder = std::string {"/"}.append(folder.path().string())}}.object("list"),
                Value {bodies(1, 300)});
            EXPECT_THAT(said.take(), Not(HasSubstr("again"))) << "nothing has waited";
        }
        SaidLines said;
        if (!store)
            store = folder.open();

        // What is stored is there, and what is set reads back.
        EXPECT_EQ(store->object("list"), isStored ? std::optional<Value> {bodies(1, 300)} : std::nullopt);
        EXPECT_EQ(store->object("none"), std::nullopt);
        store->setObject("list", bodies(1, 301));
        store->setObject("text", text);
        store->synchronize();
        EXPECT_EQ(store->object("list"), Value {bodies(1, 301)});
        EXPECT_EQ(store->object("text"), text);
        if (isUnderWay) {
            EXPECT_EQ(folder.stored("text"), std::nullopt) << "another process still reads what was there";
        }

        if (isReadOnly)
            disk.setWritable(true);
        else
            disk.makeRoom();
        EXPECT_TRUE(comesTrue(
            [&] { return folder.stored("list") == Value {bodies(1, 301)} && folder.stored("text") == text; }));
        EXPECT_EQ(folder.integrity(), "ok");
        store.reset();
        const auto lines = said.take();
        EXPECT_EQ(lineCount(lines), 2) << lines;
        EXPECT_THAT(lines, HasSubstr(" cannot be written: "));
        EXPECT_THAT(lines, HasSubstr(isReadOnly ? "(Read-only file system)" : "(No space left on device)"));
        EXPECT_THAT(lines, HasSubstr(" can be written again"));
    }
}

} // namespace
} // namespace kova::tests
