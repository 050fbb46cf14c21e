#include "Platform/UIKit/NSCache.h"

#include <gtest/gtest.h>

#include <string>

namespace kova::tests {
namespace {

using Cache = NSCache<std::string, int>;

/// Which of the keys the cache has, in their order; the look makes each of them used.
std::string held(Cache& cache, const std::string& keys)
{
    std::string found;
    for (const auto key : keys) {
        if (cache.object({key}))
            found += key;
    }
    return found;
}

void add(Cache& cache, char key, std::size_t cost)
{
    cache.setObject(std::make_shared<int>(key), {key}, cost);
}

TEST(CacheTest, TheLeastRecentlyUsedGoFirst)
{
    Cache cache;
    for (const auto key : std::string {"abcd"})
        add(cache, key, 1'000'000);
    EXPECT_EQ(held(cache, "abcd"), "abcd") << "without a limit all stay";
    cache.setTotalCostLimit(3'000'000);
    EXPECT_EQ(held(cache, "abcd"), "bcd");
    EXPECT_TRUE(cache.object("b"));
    add(cache, 'e', 500'000);
    EXPECT_EQ(held(cache, "abcde"), "bde") << "b was used after c";
    add(cache, 'b', 2'500'000);
    EXPECT_EQ(held(cache, "abcde"), "be") << "what is set again counts once";
    add(cache, 'f', 3'000'001);
    EXPECT_EQ(held(cache, "abcdef"), "be") << "what can never fit drives nothing out";
    add(cache, 'e', 3'000'001);
    EXPECT_EQ(held(cache, "abcdef"), "b") << "but what it stood for has gone";
    cache.setTotalCostLimit(1);
    EXPECT_EQ(held(cache, "abcdef"), "");
    add(cache, 'g', 1);
    EXPECT_EQ(held(cache, "g"), "g");
    cache.removeAllObjects();
    add(cache, 'h', 1);
    EXPECT_EQ(held(cache, "gh"), "h") << "nothing of what was removed counts";
}

TEST(CacheTest, WhatIsEvictedMayUseTheCache)
{
    Cache cache;
    cache.setTotalCostLimit(1);
    std::shared_ptr<int> object {new int {1}, [&](const int* value) {
                                     cache.setObject(nullptr, "from within", 0);
                                     delete value;
                                 }};
    cache.setObject(std::move(object), "a", 1);
    cache.setObject(std::make_shared<int>(2), "b", 1);
    EXPECT_EQ(held(cache, "ab"), "b");
}

} // namespace
} // namespace kova::tests
