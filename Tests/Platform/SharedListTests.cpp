#include "Platform/Foundation/SharedList.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>

namespace kova {
namespace {

std::vector<int> contents(const SharedList<int>& list)
{
    return {list.begin(), list.end()};
}

// Random histories against a plain deque, with copies kept aside: no operation on one copy may show in another.
TEST(SharedListTest, BehavesLikeAPlainListAndCopiesStayApart)
{
    std::mt19937 random {7};
    SharedList<int> list;
    std::deque<int> model;
    std::vector<std::pair<SharedList<int>, std::vector<int>>> snapshots;
    for (int step = 0; step < 20'000; ++step) {
        if (random() % 4 != 0) {
            list.append(step);
            model.push_back(step);
        } else {
            const auto count = random() % 5;
            list.removeFirst(count);
            model.erase(model.begin(), model.begin() + std::min<std::ptrdiff_t>(count, std::ssize(model)));
        }
        if (step % 1'000 == 0)
            snapshots.emplace_back(list, contents(list));
        ASSERT_EQ(list.size(), model.size());
    }
    EXPECT_EQ(contents(list), std::vector<int>(model.begin(), model.end()));
    for (const auto& [copy, expected] : snapshots)
        EXPECT_EQ(contents(copy), expected);
}

TEST(SharedListTest, FindsTheMatchingPrefixOfSharedAndOfEqualLists)
{
    SharedList<int> stored;
    for (int element = 0; element < 1'000; ++element)
        stored.append(element);

    auto appended = stored;
    appended.append(1'000);
    EXPECT_EQ(appended.matchingPrefix(stored), 1'000U);
    EXPECT_EQ(stored.matchingPrefix(appended), 1'000U);

    auto shortened = stored;
    shortened.removeFirst(300);
    EXPECT_EQ(shortened.matchingPrefix(stored, 300), 700U);
    EXPECT_EQ(shortened.matchingPrefix(stored), 0U);
    EXPECT_EQ(shortened.matchingPrefix(stored, 5'000), 0U);

    auto elements = contents(stored);
    EXPECT_EQ(SharedList<int>(elements), stored);
    elements[421] = -1;
    EXPECT_EQ(SharedList<int>(elements).matchingPrefix(stored), 421U);
    EXPECT_NE(SharedList<int>(elements), stored);
}

} // namespace
} // namespace kova
