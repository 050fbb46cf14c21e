#include "Tests/Collector/HTTPConnection.h"
#include "Tests/Support/Collector.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

namespace kova::tests {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
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

TEST(CollectorTest, LogsWhatWasSentAndAnswers)
{
    Collector collector;
    HTTPConnection connection {collector.port()};
    connection.send("POST /v2/events%20all?q=%41 HTTP/1.1\r\nHost: localhost\r\nX-Key: 100%25 %41\r\nX-Empty:\r\n"
                    "Accept-Encoding: gzip\r\nX-Twice: one\r\nx-twice:  two \r\nContent-Length: 12\r\n"
                    "Connection: close\r\n"
                    "Content-Type: application/x-www-form-urlencoded\r\n\r\n{\"a\":\"\xC3\xA4/\"}\n");
    const auto reply = connection.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->body, R"({"ok":true})");
    EXPECT_THAT(reply->head, HasSubstr("Content-Type: application/json\r\n"));

    // Without waiting: the line is complete before the reply is sent.
    const auto requests = collector.requests();
    ASSERT_THAT(requests, SizeIs(1));
    const auto& request = requests.front();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/v2/events%20all?q=%41");
    EXPECT_EQ(request.body, "{\"a\":\"\xC3\xA4/\"}\n");
    EXPECT_EQ(request.line.find("bodyBase64"), nullptr);
    const Value::Dictionary headers {{"Host", "localhost"}, {"X-Key", "100%25 %41"}, {"X-Empty", ""},
        {"Accept-Encoding", "gzip"}, {"X-Twice", "one, two"}, {"Content-Length", "12"}, {"Connection", "close"},
        {"Content-Type", "application/x-www-form-urlencoded"}};
    EXPECT_EQ(Value {request.headers}, Value {headers});
    EXPECT_EQ(connection.waitForEnd(), HTTPConnection::End::closed);
    EXPECT_EQ(collector.stop(), success) << collector.process().standardError();
}

// How a body arrives on the wire, and what the log must make of it.
TEST(CollectorTest, LogsBodiesOfAnyShape)
{
    const std::string large(1'000'000, 'x');
    const struct {
        const char* name;
        std::string request;
        std::string body;
        std::optional<std::string> base64;
    } rows[] = {
        {"no length", "POST /v2/ HTTP/1.1\r\n\r\n", "", {}},
        {"chunked", "POST /v2/ HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2;x=y\r\nde\r\n0\r\n\r\n",
            "abcde", {}},
        {"not UTF-8, two bytes short of a group", httpRequest("POST", "/v2/", "\xFF"), "\xEF\xBF\xBD", "/w=="},
        {"not UTF-8, one byte short", httpRequest("POST", "/v2/", "a\xFE"), "a\xEF\xBF\xBD", "Yf4="},
        {"not UTF-8, whole groups", httpRequest("POST", "/v2/", "a\xFE\n"), "a\xEF\xBF\xBD\n", "Yf4K"},
        {"line ends, quotes and a NUL", httpRequest("POST", "/v2/", "\"\\\r\n\0"s), "\"\\\r\n\0"s, {}},
        {"compressed, kept as it came", "POST /v2/ HTTP/1.1\r\nContent-Encoding: gzip\r\nContent-Length: 3\r\n\r\nabc",
            "abc", {}},
        {"multipart, not taken apart",
            "POST /v2/ HTTP/1.1\r\nContent-Type: multipart/form-data; boundary=b\r\nContent-Length: 3\r\n\r\n--b",
            "--b", {}},
        {"large", httpRequest("POST", "/v2/", large), large, {}},
    };
    Collector collector;
    HTTPConnection connection {collector.port()};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        connection.send(row.request);
        ASSERT_TRUE(connection.receive());
        const auto requests = collector.requests();
        ASSERT_THAT(requests, SizeIs(&row - rows + 1));
        EXPECT_EQ(requests.back().body, row.body);
        const auto* base64 = requests.back().line.find<std::string>("bodyBase64");
        EXPECT_EQ(base64 != nullptr ? std::optional {*base64} : std::nullopt, row.base64);
    }
}

