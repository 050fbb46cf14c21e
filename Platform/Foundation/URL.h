// A uniform resource locator: text that is known to be a valid RFC 3986 reference.
//
// The grammar is checked by a library that the build chooses (see Platform/Libraries). Threads: any; a URL never
// changes.

#pragma once

#include "Platform/Foundation/Export.h"

#include <optional>
#include <string>
#include <string_view>

namespace kova {

class KOVA_EXPORT URL {
public:
    /// None for the empty text and for what is not a valid RFC 3986 reference: spaces, control and non-ASCII
    /// characters, stray brackets, a "%" that two hexadecimal digits do not follow.
    [[nodiscard]] static std::optional<URL> create(std::string_view text);

    /// The whole reference, as it was given.
    [[nodiscard]] const std::string& absoluteString() const { return m_text; }

    /// The URL with one more path component, before any query or fragment: exactly one "/" stands between the path and
    /// the component. The component is taken literally: every byte that may not stand in a path is percent-encoded,
    /// "%",
    /// "?" and "#" included; a "/" inside it is kept. The segments "." and ".." have no literal form in a URL, and
    /// every reader would take them, and "%2E" too, as steps within the path: they become "%252E" and "%252E%252E", so
    /// that no component leads out of the URL's own path. An empty component makes the path end in "/".
    [[nodiscard]] URL appendingPathComponent(std::string_view component) const;

    friend bool operator==(const URL&, const URL&) = default;

private:
    explicit URL(std::string text)
        : m_text(std::move(text))
    {
    }

    std::string m_text;
};

} // namespace kova
