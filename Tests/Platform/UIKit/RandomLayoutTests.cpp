#include "Platform/UIKit/NSLayoutConstraint.h"
#include "Platform/UIKit/UIImageView.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace kova {
namespace {

double valueOf(const CGRect& rect, NSLayoutAttribute attribute)
{
    using enum NSLayoutAttribute;
    const auto& [origin, size] = rect;
    const std::map<NSLayoutAttribute, double> values {{left, origin.x}, {right, origin.x + size.width},
        {centerX, origin.x + size.width / 2}, {top, origin.y}, {bottom, origin.y + size.height},
        {centerY, origin.y + size.height / 2}, {width, size.width}, {height, size.height}};
    return values.at(attribute);
}

// Constraints that some frames are known to meet, bounds among them, all hold in the frames that are found, whatever
// the contents wish. Left aside is what only sizes below zero would meet, which no view has.
TEST(RandomLayout, WhatCanBeMetIsMet)
{
    using enum NSLayoutAttribute;
    const std::vector<std::vector<NSLayoutAttribute>> comparable {
        {left, right, centerX}, {top, bottom, centerY}, {width, height}};
    std::mt19937 random {7};
    const auto pick = [&random](int low, int high) { return std::uniform_int_distribution {low, high}(random); };
    int examined = 0;
    for (int round = 0; round < 1'000; ++round) {
        UIView root {{0, 0, 300, 200}};
        const auto count = pick(1, 6);
        std::vector<UIView*> views {&root};
        std::vector<CGRect> known {root.frame()};
        for (int number = 0; number < count; ++number) {
            const auto view = std::make_shared<UIImageView>();
            view->setTranslatesAutoresizingMaskIntoConstraints(false);
            view->setImage(
                std::make_shared<UIImage>(CGSize {.width = 1.0 * pick(0, 200), .height = 1.0 * pick(0, 200)}, nullptr));
            root.addSubview(view);
            views.push_back(view.get());
            known.emplace_back(pick(0, 200), pick(0, 150), pick(1, 100), pick(1, 50));
        }
        NSLayoutConstraint::List constraints;
        for (int number = pick(0, 4 * count); number > 0; --number) {
            const auto& attributes = comparable.at(static_cast<std::size_t>(pick(0, 2)));
            const auto any = [&] {
                return attributes[static_cast<std::size_t>(pick(0, static_cast<int>(attributes.size()) - 1))];
            };
            const auto first = static_cast<std::size_t>(pick(1, count));
            const auto second = static_cast<std::size_t>(pick(0, count));
            const auto attribute = any();
            const auto toAttribute = any();
            const auto slack = pick(-1, 1);
            const auto multiplier = pick(1, 4) * 0.5;
            constraints.push_back(std::make_shared<NSLayoutConstraint>(views[first], attribute,
                static_cast<NSLayoutRelation>(slack), views[second], toAttribute, multiplier,
                valueOf(known[first], attribute) - multiplier * valueOf(known[second], toAttribute)
                    - slack * pick(0, 30)));
        }
        NSLayoutConstraint::activate(constraints);
        testing::internal::CaptureStderr();
        root.layoutIfNeeded();
        testing::internal::GetCapturedStderr();
        bool hasRoomForAll = true;
        for (const auto& view : root.subviews())
            hasRoomForAll = hasRoomForAll && view->frame().size.width > 0 && view->frame().size.height > 0;
        if (!hasRoomForAll)
            continue;
        ++examined;
        for (const auto& constraint : constraints) {
            const auto excess = valueOf(constraint->firstItem()->frame(), constraint->firstAttribute())
                - constraint->multiplier() * valueOf(constraint->secondItem()->frame(), constraint->secondAttribute())
                - constraint->constant();
            if (constraint->relation() != NSLayoutRelation::lessThanOrEqual) {
                EXPECT_GT(excess, -1e-4) << "round " << round;
            }
            if (constraint->relation() != NSLayoutRelation::greaterThanOrEqual) {
                EXPECT_LT(excess, 1e-4) << "round " << round;
            }
        }
    }
    EXPECT_GT(examined, 500);
}

} // namespace
} // namespace kova
