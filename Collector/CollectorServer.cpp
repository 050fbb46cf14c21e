#include "Collector/CollectorServer.h"

#include "Collector/Thumbnail.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

#include <charconv>
#include <chrono>
#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace kova::collector {

namespace {

namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace net = boost::asio;
using boost::system::error_code;
using boost::system::system_error;
using net::ip::tcp;
using Reply = http::response<http::string_body>;
using RequestParser = http::request_parser<http::string_body>;

constexpr std::size_t largestBody = 64 * 1024 * 1024;
/// No client of the SDK comes near; it bounds the memory that garbage without a line end can take.
constexpr std::uint32_t longestHead = 256 * 1024;
/// Bounds the bodies that are held at once; further clients wait in the listener's backlog.
constexpr int mostConnections = 64;
constexpr std::size_t receiveCapacity = 64 * 1024;
constexpr unsigned http11 = 11;

/// For a client that says nothing between requests, or stalls inside one.
constexpr std::chrono::seconds idleTimeout {60};
constexpr std::chrono::seconds lingerTimeout {1};
constexpr std::size_t lingerLimit = 2 * largestBody;
/// Before the next try to accept, when the system has no descriptor left.
constexpr std::chrono::milliseconds acceptPause {100};

/// The path of a request target without its percent escapes; an escape without two hexadecimal digits is kept.
std::string unescapedPath(std::string_view target)
{
    target = target.substr(0, target.find_first_of("?#"));
    std::string path;
    while (!target.empty()) {
        const auto* const digits = target.data() + 1;
        unsigned char byte = 0;
        const bool isEscape
            = target.size() > 2 && target[0] == '%' && std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
        path += isEscape ? static_cast<char>(byte) : target[0];
        target.remove_prefix(isEscape ? 3 : 1);
    }
    return path;
}

/// Parses up to the end of the head, or what has arrived of the body; returns how many bytes it took.
std::size_t parse(RequestParser& parser, net::const_buffer bytes, error_code& error)
try {
    const auto size = parser.put(bytes, error);
    if (error == http::error::need_more)
        error = {};
    return size;
} catch (const std::length_error&) {
    // Thrown for a field of more than 64 KiB.
    error = http::error::header_limit;
    return 0;
}

/// Throws system_error when nothing comes any more.
net::awaitable<void> receive(beast::tcp_stream& client, beast::flat_buffer& received, std::chrono::seconds timeout)
{
    client.expires_after(timeout);
    received.commit(co_await client.async_read_some(received.prepare(receiveCapacity), net::use_awaitable));
}

/// Throws system_error when the client does not take it.
net::awaitable<void> send(beast::tcp_stream& client, Reply reply)
{
    client.expires_after(idleTimeout);
    co_await http::async_write(client, reply, net::use_awaitable);
}

/// Takes a request's head, with the empty line at its end, off the front of what is received; empty when too long.
net::awaitable<std::string> receiveHead(beast::tcp_stream& client, beast::flat_buffer& received)
{
    constexpr std::string_view end = "\r\n\r\n";
    while (received.size() <= longestHead) {
        const std::string_view bytes {static_cast<const char*>(received.data().data()), received.size()};
        if (const auto begin = bytes.find(end); begin != std::string_view::npos) {
            std::string head {bytes.substr(0, begin + end.size())};
            received.consume(head.size());
            co_return head;
        }
        co_await receive(client, received, idleTimeout);
    }
    co_return std::string {};
}

/// Takes the body off the front of what is received, and leaves it in the parser. The error is the client's.
net::awaitable<error_code> receiveBody(
    beast::tcp_stream& client, beast::flat_buffer& received, RequestParser& parser, const std::string& head)
{
    error_code error;
    parse(parser, net::buffer(head), error);
    const auto& request = parser.get();
    // The library reads no body when it does not know the coding.
    if (!error && request.count(http::field::transfer_encoding) > 0 && !parser.chunked())
        error = http::error::bad_transfer_encoding;
    if (!error && beast::iequals(request[http::field::expect], "100-continue"))
        co_await send(client, Reply {http::status::continue_, http11});
    while (!error && !parser.is_done()) {
        const auto size = parse(parser, received.data(), error);
        received.consume(size);
        // The library bounds neither a chunk's head nor what follows the last one.
        if (size == 0 && !error && received.size() > longestHead)
            error = http::error::header_limit;
        if (size == 0 && !error)
            co_await receive(client, received, idleTimeout);
    }
    co_return error;
}

/// Reads on until the client closes: closing with unread bytes resets the connection, and the client could lose the
/// reply that is on its way.
net::awaitable<void> lingeringClose(beast::tcp_stream& client, beast::flat_buffer& received)
{
    client.socket().shutdown(tcp::socket::shutdown_send);
    for (std::size_t discarded = 0; discarded < lingerLimit; discarded += received.size()) {
        received.clear();
        co_await receive(client, received, lingerTimeout);
    }
}

} // namespace

class CollectorServer::Implementation {
public:
    Implementation(const CollectorOptions& options, RequestLog* log)
        : m_options(options)
        , m_log(log)
    {
        m_signals.async_wait([this](const error_code&, int) { m_context.stop(); });
    }