// A request that is answered with an error is logged as far as it can be read.
TEST(CollectorTest, LogsRequestsThatItDoesNotServe)
{
    const auto post = [](const std::string& fields, const std::string& rest) {
        return "POST /v2/ HTTP/1.1\r\n" + fields + "\r\n" + rest;
    };
    const struct {
        const char* name;
        std::string request;
        int status;
        std::string method;
        std::string path;
        std::string body;
        std::size_t headerCount;
    } rows[] = {
        {"another method", httpRequest("PROPFIND", "/v2/", "abc"), 404, "PROPFIND", "/v2/", "abc", 2},
        {"a body that goes unused", httpRequest("GET", "/other", "abc"), 404, "GET", "/other", "abc", 2},
        {"a blank in the path", httpRequest("POST", "/v2/a b"), 400, "POST", "/v2/a b", "", 2},
        {"a blank before the colon", post("A : b\r\nC: d\r\n", ""), 400, "POST", "/v2/", "", 2},
        {"a field too long for the parser", post("A: " + std::string(100'000, 'x') + "\r\n", ""), 400, "POST", "/v2/",
            "", 1},
        {"a length that is no number", post("Content-Length: 3x\r\n", "abc"), 400, "POST", "/v2/", "", 1},
        {"two lengths", post("Content-Length: 3\r\nContent-Length: 4\r\n", "abc"), 400, "POST", "/v2/", "", 1},
        {"a coding that is not known", post("Transfer-Encoding: gzip\r\n", "abc"), 400, "POST", "/v2/", "", 1},
        {"a chunk without its line end", post("Transfer-Encoding: chunked\r\n", "3\r\nabc0\r\n\r\n"), 400, "POST",
            "/v2/", "", 1},
        {"a body that is too large", post("Content-Length: 67108865\r\n", "abc"), 413, "POST", "/v2/", "", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Collector collector;
        HTTPConnection connection {collector.port()};
        connection.send(row.request + httpRequest("GET", "/next"));
        const auto reply = connection.receive();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->status, row.status);
        // After a request that cannot be read the next one may begin anywhere.
        const bool isReadable = row.status == 404;
        if (isReadable)
            EXPECT_TRUE(connection.receive());
        else
            EXPECT_EQ(connection.waitForEnd(), HTTPConnection::End::closed);
        EXPECT_THAT(connection.rest(), IsEmpty());
        const auto requests = collector.requests();
        ASSERT_THAT(requests, SizeIs(isReadable ? 2 : 1));
        EXPECT_EQ(requests[0].method, row.method);
        EXPECT_EQ(requests[0].path, row.path);
        EXPECT_EQ(requests[0].body, row.body);
        EXPECT_THAT(requests[0].headers, SizeIs(row.headerCount));
    }
}

TEST(CollectorTest, DoesNotLogGarbage)
{
    for (const std::string bytes : {"hello\r\n\r\n", "GET /images/a HTTP/2.0\r\n\r\n", "\r\nGET / HTTP/1.1\r\n\r\n"}) {
        SCOPED_TRACE(bytes);
        Collector collector;
        HTTPConnection connection {collector.port()};
        connection.send(bytes);
        const auto reply = connection.receive();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->status, 400);
        EXPECT_EQ(connection.waitForEnd(), HTTPConnection::End::closed);
        EXPECT_THAT(collector.requests(), IsEmpty());
    }
}

TEST(CollectorTest, BoundsHeadsAndBodies)
{
    Collector collector;
    // A head without an end.
    HTTPConnection endless {collector.port()};
    endless.send("POST /v2/" + std::string(512 * 1024, 'x'));
    EXPECT_NE(endless.waitForEnd(), HTTPConnection::End::silent);
    EXPECT_THAT(endless.rest(), IsEmpty());
    // All of the body is taken, as a client that is reset in the middle of it may not read the reply.
    HTTPConnection large {collector.port()};
    EXPECT_TRUE(large.send(httpRequest("POST", "/v2/", std::string(64 * 1024 * 1024 + 1, 'x'))));
    const auto reply = large.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 413);
    EXPECT_THAT(collector.requests(), SizeIs(1));
}

TEST(CollectorTest, SendsContinueWhenExpected)
{
    Collector collector;
    HTTPConnection connection {collector.port()};
    connection.send("POST /v2/ HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 3\r\n\r\n");
    auto reply = connection.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->head, "HTTP/1.1 100 Continue\r\n\r\n");
    connection.send("abc");
    reply = connection.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(collector.requests().at(0).body, "abc");
}

