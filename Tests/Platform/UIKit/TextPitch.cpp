// The measure of texts in these tests: lines are higher than a code point is wide by a factor of two, so that a width
// taken for a height is noticed.

#include "Platform/UIKit/FixedPitchMeasurer.h"

#include <gtest/gtest.h>

#include <memory>

namespace kova::tests {
namespace {

class TextPitch : public testing::Environment {
public:
    void SetUp() override { TextMeasurer::setShared(std::make_shared<FixedPitchMeasurer>(0.6, 1.2)); }
    void TearDown() override { TextMeasurer::setShared(nullptr); }
};

// Owned by the test framework, which is how it takes one without a main of our own.
[[maybe_unused]] auto* const textPitch = testing::AddGlobalTestEnvironment(new TextPitch);

} // namespace
} // namespace kova::tests
