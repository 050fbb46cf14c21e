#include "Tests/Collector/HTTPConnection.h"
#include "Tests/Support/Collector.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>

namespace kova::tests {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const ProcessEnd success {.exitStatus = 0};

Process::Options program(std::vector<std::string> arguments)
{
    return {.executable = Collector::executable(), .arguments = std::move(arguments)};
}

// A connection to a collector that has just been started.
HTTPConnection connectionTo(Process& process)
{
    const auto line = process.waitForOutputLine("listening on http://127.0.0.1:").value_or(":0");
    return HTTPConnection {static_cast<std::uint16_t>(std::stoi(line.substr(line.rfind(':') + 1)))};
}

TEST(CollectorCommandLineTest, AppendsToTheLogOfAnEarlierRun)
{
    const TemporaryFolder folder;
    const auto file = folder.path() / "log";
    std::ofstream {file} << "earlier\n";
    Process process {program({"--log", file.string()})};
    auto connection = connectionTo(process);
    connection.send(httpRequest("POST", "/v2/", "later"));
    ASSERT_TRUE(connection.receive());
    std::ifstream log {file};
    std::string first;
    std::string second;
    std::getline(log, first);
    std::getline(log, second);
    EXPECT_EQ(first, "earlier");
    EXPECT_THAT(second, HasSubstr("later"));
}

// A client must not be told that a request was received which the log does not have.
TEST(CollectorCommandLineTest, DoesNotAnswerWhatItCannotLog)
{
    Process process {program({"--log", "/dev/full"})};
    auto connection = connectionTo(process);
    connection.send(httpRequest("POST", "/v2/"));
    EXPECT_EQ(connection.waitForEnd(), HTTPConnection::End::closed);
    EXPECT_THAT(connection.rest(), IsEmpty());
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(), success);
    EXPECT_THAT(process.standardError(), HasSubstr("not logged"));
}

TEST(CollectorCommandLineTest, RefusesWhatItCannotDo)
{
    Collector other;
    const auto taken = std::to_string(other.port());
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string message;
    } rows[] = {
        {{"--log", "/nonexistent/folder/log"}, 2, "/nonexistent/folder/log"},
        {{"--log"}, 2, "--log"},
        {{"--port", "65536"}, 2, "65536"},
        {{"--port", "80x"}, 2, "80x"},
        {{"--status", "99"}, 2, "--status"},
        {{"--delay", "-5"}, 2, "--delay"},
        {{"--drop", "--reset"}, 2, "--reset"},
        {{"--verbose"}, 2, "--verbose"},
        {{"leftover"}, 2, "leftover"},
        {{"--port", taken}, 1, "Address already in use"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        Process process {program(row.arguments)};
        EXPECT_EQ(process.wait(), (ProcessEnd {.exitStatus = row.status}));
        EXPECT_THAT(process.standardError(), StartsWith("kova-collector: "));
        EXPECT_THAT(process.standardError(), HasSubstr(row.message));
        EXPECT_THAT(process.standardOutput(), IsEmpty());
    }
}

TEST(CollectorCommandLineTest, TakesThePortItIsGivenAgainAfterItsEnd)
{
    Collector first;
    const auto port = first.port();
    HTTPConnection connection {port};
    connection.send(httpRequest("POST", "/v2/"));
    ASSERT_TRUE(connection.receive());
    EXPECT_EQ(first.stop(), success);

    Collector second {{"--port", std::to_string(port)}};
    EXPECT_EQ(second.port(), port);
    EXPECT_EQ(second.url("/v2/"), "http://127.0.0.1:" + std::to_string(port) + "/v2/");
}

} // namespace
} // namespace kova::tests
