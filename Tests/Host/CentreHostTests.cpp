// The notification centre of a real host, worked by a script.

#include "Tests/Host/HostRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

} // namespace
} // namespace kova::tests
