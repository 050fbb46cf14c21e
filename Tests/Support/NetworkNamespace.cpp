#include "Tests/Support/NetworkNamespace.h"

#include "Tests/Support/Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_tun.h>
#include <sys/ioctl.h>

#include <cstdlib>
#include <fstream>

namespace kova::tests {

namespace {

constexpr auto insideVariable = "KOVA_TEST_NETWORK_NAMESPACE";
constexpr auto unshare = "/usr/bin/unshare";

std::string whyNoNamespace()
{
    if (!std::filesystem::exists(unshare))
        return "the program unshare is missing";
    Process trial {
        {.executable = unshare, .arguments = {"--map-root-user", "--net", "--mount", "ip", "link", "set", "lo", "up"}}};
    const auto end = trial.wait();
    if (end == ProcessEnd {.exitStatus = 0})
        return {};
    return "network namespaces cannot be made here: " + trial.standardError();
}

} // namespace

bool NetworkNamespace::isInside()
{
    return std::getenv(insideVariable) != nullptr;
}

void NetworkNamespace::runThisTestInside()
{
    if (const auto reason = whyNoNamespace(); !reason.empty())
        GTEST_SKIP() << reason;
    const auto& test = *testing::UnitTest::GetInstance()->current_test_info();
    Process inside {{.executable = unshare,
        .arguments = {"--map-root-user", "--net", "--mount", "env", std::string {insideVariable} + "=1",
            std::filesystem::read_symlink("/proc/self/exe").string(),
            std::string {"--gtest_filter="} + test.test_suite_name() + "." + test.name()}}};
    const auto end = inside.wait(std::chrono::seconds {90});
    const auto output = inside.standardOutput();
    ASSERT_EQ(end, ProcessEnd {.exitStatus = 0}) << output << inside.standardError();
    ASSERT_NE(output.find("[==========] 1 test from"), std::string::npos) << output;
    if (output.find("[  SKIPPED ]") != std::string::npos)
        GTEST_SKIP() << output;
}

NetworkNamespace::NetworkNamespace()
{
    // The mount is this namespace's own, and goes with it.
    [[maybe_unused]] const int status
        = std::system(("mount -t sysfs sysfs " + m_folder.path().string() + " 2>/dev/null").c_str());
    run("ip link set lo up");
    run("ip link add eth0 type veth peer name peer0");
    run("ip address add 10.9.0.1/24 dev eth0");
}

void NetworkNamespace::connect() const
{
    run("ip link set eth0 up");
    run("ip link set peer0 up");
    run("ip route add default via 10.9.0.2");
}

void NetworkNamespace::run(const std::string& command) const
{
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

void NetworkNamespace::runBatch(const std::string& commands) const
{
    const TemporaryFolder folder;
    const auto file = folder.path() / "batch";
    std::ofstream {file} << commands;
    run("ip -batch " + file.string());
}

std::optional<FileDescriptor> NetworkNamespace::makeRawIPLink(const std::string& name) const
{
    const int descriptor = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
    if (descriptor < 0)
        return std::nullopt;
    FileDescriptor device {descriptor, "/dev/net/tun"};
    ifreq request {};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    if (ioctl(device.get(), TUNSETIFF, &request) != 0 || ioctl(device.get(), TUNSETLINK, ARPHRD_RAWIP) != 0)
        return std::nullopt;
    run("ip address add 10.8.0.1/24 dev " + name);
    return device;
}

} // namespace kova::tests