TEST(CollectorTest, KeepsConnectionsAlive)
{
    const struct {
        const char* name;
        std::string request;
        bool isKept;
    } rows[] = {
        {"1.1", "HEAD /images/a HTTP/1.1\r\n\r\n", true},
        {"1.1, closed", "HEAD /images/a HTTP/1.1\r\nConnection: Close\r\n\r\n", false},
        {"1.0", "HEAD /images/a HTTP/1.0\r\n\r\n", false},
        {"1.0, kept", "HEAD /images/a HTTP/1.0\r\nConnection: keep-alive\r\n\r\n", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Collector collector;
        HTTPConnection connection {collector.port()};
        connection.send(row.request + "GET / HTTP/1.0\r\n\r\n");
        EXPECT_EQ(connection.waitForEnd(), HTTPConnection::End::closed);
        // The image itself is not sent, but its length.
        const auto second = connection.rest().find("\r\n\r\nHTTP/1.1 404 ");
        EXPECT_EQ(second != std::string::npos, row.isKept);
        EXPECT_THAT(connection.rest(), HasSubstr("Content-Length: 12420\r\n"));
        EXPECT_THAT(connection.rest(), testing::EndsWith("\r\n\r\n"));
        EXPECT_THAT(collector.requests(), SizeIs(row.isKept ? 2 : 1));
    }
}

TEST(CollectorTest, AnswersPostsWithTheStatusAskedFor)
{
    for (const int status : {200, 204, 304, 413, 103}) {
        SCOPED_TRACE(status);
        Collector collector {{"--status", std::to_string(status)}};
        HTTPConnection connection {collector.port()};
        connection.send(httpRequest("POST", "/v1/geotriggers/a/b%0A", "{}"));
        const auto reply = connection.receive();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->status, status);
        EXPECT_EQ(reply->body, status == 200 || status == 413 ? R"({"ok":true})" : "");
        if (status == 103) {
            // A client would wait for the final reply.
            EXPECT_EQ(connection.waitForEnd(), HTTPConnection::End::closed);
            EXPECT_THAT(connection.rest(), IsEmpty());
            continue;
        }
        // Bytes of a body that must not be there would stand before this.
        connection.send(httpRequest("POST", "/v2", "") + httpRequest("GET", "/v2/events"));
        for (int count = 0; count < 2; ++count) {
            const auto next = connection.receive();
            ASSERT_TRUE(next);
            EXPECT_EQ(next->status, 404);
        }
        EXPECT_THAT(collector.requests(), SizeIs(3));
    }
}

TEST(CollectorTest, EndsConnectionsUnansweredWhenAsked)
{
    const struct {
        const char* option;
        HTTPConnection::End end;
    } rows[] = {{"--drop", HTTPConnection::End::closed}, {"--reset", HTTPConnection::End::reset}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.option);
        Collector collector {{row.option}};
        for (const auto& request : {httpRequest("POST", "/v2/", "abc"), httpRequest("GET", "/images/a")}) {
            HTTPConnection connection {collector.port()};
            connection.send(request);
            EXPECT_EQ(connection.waitForEnd(), row.end);
            EXPECT_THAT(connection.rest(), IsEmpty());
        }
        EXPECT_EQ(collector.requests().at(0).body, "abc");
        EXPECT_EQ(collector.requests().at(1).path, "/images/a");
    }
}

TEST(CollectorTest, WaitsBeforeItAnswersButNotBeforeItEnds)
{
    {
        constexpr std::chrono::milliseconds delay {150};
        Collector collector {{"--delay=" + std::to_string(delay.count())}};
        HTTPConnection connection {collector.port()};
        const auto begin = std::chrono::steady_clock::now();
        connection.send(httpRequest("POST", "/v2/"));
        EXPECT_TRUE(connection.receive());
        EXPECT_GE(std::chrono::steady_clock::now() - begin, delay);
    }
    for (const int signal : {SIGTERM, SIGINT}) {
        Collector collector {{"--delay", "86400000"}};
        HTTPConnection delayed {collector.port()};
        HTTPConnection idle {collector.port()};
        HTTPConnection unfinished {collector.port()};
        delayed.send(httpRequest("POST", "/v2/"));
        unfinished.send("POST /v2/ HTT");
        EXPECT_THAT(collector.waitForRequests(1), SizeIs(1));
        collector.process().signal(signal);
        EXPECT_EQ(collector.process().wait(std::chrono::seconds {15}), success);
        for (auto* connection : {&delayed, &idle, &unfinished}) {
            EXPECT_NE(connection->waitForEnd(), HTTPConnection::End::silent);
            EXPECT_THAT(connection->rest(), IsEmpty());
        }
        EXPECT_THAT(collector.process().standardError(), IsEmpty());
    }
}

