// A question over the screen that must be answered first.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIAlertAction.h"
#include "Platform/UIKit/UIViewController.h"

#include <vector>

namespace kova {

enum class UIAlertControllerStyle { actionSheet = 0, alert = 1 };

class KOVA_EXPORT UIAlertController : public UIViewController {
public:
    UIAlertController(
        std::optional<std::string> title, std::optional<std::string> message, UIAlertControllerStyle preferredStyle);
    ~UIAlertController() override;

    [[nodiscard]] const std::optional<std::string>& message() const { return m_message; }
    [[nodiscard]] UIAlertControllerStyle preferredStyle() const { return m_preferredStyle; }
    /// In the order in which they were added.
    [[nodiscard]] const std::vector<UIAlertAction>& actions() const { return m_actions; }
    /// To be called before the alert is shown.
    void addAction(UIAlertAction action);

    /// The user chooses: the alert is closed, then the action's handler runs. An alert that is not shown any more has
    /// no choice left, so that a second press does nothing.
    void userChooses(std::size_t action);

    /// The box in the middle of the dimmed view; null until the view is loaded.
    [[nodiscard]] UIView* boxView() const;

protected:
    /// A dimmed view with the box in its middle: title, message, one button an action.
    void loadView() override;

private:
    class ContentView;

    std::optional<std::string> m_message;
    UIAlertControllerStyle m_preferredStyle;
    std::vector<UIAlertAction> m_actions;
    std::shared_ptr<ContentView> m_contentView;
};

} // namespace kova
