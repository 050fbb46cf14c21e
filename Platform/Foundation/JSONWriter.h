// Writes JSON piece by piece, without building a Value first: an event body costs about a microsecond.
//
// The calls must follow JSON's grammar: one value at top level, in an object a key before each value. A wrong order is
// a mistake of the caller that debug builds assert; a value that cannot be written is latched as an error instead, what
// follows it is ignored, and take() reports the first one. Threads: one at a time.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/Value.h"

#include <cstdint>
#include <expected>
#include <memory>
#include <string_view>
#include <system_error>

namespace kova {

class KOVA_EXPORT JSONWriter {
public:
    JSONWriter();
    ~JSONWriter();
    JSONWriter(JSONWriter&&) noexcept;
    JSONWriter& operator=(JSONWriter&&) noexcept;

    /// JSONError::nestedTooDeep beyond JSONSerialization::maximumDepth.
    void beginObject();
    void endObject();
    void beginArray();
    void endArray();

    /// The name of the next entry. JSONError::notUTF8 when it is not valid UTF-8.
    void key(std::string_view name);

    /// Text goes out as raw UTF-8 with only quotes, backslashes and control characters escaped. JSONError::notUTF8 when
    /// it is not valid UTF-8.
    void string(std::string_view text);
    void integer(std::int64_t value);
    /// The shortest form that reads back as the same number; one without fraction, and exact as an integer, is written
    /// as a whole number (10.0 as 10). JSONError::notFinite for infinities and not-a-number.
    void number(double value);
    void boolean(bool value);
    void null();
    /// A whole tree. JSONError::notRepresentable when there are bytes or dates in it.
    void value(const Value& tree);

    /// The compact JSON, or the first error. JSONError::malformed when arrays or objects are still open, or nothing was
    /// written. The writer is as new afterwards.
    [[nodiscard]] std::expected<Data, std::error_code> take();

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace kova
