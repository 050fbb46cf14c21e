#include "Platform/Foundation/URL.h"

#include <gtest/gtest.h>

#include <random>

using namespace std::string_literals;

namespace kova {
namespace {

TEST(URLTest, AcceptsValidReferencesOnly)
{
    struct Row {
        std::string text;
        bool isValid;
    };
    const Row rows[] = {
        {"https://events.kova.example/v2/", true},
        {"HTTP://u:p@h:8080/a;b=c/%41?q=/", true},
        {"http://[::1]:80/", true},
        {"http://h:", true},
        {"mailto:a@b.example", true},
        {"//h/path", true},
        {"relative/a:b", true},
        {"?q", true},
        {"#f", true},
        {"", false},
        {" ", false},
        {"http://h/a b", false},
        {"http://h/\n", false},
        {"http://h/\0"s, false},
        {"http://h/\x7f", false},
        {"http://h/\xc3\xa4", false},
        {"http://h/%", false},
        {"http://h/%4", false},
        {"http://h/%zz", false},
        {"http://h/[a]", false},
        {"http://h/a|b", false},
        {"http://h/#a#b", false},
        {"http://h\\x", false},
        {"http://[::1/", false},
        {"http://[1::2::3]/", false},
        {"http://h:port/", false},
        {"1a:b", false},
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
    struct Row {
        std::string base;
        std::string component;
        std::string result;
    };
    const Row rows[] = {
        {"https://h/v2/", "events", "https://h/v2/events"},
        {"https://h/v2", "events", "https://h/v2/events"},
        {"https://h/v2//", "//events", "https://h/v2/events"},
        {"https://h/v2/", "events/", "https://h/v2/events/"},
        {"https://h/v2", "a/b//c", "https://h/v2/a/b//c"},
        {"https://h", "events", "https://h/events"},
        {"https://h?q", "events", "https://h/events?q"},
        {"https://h/a?q=/#f/", "b", "https://h/a/b?q=/#f/"},
        {"https://h/a#?", "b", "https://h/a/b#?"},
        {"/path", "", "/path/"},
        {"/path/", "", "/path/"},
        {"/path//", "", "/path//"},
        {"/path//", "/", "/path/"},
        {"https://h", "", "https://h/"},
        {"https://h#f", "", "https://h/#f"},
        {"https://h/p?q", "", "https://h/p/?q"},
        {"https://u:p@h:1", "x", "https://u:p@h:1/x"},
        {"file:///", "x", "file:///x"},
        {"//", "//x", "///x"},
        {"/", "//x", "/x"},
        {"relative", "b:c", "relative/b:c"},
        {"?q", "b:c", "/b:c?q"},
        {"https://h/", "50%", "https://h/50%25"},
        {"https://h/", "a%2Fb", "https://h/a%252Fb"},
        {"https://h/", "a?b#c", "https://h/a%3Fb%23c"},
        {"https://h/", "a b[c]|\"\\", "https://h/a%20b%5Bc%5D%7C%22%5C"},
        {"https://h/", "-._~!$&'()*+,;=:@", "https://h/-._~!$&'()*+,;=:@"},
        {"https://h/", "\0\n\x7f"s, "https://h/%00%0A%7F"},
        {"https://h/", "\xc3\xa4\xff", "https://h/%C3%A4%FF"},
        {"https://h/", "../x", "https://h/../x"},
    };
    for (const auto& [base, component, result] : rows) {
        const auto url = URL::create(base).value().appendingPathComponent(component);
        EXPECT_EQ(url.absoluteString(), result) << base << " + " << component;
        EXPECT_TRUE(URL::create(result)) << result;
    }
}

// Whatever is appended to whatever base, the result is a URL again, and leading slashes change nothing.
TEST(URLTest, AppendingAlwaysMakesAValidURL)
{
    std::mt19937 random {11};
    const std::string_view alphabet = "ab:/?#[]@%4~ .\\\xc3\xa4\x01";
    const auto text = [&](std::size_t longest) {
        std::string result;
        for (auto length = random() % (longest + 1); length != 0; --length)
            result += alphabet[random() % alphabet.size()];
        return result;
    };
    int tried = 0;
    for (int round = 0; round < 60'000; ++round) {
        const auto base = URL::create((round % 2 == 0 ? "x://" : "") + text(8));
        if (!base)
            continue;
        ++tried;
        const auto component = text(6);
        const auto url = base->appendingPathComponent(component).absoluteString();
        ASSERT_TRUE(URL::create(url)) << base->absoluteString() << " + " << component << " = " << url;
        const auto slashes = component.find_first_not_of('/');
        if (slashes != std::string::npos) {
            const auto again = base->appendingPathComponent(component.substr(slashes));
            ASSERT_EQ(url, again.absoluteString()) << base->absoluteString();
        }
    }
    EXPECT_GT(tried, 1'000);
}

} // namespace
} // namespace kova
