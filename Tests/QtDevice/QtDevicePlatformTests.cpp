// The platform object on Qt: the event loop, the folders and the resources.

#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Platform/QtDevice/BundleQt.h"
#include "Platform/QtDevice/QtDevicePlatform.h"
#include "Tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace kova::tests {
namespace {

namespace fs = std::filesystem;

// Returns false when the bound came first.
bool runEventLoopUntilQuit()
{
    constexpr int expired = 1;
    QTimer::singleShot(std::chrono::seconds {10}, qApp, [] { QCoreApplication::exit(expired); });
    return QCoreApplication::exec() != expired;
}

TEST(QtDevicePlatformTest, EventLoopRunsMainQueue)
{
    const TemporaryFolder folder;
    const QtDevicePlatform platform {
        {.bundleIdentifier = "queue.test", .dataFolder = folder.path(), .mainLoop = MainLoop::Host}};
    std::vector<int> order;
    std::thread submitter {[&order] {
        for (int number = 0; number < 3; ++number) {
            DispatchQueue::main().async([&order, number] {
                EXPECT_EQ(QThread::currentThread(), qApp->thread());
                order.push_back(number);
            });
        }
        DispatchQueue::main().async([] { QCoreApplication::quit(); });
    }};
    EXPECT_TRUE(runEventLoopUntilQuit());
    submitter.join();
    EXPECT_THAT(order, testing::ElementsAre(0, 1, 2));
}

TEST(QtDevicePlatformTest, StoresInTheUsersDataFolder)
{
    const TemporaryFolder folder;
    ::setenv("XDG_DATA_HOME", folder.path().c_str(), 1);
    {
        const QtDevicePlatform platform {{.bundleIdentifier = "folder.test", .mainLoop = MainLoop::Host}};
        UserDefaults::standard()->setObject("key", Value {"value"});
    }
    ::unsetenv("XDG_DATA_HOME");
    const auto name = QCoreApplication::applicationName().toStdString();
    EXPECT_TRUE(fs::exists(folder.path() / name / "folder.test" / "defaults.sqlite"));
}

std::string contents(const std::optional<fs::path>& file)
{
    std::ifstream stream {file.value_or("")};
    return {std::istreambuf_iterator<char> {stream}, {}};
}

TEST(BundleQtTest, FindsFilesInTheFolderBeforeResources)
{
    const TemporaryFolder folder;
    fs::path copy;
    {
        const BundleQt bundle {"bundle.test", folder.path()};
        EXPECT_EQ(bundle.path("Missing", "plist"), std::nullopt);
        const auto resource = bundle.path("Kova", "plist");
        EXPECT_THAT(contents(resource), testing::HasSubstr("KovaAudienceID"));
        EXPECT_EQ(bundle.path("Kova", "plist"), resource);
        copy = resource.value_or("");
        std::ofstream {folder.path() / "Kova.plist"} << "in the folder";
        EXPECT_EQ(contents(bundle.path("Kova", "plist")), "in the folder");
    }
    EXPECT_FALSE(fs::exists(copy)) << "the copy outlives its bundle";
}

} // namespace
} // namespace kova::tests
