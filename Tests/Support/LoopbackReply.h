// What the loopback server does with one request: which bytes it sends, when, and what becomes of the connection.
//
//     Reply::status(200, "body")                       a whole reply, the connection is kept
//     Reply::status(200).held(gate)                    nothing is sent before the gate lets it through
//     Reply::status(200, "slow").paced(gate)           every byte waits for the gate
//     Reply::raw("HTTP/1.1 200 OK\r\nContent-Le")      these bytes, then the connection is closed
//     Reply::close()  Reply::reset()  Reply::never()   no byte, then closed, reset (RST), or nothing ever
//     Reply::status(200).endless("x")                  and then these bytes again and again, until nobody takes them
//     Reply::status(200).before({late, "more", sent})  and then, once `late` lets it through, these bytes

#pragma once

#include "Tests/Support/Gate.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kova::tests {

struct Reply {
    enum class Then { keepConnection, close, reset, silence };

    /// What the server does unasked, between two requests.
    struct Afterthought {
        std::shared_ptr<Gate> heldBy;
        std::string bytes;
        /// Opened when the bytes are out.
        std::shared_ptr<Gate> sent;
    };

    std::string bytes {};
    Then then = Then::keepConnection;
    std::shared_ptr<Gate> heldBy {};
    std::shared_ptr<Gate> pacedBy {};
    std::string repeated {};
    std::optional<Afterthought> afterthought {};

    /// A complete reply, with a Content-Length.
    [[nodiscard]] static Reply status(
        int code, const std::string& body = {}, const std::vector<std::pair<std::string, std::string>>& headers = {})
    {
        auto bytes = "HTTP/1.1 " + std::to_string(code) + " Status\r\n";
        for (const auto& [name, value] : headers)
            bytes += name + ": " + value + "\r\n";
        return {bytes + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body};
    }
    [[nodiscard]] static Reply raw(std::string bytes, Then then = Then::close) { return {std::move(bytes), then}; }
    [[nodiscard]] static Reply close() { return {"", Then::close}; }
    [[nodiscard]] static Reply reset() { return {"", Then::reset}; }
    [[nodiscard]] static Reply never() { return {"", Then::silence}; }

    [[nodiscard]] Reply held(std::shared_ptr<Gate> gate) && { return with(heldBy, std::move(gate)); }
    [[nodiscard]] Reply paced(std::shared_ptr<Gate> gate) && { return with(pacedBy, std::move(gate)); }
    [[nodiscard]] Reply endless(std::string block) && { return with(repeated, std::move(block)); }
    [[nodiscard]] Reply before(Afterthought what) && { return with(afterthought, std::move(what)); }

private:
    template <typename Member, typename Value> Reply with(Member& member, Value value)
    {
        member = std::move(value);
        return std::move(*this);
    }
};

} // namespace kova::tests
