// What every web-service client of the SDK derives from: it builds requests and classifies replies. It sends nothing
// itself.
//
// Threads: any; it has no state that changes.

#pragma once

#include "KovaSDK/Services/Networking/EndPointType.h"
#include "KovaSDK/Services/Networking/NetworkResponse.h"
#include "Platform/Foundation/URLRequest.h"
#include "Platform/Foundation/URLSession.h"

#include <memory>

namespace kova {

class NetworkManager {
public:
    /// Takes the process-wide HTTP session.
    NetworkManager();

    /// The request for an endpoint: its path appended to its base URL, header "Content-Type: application/json", no
    /// caching local or remote, 10 seconds for the whole exchange, and the endpoint's bytes as the body, whatever the
    /// method.
    [[nodiscard]] static URLRequest buildRequest(const EndPointType& endPoint);

    /// Classifies by status code: 200 to 299 success, 401 to 500 `authentication`, 501 to 599 `badRequest`, 600
    /// `outdated`, anything else, 400 included, `failed`. The mapping is lopsided on purpose.
    [[nodiscard]] static NetworkResponse handleNetworkResponse(const HTTPURLResponse& response);

private:
    std::shared_ptr<URLSession> m_session;
};

/// For managers that a host writes itself; nothing in the SDK adopts or calls it.
class NetworkManagerProtocol {
public:
    virtual ~NetworkManagerProtocol() = default;
    virtual void request(const EndPointType& endPoint) = 0;
};

} // namespace kova
