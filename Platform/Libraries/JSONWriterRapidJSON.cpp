#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/JSONWriter.h"
#include "Platform/Foundation/Unicode.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

namespace kova {

namespace {

using Buffer = rapidjson::StringBuffer;
// The writer passes invalid UTF-8 through, so text is checked before; its own check would take half as long again.
using Writer = rapidjson::Writer<Buffer>;

/// From here on not every whole number is a double, so the digits of one would claim more than is known.
constexpr double wholeNumberLimit = 9007199254740992.0;

} // namespace

struct JSONWriter::Implementation {
    Buffer buffer;
    Writer writer {buffer};
    int depth = 0;
    std::optional<JSONError> error;

    bool failed() const { return error.has_value(); }

    void fail(JSONError reason)
    {
        if (!error)
            error = reason;
    }

    /// Takes the library's word for what it wrote: after a failed call the buffer holds a broken document.
    void check(bool written)
    {
        if (!written)
            fail(JSONError::notRepresentable);
    }

    /// Whether one more array or object may be opened.
    bool descend()
    {
        if (depth == JSONSerialization::maximumDepth)
            fail(JSONError::nestedTooDeep);
        if (failed())
            return false;
        ++depth;
        return true;
    }

    void text(std::string_view text)
    {
        if (failed())
            return;
        if (text.size() > std::numeric_limits<rapidjson::SizeType>::max())
            return fail(JSONError::notRepresentable);
        if (!isValidUTF8(text))
            return fail(JSONError::notUTF8);
        // The library wants an address even for no characters.
        const auto* characters = text.empty() ? "" : text.data();
        check(writer.String(characters, static_cast<rapidjson::SizeType>(text.size())));
    }

    void number(double value)
    {
        if (failed())
            return;
        if (!std::isfinite(value))
            return fail(JSONError::notFinite);
        std::array<char, 32> digits;
        const auto isWhole = std::abs(value) < wholeNumberLimit && std::trunc(value) == value;
        const auto end = isWhole ? std::to_chars(digits.begin(), digits.end(), static_cast<std::int64_t>(value)).ptr
                                 : std::to_chars(digits.begin(), digits.end(), value).ptr;
        // The library's own form of a double is not always the shortest.
        check(writer.RawValue(digits.data(), static_cast<std::size_t>(end - digits.data()), rapidjson::kNumberType));
    }

    void reset()
    {
        buffer.Clear();
        writer.Reset(buffer);
        depth = 0;
        error.reset();
    }
};

JSONWriter::JSONWriter()
    : m_implementation(std::make_unique<Implementation>())
{
}

JSONWriter::~JSONWriter() = default;
JSONWriter::JSONWriter(JSONWriter&&) noexcept = default;
JSONWriter& JSONWriter::operator=(JSONWriter&&) noexcept = default;

void JSONWriter::beginObject()
{
    if (m_implementation->descend())
        m_implementation->writer.StartObject();
}

void JSONWriter::endObject()
{
    if (m_implementation->failed())
        return;
    m_implementation->writer.EndObject();
    --m_implementation->depth;
}

void JSONWriter::beginArray()
{
    if (m_implementation->descend())
        m_implementation->writer.StartArray();
}

void JSONWriter::endArray()
{
    if (m_implementation->failed())
        return;
    m_implementation->writer.EndArray();
    --m_implementation->depth;
}

void JSONWriter::key(std::string_view name)
{
    m_implementation->text(name);
}

void JSONWriter::string(std::string_view text)
{
    m_implementation->text(text);
}

void JSONWriter::integer(std::int64_t value)
{
    if (!m_implementation->failed())
        m_implementation->writer.Int64(value);
}

void JSONWriter::number(double value)
{
    m_implementation->number(value);
}

void JSONWriter::boolean(bool value)
{
    if (!m_implementation->failed())
        m_implementation->writer.Bool(value);
}

void JSONWriter::null()
{
    if (!m_implementation->failed())
        m_implementation->writer.Null();
}

void JSONWriter::value(const Value& tree)
{
    // Nothing is left to write after an error, however deep or long the tree is.
    if (m_implementation->failed())
        return;
    if (tree.isNull()) {
        null();
    } else if (const auto* flag = tree.as<bool>()) {
        boolean(*flag);
    } else if (const auto* whole = tree.as<std::int64_t>()) {
        integer(*whole);
    } else if (const auto* real = tree.as<double>()) {
        number(*real);
    } else if (const auto* text = tree.as<std::string>()) {
        string(*text);
    } else if (const auto* array = tree.as<Value::Array>()) {
        beginArray();
        for (const auto& element : *array)
            value(element);
        endArray();
    } else if (const auto* dictionary = tree.as<Value::Dictionary>()) {
        beginObject();
        for (const auto& [name, entry] : *dictionary) {
            key(name);
            value(entry);
        }
        endObject();
    } else {
        m_implementation->fail(JSONError::notRepresentable);
    }
}

std::expected<Data, std::error_code> JSONWriter::take()
{
    auto& implementation = *m_implementation;
    if (!implementation.failed() && !implementation.writer.IsComplete())
        implementation.fail(JSONError::malformed);
    std::expected<Data, std::error_code> result;
    if (implementation.error)
        result = std::unexpected {make_error_code(*implementation.error)};
    else
        result = Data {std::string {implementation.buffer.GetString(), implementation.buffer.GetSize()}};
    implementation.reset();
    return result;
}

} // namespace kova
