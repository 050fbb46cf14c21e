// The host with its window, drawn in memory.

#include "Tests/Host/HostRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace kova::tests {
namespace {

using testing::ElementsAre;

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

TEST(WindowHostTest, SavesWhatIsSeenAfterEachLine)
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

} // namespace
} // namespace kova::tests
