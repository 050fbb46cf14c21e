#include "Collector/CollectorServer.h"

#include "Collector/ClientConnection.h"
#include "Collector/StopEvent.h"
#include "Collector/Thumbnail.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iostream>
#include <string_view>

namespace kova::collector {

namespace {

constexpr std::size_t largestBody = 64 * 1024 * 1024;
/// A kept-alive connection holds its thread, and half of them are to be spare.
constexpr std::size_t threadCount = 64;
constexpr int listenBacklog = 128;

/// Lets the web server library read from and write to a connection.
class ConnectionStream final : public httplib::Stream {
public:
    explicit ConnectionStream(ClientConnection& connection)
        : m_connection(connection)
    {
    }

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* bytes, size_t capacity) override { return m_connection.read(bytes, capacity); }
    ssize_t write(const char* bytes, size_t size) override
    {
        m_connection.write({bytes, size});
        return static_cast<ssize_t>(size);
    }
    void get_remote_ip_and_port(std::string&, int&) const override { }
    void get_local_ip_and_port(std::string&, int&) const override { }
    socket_t socket() const override { return m_connection.socket(); }

private:
    ClientConnection& m_connection;
};

/// Makes the library leave body and reply as they are: it would take forms apart, inflate what is compressed and
/// compress the reply, and it waits for the end of the connection when a length is missing, which means "no body".
void keepLiteral(httplib::Request& request)
{
    for (const auto* field : {"Content-Type", "Content-Encoding", "Accept-Encoding"})
        request.headers.erase(field);
    request.ranges.clear();
    if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding"))
        request.set_header("Content-Length", "0");
}

/// The library reads the body of these methods, and leaves any other's where the next request would begin.
bool isBodyRead(const httplib::Request& request)
{
    constexpr std::array<std::string_view, 4> methods {"POST", "PUT", "PATCH", "DELETE"};
    return std::ranges::find(methods, request.method) != methods.end()
        || (request.get_header_value("Content-Length") == "0" && !request.has_header("Transfer-Encoding"));
}

/// What the library's hook, which is not told the connection, finds out about the request that its thread serves.
struct Findings {
    std::string body;
    /// The library could make nothing of the request, so nobody knows where the next one begins.
    bool isRefused = false;
    /// The reply says that a final one follows, and none does.
    bool isInterim = false;
};

thread_local Findings* findingsOfThisThread = nullptr;

void keepFindings(const httplib::Request& request, const httplib::Response& response)
{
    if (findingsOfThisThread == nullptr)
        return;
    findingsOfThisThread->body = request.body;
    // An error of the library's own has no body; an unknown path is the one that leaves the connection in order.
    findingsOfThisThread->isRefused = response.status >= 400 && response.status != 404 && response.body.empty();
    findingsOfThisThread->isInterim = response.status < 200;
}

} // namespace

class CollectorServer::Implementation final : private httplib::Server {
public:
    Implementation(const CollectorOptions& options, RequestLog* log)
        : m_options(options)
        , m_log(log)
    {
        set_tcp_nodelay(true);
        set_keep_alive_timeout(ClientConnection::idleTimeout.count());
        set_keep_alive_max_count(1'000'000);
        set_payload_max_length(largestBody);
        // The library's own choice lets two servers share a port without a word.
        set_socket_options([](socket_t socket) {
            const int on = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        });
        new_task_queue = [] { return new httplib::ThreadPool(threadCount); };
        set_post_routing_handler(keepFindings);
        const auto answerPost = [this](const httplib::Request&, httplib::Response& response) { answer(response); };
        // Of a path that is no longer escaped: a line break, which a dot does not match, may be in it.
        Post(R"(/v2/[\s\S]*)", answerPost);
        Post(R"(/v1/geotriggers/[\s\S]*)", answerPost);
        Get("/images/(.+)", [](const httplib::Request& request, httplib::Response& response) {
            response.set_content(thumbnail(request.matches[1].str()), "image/png");
        });
    }

    std::expected<std::uint16_t, std::error_code> bind();
    bool run() { return listen_after_bind() || m_stop.waitFor(std::chrono::milliseconds {0}); }
    void stop()
    {
        m_stop.trigger();
        // Wakes the thread that accepts, and keeps one that has yet to begin from waiting.
        ::shutdown(m_listener, SHUT_RDWR);
    }

private:
    bool process_and_close_socket(socket_t socket) override;
    void buildTables();
    /// Whether the connection may be used for another request.
    bool serve(ClientConnection& connection);
    bool record(ReceivedRequest request, std::string body);
    void answer(httplib::Response& response) const
    {
        response.status = m_options.status;
        if (m_options.status >= 200 && m_options.status != 204 && m_options.status != 304)
            response.set_content(R"({"ok":true})", "application/json");
    }

