#include "KovaSDK/Services/Networking/NetworkManager.h"

namespace kova {

NetworkManager::NetworkManager()
    : m_session(URLSession::shared())
{
}

URLRequest NetworkManager::buildRequest(const EndPointType& endPoint)
{
    URLRequest request {
        .url = endPoint.baseURL.appendingPathComponent(endPoint.path),
        .cachePolicy = CachePolicy::reloadIgnoringLocalAndRemoteCacheData,
        .timeoutInterval = std::chrono::seconds {10},
    };
    request.addValue("application/json", "Content-Type");
    request.httpMethod = rawValue(endPoint.httpMethod);
    request.httpBody = endPoint.parameters;
    return request;
}

NetworkResponse NetworkManager::handleNetworkResponse(const HTTPURLResponse& response)
{
    const auto isWithin = [code = response.statusCode](int first, int last) { return code >= first && code <= last; };
    if (isWithin(200, 299))
        return NetworkResponse::success();
    if (isWithin(401, 500))
        return NetworkResponse::failure(NetworkError::authentication);
    if (isWithin(501, 599))
        return NetworkResponse::failure(NetworkError::badRequest);
    if (isWithin(600, 600))
        return NetworkResponse::failure(NetworkError::outdated);
    return NetworkResponse::failure(NetworkError::failed);
}

} // namespace kova
