// The store on a file system that copies on write and is full: writing into mapped memory needs room there.

#include "Tests/Support/Process.h"
#include "Tests/Support/StoreFolder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace kova::tests {
namespace {

namespace fs = std::filesystem;

// A small btrfs in a file, mounted while this lives.
class CopyOnWriteDisk {
public:
    CopyOnWriteDisk()
    {
        std::ofstream {m_temporary.path() / "image"};
        fs::resize_file(m_temporary.path() / "image", 120UL * 1'024 * 1'024);
        fs::create_directory(folder());
        m_isMounted = run({"mkfs.btrfs", "--quiet", (m_temporary.path() / "image").string()})
            && run({"mount", "-o", "loop", (m_temporary.path() / "image").string(), folder().string()});
    }
    ~CopyOnWriteDisk()
    {
        if (m_isMounted)
            run({"umount", "--lazy", folder().string()});
    }
    CopyOnWriteDisk(const CopyOnWriteDisk&) = delete;
    CopyOnWriteDisk& operator=(const CopyOnWriteDisk&) = delete;

    [[nodiscard]] bool isMounted() const { return m_isMounted; }
    [[nodiscard]] fs::path folder() const { return m_temporary.path() / "disk"; }

    void fill() const
    {
        for (const std::size_t size : {1'048'576UL, 4'096UL}) {
            std::ofstream filling {folder() / ("filling-" + std::to_string(size)), std::ios::binary};
            // Bytes that cannot be compressed.
            std::string piece(size, '\0');
            for (auto& byte : piece)
                byte = static_cast<char>(std::rand());
            while (filling.write(piece.data(), static_cast<std::streamsize>(piece.size())).flush()) { }
        }
        ::sync();
    }
    void makeRoom() const
    {
        fs::remove(folder() / "filling-1048576");
        fs::remove(folder() / "filling-4096");
        ::sync();
    }

private:
    static bool run(std::vector<std::string> command)
    {
        Process process {{.executable = "/usr/bin/env", .arguments = std::move(command)}};
        return process.wait() == ProcessEnd {.exitStatus = 0};
    }

    TemporaryFolder m_temporary;
    bool m_isMounted = false;
};

// The index of SQLite's log is mapped; on a full disk the first write into it once ended the process with SIGBUS.
TEST(UserDefaultsCopyOnWriteTest, SurvivesFullDisk)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can mount a file system";
    const CopyOnWriteDisk disk;
    if (!disk.isMounted())
        GTEST_SKIP() << "no btrfs can be made and mounted here";
    const SaidLines said;
    const auto folder = disk.folder() / "store";
    auto store = std::make_unique<UserDefaultsSQLite>(UserDefaultsSQLite::Options {.folder = folder});
    for (int number = 1; number <= 300; ++number)
        append(*store, "list", number);
    store->synchronize();
    disk.fill();
    for (int number = 301; number <= 700; ++number) {
        append(*store, "list", number);
        if (number % 100 == 0)
            store->synchronize();
    }
    EXPECT_EQ(store->object("list"), Value {bodies(1, 700)});
    disk.makeRoom();
    EXPECT_TRUE(comesTrue([&] {
        store->synchronize();
        return UserDefaultsSQLite {{.folder = folder}}.object("list") == Value {bodies(1, 700)};
    }));
    EXPECT_EQ(store->close(), 0U);
}

} // namespace
} // namespace kova::tests
