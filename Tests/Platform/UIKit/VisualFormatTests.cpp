#include "Tests/Platform/UIKit/Scene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kova {
namespace {

using tests::Scene;

TEST(VisualFormat, PlacesViews)
{
    struct Case {
        std::string horizontal;
        std::string vertical;
        CGRect one;
        CGRect other;
    };
    const Case cases[] = {
        {"H:|-0-[one]-0-|", "V:|-0-[one]-0-|", {0, 0, 300, 200}, {}},
        {"H:|[one]|", "V:|-1.5-[one]--2-|", {0, 1.5, 300, 200.5}, {}},
        {"H:|-10-[one(40)]-8-[other]-5-|", "V:|-3-[one(==20)][other(30)]", {10, 3, 40, 20}, {58, 23, 237, 30}},
        {"H:[one(40)]-8-[other(<=100)]|", "V:|[one(>=20)]-1-[other(30)]|", {152, 0, 40, 169}, {200, 170, 100, 30}},
    };
    for (const auto& [horizontal, vertical, one, other] : cases) {
        Scene scene {{.width = 300, .height = 200}};
        const std::map<std::string, UIView*> views {{"one", &scene.add("one")}, {"other", &scene.add("other")}};
        for (const auto& format : {horizontal, vertical})
            NSLayoutConstraint::activate(NSLayoutConstraint::constraints(format, views));
        // A bound alone leaves a size open: the content would say.
        scene.constrain("other.width = 400 @ 1");
        EXPECT_EQ(scene.frame("one"), one) << horizontal;
        if (other != CGRect {}) {
            EXPECT_EQ(scene.frame("other"), other) << horizontal;
        }
    }
}

TEST(VisualFormat, WhatCannotBeReadStopsTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    Scene scene {{.width = 300, .height = 200}};
    UIView loose;
    const std::map<std::string, UIView*> views {{"one", &scene.add("one")}, {"loose", &loose}, {"none", nullptr}};
    for (const char* format :
        {"", "|[one]|", "H:", "H:|", "H:|-[one]", "H:|-x-[one]", "H:|-1[one]", "H:[two]", "H:[one", "H:[one(]",
            "H:[one(4]", "H:[one]|x", "H:|[one]-1-", "H:|[loose]", "H:[none]", "H:[one]-nan-|"}) {
        EXPECT_EXIT(static_cast<void>(NSLayoutConstraint::constraints(format, views)), testing::KilledBySignal(SIGABRT),
            "visual format")
            << format;
    }
}

TEST(VisualFormat, ConstraintsNeedAViewInCommon)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    Scene scene {{.width = 300, .height = 200}};
    auto& view = scene.add("view");
    UIView loose;
    EXPECT_EXIT(NSLayoutConstraint::activate({view.leftAnchor().equalTo(loose.leftAnchor())}),
        testing::KilledBySignal(SIGABRT), "in common");
    EXPECT_EXIT(view.addConstraint(view.leftAnchor().equalTo(scene.root->leftAnchor())),
        testing::KilledBySignal(SIGABRT), "beneath it");
    EXPECT_EXIT(view.addSubview(scene.root), testing::KilledBySignal(SIGABRT), "beneath itself");
}

} // namespace
} // namespace kova
