// The notification centre of a real host, worked by a script.

#include "Tests/Host/HostRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kova::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string command(const std::string& name, const std::string& fields = {})
{
    return R"({"do":")" + name + "\"" + (fields.empty() ? "" : "," + fields) + "}\n";
}

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
    return R"({"do":"push","payload":{"aps":{"alert":{"title":")" + title + R"(","body":"b"}},"custom":{"i":")" + title
        + "\"" + more + "}}}\n";
}

TEST(CentreHostTest, TheWholeRoad)
{
    HostFolder folder;
    const auto link = R"(,"u":"https://example.com/p/1")";
    const auto result = folder.run(start + titled("a") + titled("b", link) + titled("c") + settle + open + settle
        + screen + command("select", R"("row":1)") + screen + titled("d") + settle + command("open-link") + screen
        + command("back") + command("trash") + screen + command("alert", R"("button":"Cancelar")") + command("back")
        + screen + command("swipe-delete", R"("row":2)") + screen + titled("e") + settle + screen
        + command("centre", R"("action":"close")") + screen + command("inbox"));
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

TEST(CentreHostTest, WhatIsNotOnTheScreenCannotBeWorked)
{
    HostFolder folder;
    const std::pair<std::string, const char*> rows[] {
        {command("select", R"("row":0)"), "select: the list is not on top of the screen"},
        {open + command("select", R"("row":0)"), "select: there is no row 0, the list has 0"},
        {open + command("swipe-delete", R"("row":-1)"), "swipe-delete: there is no row -1"},
        {open + command("select", R"("row":"0")"), "select: the field \"row\" must be a whole number"},
        {open + open, "centre: the centre is open already"},
        {command("centre", R"("action":"close")"), "centre: the centre is not open"},
        {command("back"), "back: the detail screen is not on top of the screen"},
        {command("alert", R"("button":"Apagar")"), "alert: an alert is not on top of the screen"},
        {command("restyle", R"("property":"navcolor","rgba":[0,0,0,1])"), "restyle: there is no property \"navcolor\""},
        {command("restyle", R"("property":"navColor","rgba":[0,0,1])"), "must be a list of 4 numbers"},
        {command("restyle", R"("property":"navColor","rgba":[0,0,0,255])"), "must be four numbers from 0 to 1"},
        {command("badge", R"("action":"set")"), "must be \"add\", \"update\" or \"remove\""},
        {command("size", R"("width":0,"height":100)"), "the field \"width\" must be between 1 and 100000 points"},
    };
    for (const auto& [script, message] : rows) {
        const auto result = folder.run(start + script);
        EXPECT_EQ(result.end, (ProcessEnd {.exitStatus = 2})) << script;
        EXPECT_THAT(result.errors, HasSubstr(message)) << script;
    }
}

} // namespace
} // namespace kova::tests
