#include "Platform/Foundation/URL.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace kova {
namespace {

TEST(URLTest, AcceptsValidReferencesOnly)
{
    const std::pair<std::string, bool> rows[] = {
        {"https://events.kova.example/v2/", true},
        {"HTTP://u:p@h:8080/a;b=c/%41?q=/", true},
        {"http://[::1]:80/", true},
        {"mailto:a@b.example", true},
        {"//h/path", true},
        {"relative/a:b", true},
        {"", false},
        {"http://h/a b", false},
        {"http://h/\0"s, false},
        {"http://h/\x7f", false},
        {"http://h/\xc3\xa4", false},
        {"http://h/%", false},
        {"http://h/%zz", false},
        {"http://h/[a]", false},
        {"http://[::1/", false},
        {"http://h:port/", false},
        {":a", false},
    };
    for (const auto& [text, isValid] : rows) {
        const auto url = URL::create(text);
        EXPECT_EQ(url.has_value(), isValid) << text;
        if (url) {
            EXPECT_EQ(url->absoluteString(), text);
        }
    }
    const std::string_view longer = "http://h/ b";
    EXPECT_EQ(URL::create(longer.substr(0, 9)).value().absoluteString(), "http://h/") << "reads past the end of a view";
    EXPECT_TRUE(URL::create("http://h" + std::string(1'000'000, '/'))) << "takes no stack for long text";
}

TEST(URLTest, AppendsOnePathComponent)
{
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"https://h/v2/", "events", "https://h/v2/events"},
        {"https://h/v2", "events", "https://h/v2/events"},
        {"https://h/v2//", "//events", "https://h/v2/events"},
        {"https://h/v2/", "events/", "https://h/v2/events/"},
        {"https://h", "events", "https://h/events"},
        {"https://h/a?q=/#f/", "b", "https://h/a/b?q=/#f/"},
        {"/path", "", "/path/"},
        {"/path//", "/", "/path/"},
        {"https://h", "", "https://h/"},
        {"https://h/p?q", "", "https://h/p/?q"},
        {"file:///", "x", "file:///x"},
        {"//", "//x", "///x"},
        {"/", "//x", "/x"},
        {"relative", "b:c", "relative/b:c"},
        {"?q", "b:c", "/b:c?q"},
        {"https://h/", "a%2Fb", "https://h/a%252Fb"},
        {"https://h/", "a?b#c", "https://h/a%3Fb%23c"},
        {"https://h/", "a b[c]|\"\\", "https://h/a%20b%5Bc%5D%7C%22%5C"},
        {"https://h/", "-._~!$&'()*+,;=:@", "https://h/-._~!$&'()*+,;=:@"},
        {"https://h/", "\0\n\x7f"s, "https://h/%00%0A%7F"},
        {"https://h/", "\xc3\xa4\xff", "https://h/%C3%A4%FF"},
        {"https://h/v1/", "../../v2/x", "https://h/v1/%252E%252E/%252E%252E/v2/x"},
        {"https://h/v1/", "/../x/..", "https://h/v1/%252E%252E/x/%252E%252E"},
        {"https://h/v1/", "./a/.", "https://h/v1/%252E/a/%252E"},
        {"https://h/v1/", "%2e%2E/.%2e/x", "https://h/v1/%252e%252E/.%252e/x"},
        {"https://h/v1/", ".../.a/b../a..b", "https://h/v1/.../.a/b../a..b"},
        {"https://h/v1/", "..;a/.;/x;..", "https://h/v1/%252E%252E;a/%252E;/x;.."},
        {"https://h/../v1/", "x//y", "https://h/../v1/x//y"},
    };
    for (const auto& [base, component, result] : rows) {
        const auto url = URL::create(base).value().appendingPathComponent(component);
        EXPECT_EQ(url.absoluteString(), result) << base << " + " << component;
        EXPECT_TRUE(URL::create(result)) << result;
    }
}

} // namespace
} // namespace kova
