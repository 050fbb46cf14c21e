// Tells binary and XML property lists apart, and reads the XML ones. It stands here, and not with the binary codec,
// because the portable library must not depend on an XML parser.

#include "Platform/Foundation/BinaryPropertyList.h"
#include "Platform/Foundation/PropertyListXMLText.h"

#include <expat.h>

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace kova {

namespace {

/// Receives the parser's events and puts the value together. Each element is a state; what may not stand where it
/// stands stops the parser.
class ListBuilder {
public:
    explicit ListBuilder(XML_Parser parser)
        : m_parser(parser)
    {
        XML_SetUserData(parser, this);
        XML_SetElementHandler(parser, &onStart, &onEnd);
        XML_SetCharacterDataHandler(parser, &onText);
        XML_SetEntityDeclHandler(parser, &onEntityDeclaration);
        XML_SetSkippedEntityHandler(parser, &onSkippedEntity);
    }

    [[nodiscard]] std::optional<PropertyListError> error() const { return m_error; }
    [[nodiscard]] Value takeRoot() { return std::move(*m_root); }

private:
    enum class Place { outside, list, array, dictionary, scalar };

    /// An array or dictionary whose end has not come yet.
    struct Container {
        bool isArray = false;
        Value::Array elements;
        Value::Dictionary entries;
        std::optional<std::string> key;
    };

    static void onStart(void* self, const XML_Char* name, const XML_Char**)
    {
        static_cast<ListBuilder*>(self)->start(name);
    }
    static void onEnd(void* self, const XML_Char*) { static_cast<ListBuilder*>(self)->end(); }
    static void onText(void* self, const XML_Char* text, int length)
    {
        static_cast<ListBuilder*>(self)->text({text, static_cast<std::size_t>(length)});
    }
    /// No honest list declares entities, and a declared one can unfold without end.
    static void onEntityDeclaration(void* self, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
        const XML_Char*, const XML_Char*, const XML_Char*)
    {
        static_cast<ListBuilder*>(self)->fail(PropertyListError::malformed);
    }
    /// With an external document type the parser drops unknown entities, which would leave a hole in a text.
    static void onSkippedEntity(void* self, const XML_Char*, int)
    {
        static_cast<ListBuilder*>(self)->fail(PropertyListError::malformed);
    }

    void fail(PropertyListError error)
    {
        if (!m_error)
            m_error = error;
        XML_StopParser(m_parser, XML_FALSE);
    }

    void start(std::string_view name)
    {
        if (m_error)
            return;
        if (m_place == Place::outside) {
            if (name != "plist")
                return fail(PropertyListError::malformed);
            m_place = Place::list;
        } else if (m_place == Place::scalar || !mayStart(name)) {
            fail(PropertyListError::malformed);
        } else if (name == "array" || name == "dict") {
            if (m_open.size() == PropertyListDecoder::maximumDepth)
                return fail(PropertyListError::tooComplex);
            m_open.emplace_back().isArray = name == "array";
            m_place = m_open.back().isArray ? Place::array : Place::dictionary;
        } else {
            m_place = Place::scalar;
            m_scalar = name;
            m_text.clear();
        }
    }

    /// Whether a child of this name is due: in a dictionary keys and values take turns, a list has one value.
    [[nodiscard]] bool mayStart(std::string_view name) const
    {
        if (m_open.empty())
            return name != "key" && !m_root;
        if (m_open.back().isArray)
            return name != "key";
        return (name == "key") == !m_open.back().key;
    }

    void end()
    {
        if (m_error)
            return;
        if (m_place == Place::scalar) {
            m_place = placeOfParent();
            return endScalar();
        }
        if (m_open.empty()) {
            m_place = Place::outside;
            if (!m_root)
                fail(PropertyListError::malformed);
            return;
        }
        auto container = std::move(m_open.back());
        m_open.pop_back();
        m_place = placeOfParent();
        if (container.key)
            fail(PropertyListError::malformed);
        else if (container.isArray)
            add(std::move(container.elements));
        else
            add(std::move(container.entries));
    }

    void endScalar()
    {
        if (m_scalar == "key") {
            m_open.back().key = std::move(m_text);
            return;
        }
        auto value = propertyListScalar(m_scalar, std::move(m_text));
        if (!value)
            return fail(PropertyListError::malformed);
        add(*std::move(value));
    }

    [[nodiscard]] Place placeOfParent() const
    {
        if (m_open.empty())
            return Place::list;
        return m_open.back().isArray ? Place::array : Place::dictionary;
    }

    void add(Value value)
    {
        if (m_open.empty()) {
            m_root = std::move(value);
        } else if (auto& container = m_open.back(); container.isArray) {
            container.elements.append(std::move(value));
        } else {
            container.entries.insert_or_assign(*std::move(container.key), std::move(value));
            container.key.reset();
        }
    }

    void text(std::string_view text)
    {
        if (m_error)
            return;
        if (m_place == Place::scalar)
            m_text += text;
        else if (!std::ranges::all_of(text, isXMLSpace))
            fail(PropertyListError::malformed);
    }

    XML_Parser m_parser;
    Place m_place = Place::outside;
    std::vector<Container> m_open;
    std::string m_scalar;
    std::string m_text;
    std::optional<Value> m_root;
    std::optional<PropertyListError> m_error;
};

std::expected<Value, std::error_code> decodeXML(std::string_view bytes)
{
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser {
        XML_ParserCreate(nullptr), &XML_ParserFree};
    if (!parser)
        throw std::bad_alloc {};
    ListBuilder builder {parser.get()};
    // The parser counts in int, so it gets the bytes in pieces.
    constexpr std::size_t pieceSize = 1U << 20U;
    auto status = XML_STATUS_OK;
    do {
        const auto piece = bytes.substr(0, pieceSize);
        bytes.remove_prefix(piece.size());
        status = XML_Parse(parser.get(), piece.data(), static_cast<int>(piece.size()), bytes.empty());
    } while (status == XML_STATUS_OK && !bytes.empty());
    if (status != XML_STATUS_OK || builder.error())
        return std::unexpected {make_error_code(builder.error().value_or(PropertyListError::malformed))};
    return builder.takeRoot();
}

} // namespace

std::expected<Value, std::error_code> PropertyListDecoder::decode(std::string_view bytes)
{
    return bytes.starts_with("bplist") ? BinaryPropertyList::decode(bytes) : decodeXML(bytes);
}

} // namespace kova