TEST(CollectorTest, ServesThumbnailsThatOthersCanDecode)
{
    // The whole file from its first byte to its last, and that all its pixels are one colour, which is printed.
    constexpr auto decode = R"(
import struct, sys, zlib
def chunk(kind, content):
    return struct.pack('>I', len(content)) + kind + content + struct.pack('>I', zlib.crc32(kind + content))
file = open(sys.argv[1], 'rb').read()
data = file[41:-16]
header = struct.pack('>IIBBBBB', 64, 64, 8, 2, 0, 0, 0)
assert file == b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', header) + chunk(b'IDAT', data) + chunk(b'IEND', b'')
rows = zlib.decompress(data)
assert rows == (b'\0' + rows[1:4] * 64) * 64
print(rows[1:4].hex())
)";
    Collector collector {{"--status", "503"}};
    HTTPConnection connection {collector.port()};
    const TemporaryFolder folder;
    std::set<std::string> colours;
    for (const auto* name : {"one", "two", "three%20and%20more", "folder/four", "on%65"}) {
        SCOPED_TRACE(name);
        connection.send(httpRequest("GET", std::string {"/images/"} + name));
        const auto reply = connection.receive();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->status, 200);
        EXPECT_THAT(reply->head, HasSubstr("Content-Type: image/png\r\n"));
        const auto file = folder.path() / "thumbnail";
        std::ofstream {file, std::ios::binary} << reply->body;
        Process python {{.executable = "/usr/bin/python3", .arguments = {"-c", decode, file.string()}}};
        EXPECT_EQ(python.wait(), success) << python.standardError();
        colours.insert(python.standardOutput());
    }
    EXPECT_THAT(colours, SizeIs(4));
    connection.send(httpRequest("GET", "/images/"));
    const auto reply = connection.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 404);
}

TEST(CollectorTest, LogsConcurrentPostsWhole)
{
    constexpr int clientCount = 32;
    constexpr int requestCount = 10;
    Collector collector;
    const std::string filling(4'000, 'x');
    // All connections are open, and half a request is under way on each, before any is finished.
    std::vector<std::unique_ptr<HTTPConnection>> connections;
    for (int client = 0; client < clientCount; ++client) {
        connections.push_back(std::make_unique<HTTPConnection>(collector.port()));
        connections.back()->send("POST /v2/ HT");
    }
    std::atomic answered = 0;
    {
        std::vector<std::jthread> clients;
        for (int client = 0; client < clientCount; ++client) {
            clients.emplace_back([&, client] {
                for (int number = 0; number < requestCount; ++number) {
                    const auto body = std::to_string(client) + " " + std::to_string(number) + filling;
                    auto request = httpRequest("POST", "/v2/", body);
                    if (number == 0)
                        request.erase(0, std::string_view {"POST /v2/ HT"}.size());
                    connections[client]->send(request);
                    if (connections[client]->receive())
                        ++answered;
                }
            });
        }
    }
    EXPECT_EQ(answered, clientCount * requestCount);
    std::vector<int> next(clientCount);
    for (const auto& request : collector.requests()) {
        const auto client = std::stoi(request.body);
        EXPECT_EQ(request.body, std::to_string(client) + " " + std::to_string(next.at(client)++) + filling);
    }
    EXPECT_EQ(next, std::vector<int>(clientCount, requestCount));
    EXPECT_EQ(collector.stop(), success) << collector.process().standardError();
}

TEST(CollectorTest, AppendsToTheLogOfAnEarlierRun)
{
    const TemporaryFolder folder;
    const auto file = folder.path() / "log";
    std::ofstream {file} << "earlier\n";
    Process process {program({"--log", file.string()})};
    auto connection = connectionTo(process);
    connection.send(httpRequest("POST", "/v2/", "later"));
    ASSERT_TRUE(connection.receive());
    const auto log = (std::ostringstream {} << std::ifstream {file}.rdbuf()).str();
    EXPECT_THAT(log, testing::AllOf(StartsWith("earlier\n{"), HasSubstr("later")));
}

// A client must not be told that a request was received which the log does not have.
TEST(CollectorTest, DoesNotAnswerWhatItCannotLog)
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

TEST(CollectorTest, RefusesWhatItCannotDo)
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
        {{"--drop=now"}, 2, "--drop takes no value"},
        {{"--status=99"}, 2, "--status takes"},
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

} // namespace
} // namespace kova::tests
