// One choice of an alert.

#pragma once

#include <functional>
#include <string>

namespace kova {

enum class UIAlertActionStyle { default_ = 0, cancel = 1, destructive = 2 };

struct UIAlertAction {
    std::string title;
    UIAlertActionStyle style = UIAlertActionStyle::default_;
    /// Runs once the alert is closed; may be empty.
    std::function<void()> handler {};
};

} // namespace kova
