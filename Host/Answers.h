// Where the host answers a script: one JSON object a line, written whole and at once.

#pragma once

#include "Platform/Foundation/Value.h"

#include <filesystem>
#include <optional>

namespace kova::host {

class Answers {
public:
    /// Answers go to the file, which is emptied first, or to standard error. Throws std::system_error when the file
    /// cannot be opened.
    explicit Answers(const std::optional<std::filesystem::path>& file);
    ~Answers();
    Answers(const Answers&) = delete;
    Answers& operator=(const Answers&) = delete;

    /// Throws std::system_error when the line cannot be written; not when the host ends while nobody reads it.
    void write(const Value::Dictionary& answer);

private:
    int m_descriptor;
};

} // namespace kova::host
