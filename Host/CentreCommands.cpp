#include "Host/CentreCommands.h"

#include "Host/ScreenAnswer.h"
#include "KovaSDK/Push/Central/Controller/NotificationDetailViewController.h"
#include "KovaSDK/Push/Central/Controller/NotificationViewController.h"
#include "Platform/Foundation/Description.h"
#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Platform/UIKit/UINavigationController.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <ranges>

namespace kova::host {

namespace {

// The screen on top, when it is of the kind that a command works.
template <typename Screen> Screen& onTop(const ScriptCommand& command, HostContext& context, const char* kind)
{
    if (auto* screen = dynamic_cast<Screen*>(context.window.window().topViewController()))
        return *screen;
    throw ScriptError {command.name() + ": " + kind + " is not on top of the screen"};
}

UITableView& listTable(const ScriptCommand& command, HostContext& context)
{
    context.window.window().layoutIfNeeded();
    return *onTop<NotificationViewController>(command, context, "the list").scene->tableView;
}

IndexPath row(const ScriptCommand& command, const UITableView& table)
{
    const auto row = command.integer("row");
    if (row < 0 || row >= table.numberOfRows())
        throw ScriptError {command.name() + ": there is no row " + std::to_string(row) + ", the list has "
            + std::to_string(table.numberOfRows())};
    return {.row = row, .section = 0};
}

std::vector<double> numbers(const ScriptCommand& command, std::string_view key, std::size_t count)
{
    const auto list = command.list(key);
    std::vector<double> numbers;
    for (const auto& element : list) {
        if (const auto* integer = element.as<std::int64_t>())
            numbers.push_back(static_cast<double>(*integer));
        else if (const auto* number = element.as<double>())
            numbers.push_back(*number);
    }
    if (numbers.size() != count || list.size() != count)
        throw ScriptError {command.name() + ": the field \"" + std::string {key} + "\" must be a list of "
            + std::to_string(count) + " numbers"};
    return numbers;
}

double extent(const ScriptCommand& command, std::string_view key)
{
    constexpr double largest = 100'000;
    const auto number = command.number(key);
    if (!(number >= 1 && number <= largest))
        throw ScriptError {
            command.name() + ": the field \"" + std::string {key} + "\" must be between 1 and 100000 points"};
    return number;
}

} // namespace

void centre(const ScriptCommand& command, HostContext& context)
{
    const auto action = command.text("action");
    auto& screen = context.window.screen();
    const bool isOpen = screen.navigationController()->presentedViewController() != nullptr;
    if (action != "open" && action != "close")
        throw ScriptError {"centre: the field \"action\" must be \"open\" or \"close\""};
    if ((action == "open") == isOpen)
        throw ScriptError {std::string {"centre: the centre is "} + (isOpen ? "open already" : "not open")};
    if (!isOpen)
        screen.openCentre();
    else if (auto* list = dynamic_cast<NotificationViewController*>(context.window.window().topViewController()))
        list->navigationItem().leftBarButtonItem()->sendAction();
    else
        screen.dismiss(true);
}

void selectRow(const ScriptCommand& command, HostContext& context)
{
    auto& table = listTable(command, context);
    table.userSelectsRow(row(command, table));
}

void swipeDelete(const ScriptCommand& command, HostContext& context)
{
    auto& table = listTable(command, context);
    table.userDeletesRow(row(command, table));
}

void back(const ScriptCommand& command, HostContext& context)
{
    if (auto* browser = dynamic_cast<SFSafariViewController*>(context.window.window().topViewController()))
        browser->dismiss(true);
    else
        onTop<NotificationDetailViewController>(command, context, "the detail screen")
            .navigationController()
            ->popViewController(true);
}

void trash(const ScriptCommand& command, HostContext& context)
{
    onTop<NotificationDetailViewController>(command, context, "the detail screen")
        .navigationItem()
        .rightBarButtonItem()
        ->sendAction();
}

void answerAlert(const ScriptCommand& command, HostContext& context)
{
    auto& alert = onTop<UIAlertController>(command, context, "an alert");
    const auto title = command.text("button");
    const auto& actions = alert.actions();
    const auto chosen = std::ranges::find(actions, title, &UIAlertAction::title);
    if (chosen == actions.end())
        throw ScriptError {"alert: there is no button \"" + singleLine(title) + "\", but "
            + listed(std::views::transform(actions, &UIAlertAction::title))};
    alert.userChooses(static_cast<std::size_t>(chosen - actions.begin()));
}

void openLink(const ScriptCommand& command, HostContext& context)
{
    auto& button = *onTop<NotificationDetailViewController>(command, context, "the detail screen").scene->urlBtn;
    if (button.isHidden())
        throw ScriptError {"open-link: the link button is hidden"};
    button.sendActions(UIControlEvents::touchUpInside);
}

void scroll(const ScriptCommand& command, HostContext& context)
{
    auto& table = listTable(command, context);
    const auto offset = command.number("offset");
    if (!std::isfinite(offset))
        throw ScriptError {"scroll: the field \"offset\" must be a number of points"};
    table.setContentOffset(table.clampedOffset({.x = 0, .y = offset}));
}

void restyle(const ScriptCommand& command, HostContext&)
{
    static const std::map<std::string_view, UIColor CentralLayout::*> properties {
        {"navColor", &CentralLayout::navColor},
        {"titleNavColor", &CentralLayout::titleNavColor},
        {"buttonNavColor", &CentralLayout::buttonNavColor},
        {"backgroundListColor", &CentralLayout::backgroundListColor},
        {"backgroundCellColor", &CentralLayout::backgroundCellColor},
        {"fontTitleCellColor", &CentralLayout::fontTitleCellColor},
        {"fontSubtitleColor", &CentralLayout::fontSubtitleColor},
        {"bodyCellColor", &CentralLayout::bodyCellColor},
        {"unreadBodyCellColor", &CentralLayout::unreadBodyCellColor},
        {"unreadMarkerColor", &CentralLayout::unreadMarkerColor},
        {"openLinkTitleColor", &CentralLayout::openLinkTitleColor},
        {"openLinkButtonColor", &CentralLayout::openLinkButtonColor},
    };
    const auto name = command.text("property");
    const auto property = properties.find(name);
    if (property == properties.end())
        throw ScriptError {
            "restyle: there is no property \"" + singleLine(name) + "\", but " + listed(std::views::keys(properties))};
    const auto color = numbers(command, "rgba", 4);
    if (!std::ranges::all_of(color, [](double component) { return component >= 0 && component <= 1; }))
        throw ScriptError {"restyle: the field \"rgba\" must be four numbers from 0 to 1"};
    CentralLayout::default_().*property->second
        = {.red = color[0], .green = color[1], .blue = color[2], .alpha = color[3]};
}

void barBadge(const ScriptCommand& command, HostContext& context)
{
    static const std::map<std::string_view, void (*)(UIBarButtonItem&)> actions {
        {"add", &addBadgeCounter},
        {"update", &updateBadge},
        {"remove", &removeBadge},
    };
    const auto action = actions.find(command.text("action"));
    if (action == actions.end())
        throw ScriptError {"badge: the field \"action\" must be \"add\", \"update\" or \"remove\""};
    context.window.window().layoutIfNeeded();
    action->second(context.window.screen().bell());
}

void buttonBadge(const ScriptCommand& command, HostContext& context)
{
    auto& button = context.window.screen().button();
    button.badgeEdgeInsets.reset();
    if (command.has("insets")) {
        const auto insets = numbers(command, "insets", 4);
        button.badgeEdgeInsets = {.top = insets[0], .left = insets[1], .bottom = insets[2], .right = insets[3]};
    }
    button.setBadge(command.textOrNull("text"));
}

void resize(const ScriptCommand& command, HostContext& context)
{
    context.window.resize({.width = extent(command, "width"), .height = extent(command, "height")});
}

void screen(const ScriptCommand&, HostContext& context)
{
    context.window.window().layoutIfNeeded();
    context.answers.write(screenAnswer(context.window));
}

} // namespace kova::host