    CollectorOptions m_options;
    RequestLog* m_log;
    StopEvent m_stop;
    int m_listener = -1;
};

/// The library builds tables when its code first needs them, under guards inside its binary that thread sanitizer
/// cannot see. A request of our own, before there are threads, builds them where no report can come of it.
void CollectorServer::Implementation::buildTables()
{
    constexpr std::string_view request = "OPTIONS * HTTP/1.1\r\nRange: bytes=0-1\r\n\r\n";
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return;
    ClientConnection connection {ends[0], m_stop};
    ::send(ends[1], request.data(), request.size(), MSG_NOSIGNAL);
    close(ends[1]);
    ConnectionStream stream {connection};
    bool isToBeClosed = false;
    process_request(stream, true, isToBeClosed, [](httplib::Request& tables) { keepLiteral(tables); });
}

std::expected<std::uint16_t, std::error_code> CollectorServer::Implementation::bind()
{
    buildTables();
    errno = 0;
    const bool isBound
        = m_options.port == 0 ? bind_to_any_port("127.0.0.1") > 0 : bind_to_port("127.0.0.1", m_options.port);
    const auto failure = [] { return std::unexpected {std::error_code {errno, std::generic_category()}}; };
    m_listener = svr_sock_;
    if (!isBound || m_listener < 0)
        return failure();
    // The library listens with a backlog of five, and a burst of connections would be put off by a second.
    sockaddr_in address {};
    socklen_t size = sizeof address;
    if (::listen(m_listener, listenBacklog) != 0
        || getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        return failure();
    return ntohs(address.sin_port);
}

bool CollectorServer::Implementation::process_and_close_socket(socket_t socket)
{
    ClientConnection connection {socket, m_stop};
    while (connection.waitForRequest() && serve(connection)) { }
    return true;
}

bool CollectorServer::Implementation::serve(ClientConnection& connection)
{
    ConnectionStream stream {connection};
    Findings findings;
    bool isToBeClosed = false;
    bool isWhole = true;
    findingsOfThisThread = &findings;
    const bool isProcessed = process_request(stream, false, isToBeClosed, [&](httplib::Request& request) {
        connection.endHead();
        keepLiteral(request);
        isWhole = isBodyRead(request);
    });
    findingsOfThisThread = nullptr;
    if (connection.isCutShort())
        return false;

    auto request = ReceivedRequest::fromHead(connection.head());
    // Of a method that it does not know the library reads no more than the request line.
    if (request && connection.readRestOfHead())
        request = ReceivedRequest::fromHead(connection.head());
    if (request && !record(*std::move(request), std::move(findings.body))) {
        connection.abandon();
        return false;
    }
    if (m_options.delay > std::chrono::milliseconds {0} && m_stop.waitFor(m_options.delay))
        return false;
    switch (m_options.answering) {
    case Answering::drop:
        connection.abandon();
        return false;
    case Answering::reset:
        connection.reset();
        return false;
    case Answering::reply:
        break;
    }
    return connection.send() && isProcessed && !isToBeClosed && !findings.isRefused && !findings.isInterim && isWhole;
}

/// False when the request could not be logged: it is then not answered, so that no client takes it for received.
bool CollectorServer::Implementation::record(ReceivedRequest request, std::string body)
{
    if (m_log == nullptr)
        return true;
    request.body = std::move(body);
    const auto error = m_log->append(request);
    if (error)
        std::cerr << "kova-collector: a request was not logged: " + error.message() + "\n";
    return !error;
}

CollectorServer::CollectorServer(const CollectorOptions& options, RequestLog* log)
    : m_implementation(std::make_unique<Implementation>(options, log))
{
}

CollectorServer::~CollectorServer() = default;

std::expected<std::uint16_t, std::error_code> CollectorServer::bind()
{
    return m_implementation->bind();
}

bool CollectorServer::run()
{
    return m_implementation->run();
}

void CollectorServer::stop()
{
    m_implementation->stop();
}

} // namespace kova::collector
