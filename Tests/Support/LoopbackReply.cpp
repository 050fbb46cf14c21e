#include "Tests/Support/LoopbackReply.h"

namespace kova::tests {

Reply Reply::status(int code, std::string body, std::vector<std::pair<std::string, std::string>> headers)
{
    auto bytes = "HTTP/1.1 " + std::to_string(code) + " Status\r\n";
    for (const auto& [name, value] : headers)
        bytes += name + ": " + value + "\r\n";
    bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    return {std::move(bytes)};
}

Reply Reply::held(std::shared_ptr<Gate> gate) &&
{
    heldBy = std::move(gate);
    return std::move(*this);
}

Reply Reply::paced(std::shared_ptr<Gate> gate) &&
{
    pacedBy = std::move(gate);
    return std::move(*this);
}

Reply Reply::endless(std::string block) &&
{
    repeated = std::move(block);
    return std::move(*this);
}

Reply Reply::before(Afterthought what) &&
{
    afterthought = std::move(what);
    return std::move(*this);
}

} // namespace kova::tests
