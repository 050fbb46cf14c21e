#include "KovaSDK/Services/Networking/NetworkManager.h"

#include <gtest/gtest.h>

namespace kova {
namespace {

TEST(NetworkManagerTest, ClassifiesRepliesByStatusCode)
{
    const std::pair<int, const char*> rows[] {
        {200, "success"},
        {204, "success"},
        {299, "success"},
        {300, "failure(failed)"},
        {400, "failure(failed)"},
        {401, "failure(authentication)"},
        {404, "failure(authentication)"},
        {500, "failure(authentication)"},
        {501, "failure(badRequest)"},
        {599, "failure(badRequest)"},
        {600, "failure(outdated)"},
        {601, "failure(failed)"},
        {199, "failure(failed)"},
        {0, "failure(failed)"},
        {-200, "failure(failed)"},
    };
    for (const auto& [status, expected] : rows) {
        const HTTPURLResponse response {.url = *URL::create("http://a/"), .statusCode = status};
        EXPECT_EQ(description(NetworkManager::handleNetworkResponse(response)), expected) << status;
    }
}

TEST(NetworkManagerTest, BuildsRequestsOfOneShapeForEveryMethod)
{
    const std::pair<HTTPMethod, const char*> rows[] {{HTTPMethod::get, "GET"}, {HTTPMethod::post, "POST"},
        {HTTPMethod::put, "PUT"}, {HTTPMethod::patch, "PATCH"}, {HTTPMethod::delete_, "DELETE"}};
    for (const auto& [method, name] : rows) {
        const EndPointType endPoint {.baseURL = *URL::create("https://a.example/v2/"),
            .path = "b c",
            .httpMethod = method,
            .parameters = Data {std::string {"{}"}}};
        const auto request = NetworkManager::buildRequest(endPoint);
        EXPECT_EQ(request.url.absoluteString(), "https://a.example/v2/b%20c");
        EXPECT_EQ(static_cast<int>(request.cachePolicy), 4);
        EXPECT_EQ(request.timeoutInterval, std::chrono::seconds {10});
        EXPECT_EQ(request.httpMethod, name);
        EXPECT_EQ(request.allHTTPHeaderFields, (HTTPHeaderFields {{"Content-Type", "application/json"}}));
        ASSERT_TRUE(request.httpBody);
        EXPECT_EQ(request.httpBody->text(), "{}");
    }
}

TEST(NetworkErrorTest, HasATextForEveryCase)
{
    const std::pair<NetworkError, const char*> rows[] {
        {NetworkError::noConnection, "No connection"},
        {NetworkError::failed, "Request failed"},
        {NetworkError::authentication, "Authentication failed"},
        {NetworkError::badRequest, "Bad request"},
        {NetworkError::outdated, "Outdated request"},
        {NetworkError::noData, "No data"},
        {NetworkError::noResponse, "No response"},
        {NetworkError::unableToDecode, "Unable to decode data"},
        {NetworkError::unableToEncode, "Unable to encode parameters"},
        {NetworkError::noUrl, "Missing URL"},
    };
    for (const auto& [error, text] : rows) {
        EXPECT_EQ(errorDescription(error), text);
        EXPECT_EQ(make_error_code(error).message(), text);
        EXPECT_TRUE(make_error_code(error));
    }
}

} // namespace
} // namespace kova
