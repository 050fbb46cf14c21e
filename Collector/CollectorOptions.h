// What the command line of kova-collector asks for.

#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kova::collector {

/// What becomes of a request once it is read and logged.
enum class Answering {
    reply,
    /// The connection is closed in good order.
    drop,
    /// The connection is reset.
    reset,
};

struct CollectorOptions {
    /// 0 lets the system choose.
    std::uint16_t port = 0;
    std::optional<std::string> logFile;
    int status = 200;
    std::chrono::milliseconds delay {0};
    Answering answering = Answering::reply;
    bool help = false;

    /// The error is a sentence for the user.
    [[nodiscard]] static std::expected<CollectorOptions, std::string> fromArguments(
        std::span<const char* const> arguments);
};

/// What --help prints.
[[nodiscard]] std::string_view helpText();

} // namespace kova::collector