    std::expected<std::uint16_t, std::error_code> bind();
    void run();

private:
    /// Serves one connection after another.
    net::awaitable<void> acceptConnections();
    /// Serves a request; false when the connection is not to be used for another.
    net::awaitable<bool> serve(beast::tcp_stream& client, beast::flat_buffer& received);
    bool record(const ReceivedRequest& request);
    Reply answer(const ReceivedRequest& request) const;

    CollectorOptions m_options;
    RequestLog* m_log;
    net::io_context m_context;
    net::signal_set m_signals {m_context, SIGTERM, SIGINT};
    tcp::acceptor m_acceptor {m_context};
};

std::expected<std::uint16_t, std::error_code> CollectorServer::Implementation::bind()
{
    try {
        m_acceptor = tcp::acceptor {m_context, {net::ip::address_v4::loopback(), m_options.port}};
        return m_acceptor.local_endpoint().port();
    } catch (const system_error& error) {
        return std::unexpected {std::error_code {error.code()}};
    }
}

void CollectorServer::Implementation::run()
{
    for (int count = 0; count < mostConnections; ++count) {
        net::co_spawn(m_context, acceptConnections(), [](const std::exception_ptr& exception) {
            if (exception)
                std::rethrow_exception(exception);
        });
    }
    m_context.run();
}

net::awaitable<void> CollectorServer::Implementation::acceptConnections()
{
    while (true) {
        error_code error;
        auto socket = co_await m_acceptor.async_accept(net::redirect_error(net::use_awaitable, error));
        if (error) {
            net::steady_timer pause {m_context, acceptPause};
            co_await pause.async_wait(net::use_awaitable);
            continue;
        }
        try {
            socket.set_option(tcp::no_delay {true});
            beast::tcp_stream client {std::move(socket)};
            beast::flat_buffer received;
            while (co_await serve(client, received)) { }
            co_await lingeringClose(client, received);
        } catch (const std::exception&) {
            // The client has gone, said nothing for too long, or asked for more than there is memory.
            continue;
        }
    }
}

net::awaitable<bool> CollectorServer::Implementation::serve(beast::tcp_stream& client, beast::flat_buffer& received)
{
    const auto head = co_await receiveHead(client, received);
    if (head.empty())
        co_return false;
    RequestParser parser;
    parser.header_limit(longestHead);
    parser.body_limit(largestBody);
    const auto error = co_await receiveBody(client, received, parser, head);

    auto request = ReceivedRequest::fromHead(head);
    const bool isServed = request && !error;
    if (isServed)
        request->body = std::move(parser.get().body());
    if (request && !record(*request)) {
        client.close();
        co_return false;
    }
    if (m_options.delay > std::chrono::milliseconds {0}) {
        net::steady_timer delay {m_context, m_options.delay};
        co_await delay.async_wait(net::use_awaitable);
    }
    if (m_options.answering == Answering::reset)
        client.socket().set_option(tcp::socket::linger {true, 0});
    if (m_options.answering != Answering::reply) {
        client.close();
        co_return false;
    }

    const auto refusal = error == http::error::body_limit ? http::status::payload_too_large : http::status::bad_request;
    auto reply = isServed ? answer(*request) : Reply {refusal, http11};
    // After an error the next request may begin anywhere, and after 1xx a client waits for the final reply.
    const bool isKept = isServed && parser.keep_alive() && reply.result_int() >= 200;
    reply.keep_alive(isKept);
    reply.prepare_payload();
    if (isKept)
        reply.set(http::field::keep_alive, "timeout=" + std::to_string(idleTimeout.count()));
    if (isServed && request->method == "HEAD")
        reply.body().clear();
    co_await send(client, std::move(reply));
    co_return isKept;
}

/// False when the request could not be logged: it is then not answered, so that no client takes it for received.
bool CollectorServer::Implementation::record(const ReceivedRequest& request)
{
    if (m_log == nullptr)
        return true;
    const auto error = m_log->append(request);
    if (error)
        std::cerr << "kova-collector: a request was not logged: " + error.message() + "\n";
    return !error;
}

Reply CollectorServer::Implementation::answer(const ReceivedRequest& request) const
{
    constexpr std::string_view images = "/images/";
    const auto path = unescapedPath(request.path);
    Reply reply {http::status::not_found, http11};
    if (request.method == "POST" && (path.starts_with("/v2/") || path.starts_with("/v1/geotriggers/"))) {
        reply.result(static_cast<unsigned>(m_options.status));
        if (m_options.status >= 200 && m_options.status != 204 && m_options.status != 304) {
            reply.set(http::field::content_type, "application/json");
            reply.body() = R"({"ok":true})";
        }
    } else if ((request.method == "GET" || request.method == "HEAD") && path.starts_with(images) && path != images) {
        reply.result(http::status::ok);
        reply.set(http::field::content_type, "image/png");
        reply.body() = thumbnail(path.substr(images.size()));
    }
    return reply;
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

void CollectorServer::run()
{
    m_implementation->run();
}

} // namespace kova::collector
