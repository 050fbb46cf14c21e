#include "Platform/Libraries/CurlRestingConnections.h"

#include "Platform/Libraries/IdleSocket.h"

#include <curl/curl.h>

#include <algorithm>
#include <utility>

namespace kova {

void CurlRestingConnections::watch(void* handle)
{
    curl_easy_setopt(handle, CURLOPT_CLOSESOCKETDATA, this);
    curl_easy_setopt(
        handle, CURLOPT_CLOSESOCKETFUNCTION, +[](void* self, curl_socket_t socket) noexcept {
            static_cast<CurlRestingConnections*>(self)->close(socket);
            return 0;
        });
}

bool CurlRestingConnections::take(const void* handle, Ends ends)
{
    // It may still be in another one's name, who is done with it and whose end curl has not told yet.
    const auto found = std::ranges::find(m_connections, ends, &Connection::ends);
    if (found == m_connections.end()) {
        m_connections.push_back({.ends = std::move(ends), .user = handle});
        return true;
    }
    found->user = handle;
    const auto socket = std::exchange(found->socket, -1);
    return socket < 0 || !isReadable(socket);
}

void CurlRestingConnections::rest(void* handle)
{
    const auto used = std::ranges::find(m_connections, handle, &Connection::user);
    if (used == m_connections.end())
        return;
    long version = CURL_HTTP_VERSION_NONE;
    curl_easy_getinfo(handle, CURLINFO_HTTP_VERSION, &version);
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(handle, CURLINFO_ACTIVESOCKET, &socket);
    if (socket == CURL_SOCKET_BAD || (version != CURL_HTTP_VERSION_1_0 && version != CURL_HTTP_VERSION_1_1))
        return;
    used->user = nullptr;
    used->socket = socket;
}

void CurlRestingConnections::leave(const void* handle)
{
    std::erase_if(m_connections, [handle](const Connection& connection) { return connection.user == handle; });
}

void CurlRestingConnections::endDisturbed()
{
    for (const auto& connection : m_connections) {
        if (connection.socket < 0 || !isReadable(connection.socket))
            continue;
        // With nothing left to read it looks closed to curl. What still comes makes it look alive, and take() refuse
        // it.
        endReading(connection.socket);
    }
}

void CurlRestingConnections::close(int socket)
{
    std::erase_if(m_connections, [socket](const Connection& connection) { return connection.socket == socket; });
    closeSocket(socket);
}

} // namespace kova
