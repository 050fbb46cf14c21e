#include "Platform/UIKit/TextMeasurer.h"

#include "Platform/UIKit/FixedPitchMeasurer.h"

#include <utility>

namespace kova {

namespace {

std::shared_ptr<TextMeasurer>& installed()
{
    // Never destroyed: a screen may still be taken apart while main's statics go away.
    static auto& measurer = *new std::shared_ptr<TextMeasurer> {std::make_shared<FixedPitchMeasurer>()};
    return measurer;
}

} // namespace

std::shared_ptr<TextMeasurer> TextMeasurer::shared()
{
    return installed();
}

std::shared_ptr<TextMeasurer> TextMeasurer::setShared(std::shared_ptr<TextMeasurer> measurer)
{
    return std::exchange(installed(), measurer ? std::move(measurer) : std::make_shared<FixedPitchMeasurer>());
}

} // namespace kova
