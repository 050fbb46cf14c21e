// A question over the screen that must be answered first.

#pragma once

#include "Platform/UIKit/UIAlertAction.h"
#include "Platform/UIKit/UIViewController.h"

#include <vector>

namespace kova {

enum class UIAlertControllerStyle { actionSheet = 0, alert = 1 };

class UIAlertController : public UIViewController {
public:
    UIAlertController(
        std::optional<std::string> title, std::optional<std::string> message, UIAlertControllerStyle preferredStyle);

    [[nodiscard]] const std::optional<std::string>& message() const { return m_message; }
    [[nodiscard]] UIAlertControllerStyle preferredStyle() const { return m_preferredStyle; }
    /// In the order in which they were added.
    [[nodiscard]] const std::vector<UIAlertAction>& actions() const { return m_actions; }
    void addAction(UIAlertAction action);

    /// The user chooses: the alert is closed, then the action's handler runs.
    void userChooses(std::size_t action);

protected:
    /// A dimmed view with the box in its middle: title, message, one button an action.
    void loadView() override;

private:
    std::optional<std::string> m_message;
    UIAlertControllerStyle m_preferredStyle;
    std::vector<UIAlertAction> m_actions;
};

} // namespace kova
