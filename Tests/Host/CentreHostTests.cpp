// The notification centre of a real host, worked by a script.

#include "Tests/Host/HostRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace kova::tests {
namespace {

using testing::ElementsAre;

const std::string open = command("centre", R"("action":"open")");
const std::string screen = command("screen");

// A short word for each answer of "screen": what is on top, and the titles of the list's rows.
std::vector<std::string> screens(const HostResult& result)
{
    std::vector<std::string> screens;
    for (const auto& answer : result.answers) {
        const auto* kind = answer.find<std::string>("screen");
        if (!kind)
            continue;
        screens.push_back(*kind);
        const auto* rows = answer.find<Value::Array>("rows");
        for (const auto& row : rows ? *rows : Value::Array {})
            screens.back() += (*row.find<bool>("markerHidden") ? " " : " *") + *row.find<std::string>("title");
    }
    return screens;
}

std::string titled(const std::string& title, const std::string& more = {})
{
    return command("push",
        R"("payload":{"aps":{"alert":{"title":")" + title + R"(","body":"b"}},"custom":{"i":")" + title + "\"" + more
            + "}}");
}

// Width and height of a PNG file, from its header; nothing when it is none.
std::vector<unsigned> pngSize(const std::filesystem::path& file)
{
    std::ifstream stream {file, std::ios::binary};
    const std::string bytes {std::istreambuf_iterator<char> {stream}, {}};
    if (!bytes.starts_with("\x89PNG") || bytes.size() < 24)
        return {};
    const auto number = [&](std::size_t at) {
        unsigned value = 0;
        for (std::size_t index = at; index < at + 4; ++index)
            value = value << 8 | static_cast<unsigned char>(bytes[index]);
        return value;
    };
    return {number(16), number(20)};
}

TEST(CentreHostTest, TheWholeRoad)
{
    HostFolder folder;
    const auto link = R"(,"u":"https://example.com/p/1")";
    const auto result = folder.run(start + titled("a") + titled("b", link) + titled("c") + settle + open + settle
        + screen + command("select", R"("row":1)") + screen + titled("d") + settle + command("open-link") + screen
        + command("back") + command("trash") + screen + command("alert", R"("button":"Cancelar")") + command("back")
        + screen + command("swipe-delete", R"("row":2)") + screen + titled("e") + settle + screen
        + command("centre", R"("action":"close")") + screen + inbox);
    ASSERT_EQ(result.end, success) << result.errors;
    EXPECT_THAT(screens(result),
        ElementsAre(
            "list *c *b *a", "detail", "browser", "alert", "list *c b *a", "list *c b", "list *e *c b", "host"));
    // The push that came while the detail screen was up is in the inbox and not in the list, which removes by index.
    const auto* records = result.answers.back().find<Value::Array>("inbox");
    ASSERT_TRUE(records);
    std::vector<std::string> titles;
    for (const auto& record : *records)
        titles.push_back(*record.find<std::string>("title"));
    EXPECT_THAT(titles, ElementsAre("e", "d", "c", "a"));
    EXPECT_EQ(result.count("Notifications: 3"), 3U) << "open, select, push";
}

TEST(CentreHostTest, SavesWhatIsSeenAfterEachLine)
{
    HostFolder folder;
    const auto pictures = folder.path() / "pictures";
    folder.options = {"--window", "--screenshot", pictures, "--payloads", KOVA_PAYLOADS_DIR};
    const auto result = folder.run(start + pushWithId("a") + settle + "# nothing is seen of this line\n"
        + command("centre", R"("action":"open")") + command("screen") + command("size", R"("width":320,"height":568)"));
    if (result.errors.find("built without Qt") != std::string::npos)
        GTEST_SKIP() << "this kova-host has no window";
    ASSERT_EQ(result.end, success) << result.errors;
    EXPECT_EQ(*result.answers.front().find<std::string>("screen"), "list");
    EXPECT_EQ(result.count("Notifications: 1"), 1U);

    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator {pictures})
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    EXPECT_THAT(names,
        ElementsAre(
            "001-start.png", "002-push.png", "003-settle.png", "005-centre.png", "006-screen.png", "007-size.png"));
    EXPECT_THAT(pngSize(pictures / "005-centre.png"), ElementsAre(390U, 844U));
    EXPECT_THAT(pngSize(pictures / "007-size.png"), ElementsAre(320U, 568U));
}

// A picture that was taken too early shows what is on its way: the host says so instead, and ends with another status.
TEST(CentreHostTest, SavesNothingOnItsWay)
{
    std::string script = start + pushWithId("a") + pushWithId("b") + pushWithId("c") + open;
    for (int deleted = 0; deleted < 3; ++deleted)
        script += command("select", R"("row":0)") + command("trash") + command("alert", R"("button":"Apagar")");
    HostFolder folder;
    folder.options = {"--window", "--screenshot", folder.path() / "pictures"};
    const auto result = folder.run(script);
    if (result.errors.find("built without Qt") != std::string::npos)
        GTEST_SKIP() << "this kova-host has no window";
    EXPECT_EQ(result.end, success) << result.errors;
}

} // namespace
} // namespace kova::tests
