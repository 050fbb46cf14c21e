#include "Host/ScreenAnswer.h"

#include "KovaSDK/Extensions/UIView.h"
#include "KovaSDK/Push/Central/Controller/NotificationDetailViewController.h"
#include "KovaSDK/Push/Central/Controller/NotificationViewController.h"
#include "KovaSDK/Push/Central/View/NotificationViewCell.h"
#include "Platform/UIKit/CAShapeLayer.h"
#include "Platform/UIKit/CATextLayer.h"
#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Platform/UIKit/UINavigationController.h"

#include <array>

namespace kova::host {

namespace {

Value array(std::initializer_list<double> numbers)
{
    Value::Array list;
    for (const auto number : numbers)
        list.append(number);
    return list;
}

Value frame(const CGRect& rect)
{
    return array({rect.origin.x, rect.origin.y, rect.size.width, rect.size.height});
}

Value rgba(const std::optional<UIColor>& color)
{
    return color ? array({color->red, color->green, color->blue, color->alpha}) : Value {};
}

Value text(const std::optional<std::string>& content)
{
    return content ? Value {*content} : Value {};
}

Value font(const UIFont& font)
{
    return Value::Dictionary {
        {"size", font.pointSize},
        {"weight", font.weight == UIFontWeight::Bold ? "bold" : "regular"},
    };
}

const char* imageState(UIImageView& view)
{
    if (view.isHidden())
        return "hidden";
    if (view.viewWithTag(busyOverlayTag))
        return "busy";
    return view.image() && view.image()->pixels() ? "image" : "empty";
}

Value row(NotificationViewCell& cell, IndexPath path)
{
    return Value::Dictionary {
        {"index", path.row},
        {"title", text(cell.title->text())},
        {"body", text(cell.body->text())},
        {"titleFont", font(cell.title->font())},
        {"bodyFont", font(cell.body->font())},
        {"colors",
            Value::Dictionary {
                {"cell", rgba(cell.backgroundColor())},
                {"title", rgba(cell.title->textColor())},
                {"body", rgba(cell.body->textColor())},
                {"marker", rgba(cell.unreadView->backgroundColor())},
            }},
        {"markerHidden", cell.unreadView->isHidden()},
        {"thumbnail", imageState(*cell.img)},
        {"frames",
            Value::Dictionary {
                {"cell", frame(cell.frame())},
                {"title", frame(cell.title->frame())},
                {"body", frame(cell.body->frame())},
                {"thumbnail", frame(cell.img->frame())},
                {"marker", frame(cell.unreadView->frame())},
            }},
    };
}

void describe(NotificationViewController& list, Value::Dictionary& answer)
{
    const auto& table = *list.scene->tableView;
    Value::Array rows;
    for (const auto path : table.indexPathsForVisibleRows()) {
        const auto cell = std::dynamic_pointer_cast<NotificationViewCell>(table.cellForRow(path));
        rows.append(cell ? row(*cell, path) : Value {Value::Dictionary {{"index", path.row}}});
    }
    answer.insert({
        {"screen", "list"},
        {"title", text(list.title())},
        {"rowCount", table.numberOfRows()},
        {"offset", table.contentOffset().y},
        {"rows", rows},
    });
    if (const auto* navigation = list.navigationController()) {
        const auto& bar = navigation->navigationBar();
        answer.emplace("bar",
            Value::Dictionary {
                {"tint", rgba(bar.tintColor())},
                {"background", rgba(bar.barTintColor())},
                {"title", rgba(bar.titleTextForegroundColor())},
                {"translucent", bar.isTranslucent()},
                {"stackTitle", text(navigation->title())},
                {"lightStatusBar", list.preferredStatusBarStyle() == UIStatusBarStyle::lightContent},
            });
    }
}

void describe(NotificationDetailViewController& detail, Value::Dictionary& answer)
{
    auto& scene = *detail.scene;
    const auto label = [](const UILabel& shown) {
        return Value::Dictionary {
            {"text", text(shown.text())},
            {"font", font(shown.font())},
            {"lines", shown.numberOfLines()},
            {"color", rgba(shown.textColor())},
            {"frame", frame(shown.frame())},
        };
    };
    answer.insert({
        {"screen", "detail"},
        {"title", text(detail.title())},
        {"index", detail.index},
        {"texts",
            Value::Dictionary {
                {"title", label(*scene.title)},
                {"subtitle", label(*scene.subtitle)},
                {"body", label(*scene.body)},
            }},
        {"image", Value::Dictionary {{"state", imageState(*scene.img)}, {"frame", frame(scene.img->frame())}}},
        {"button",
            Value::Dictionary {
                {"visible", !scene.urlBtn->isHidden()},
                {"title", text(scene.urlBtn->title())},
                {"color", rgba(scene.urlBtn->titleColor())},
                {"background", rgba(scene.urlBtn->backgroundColor())},
                {"frame", frame(scene.urlBtn->frame())},
            }},
        {"background", rgba(scene.backgroundColor())},
        {"frame", frame(scene.frame())},
    });
}

void describe(const UIAlertController& alert, Value::Dictionary& answer)
{
    static constexpr std::array styles {"default", "cancel", "destructive"};
    Value::Array actions;
    for (const auto& action : alert.actions())
        actions.append(
            Value::Dictionary {{"title", action.title}, {"style", styles.at(static_cast<std::size_t>(action.style))}});
    answer.insert({
        {"screen", "alert"},
        {"title", text(alert.title())},
        {"message", text(alert.message())},
        {"actions", actions},
    });
}

Value barBadge(const UIBarButtonItem& bell)
{
    const auto view = std::dynamic_pointer_cast<UIView>(bell.value("view"));
    if (!view)
        return {};
    for (const auto& layer : view->layer().sublayers()) {
        const auto* circle = dynamic_cast<CAShapeLayer*>(layer.get());
        const auto* number = circle && !circle->sublayers().empty()
            ? dynamic_cast<CATextLayer*>(circle->sublayers().front().get())
            : nullptr;
        if (number && circle->path())
            return Value::Dictionary {
                {"text", number->string()},
                {"frame", frame(circle->path()->ovalIn)},
                {"textFrame", frame(number->frame())},
                {"fill", rgba(circle->fillColor())},
                {"stroke", rgba(circle->strokeColor())},
                {"color", rgba(number->foregroundColor())},
                {"fontSize", number->fontSize()},
                {"hidden", false},
            };
    }
    return {};
}

Value buttonBadge(const UILabel& badge)
{
    return Value::Dictionary {
        {"text", text(badge.text())},
        {"frame", frame(badge.frame())},
        {"background", rgba(badge.backgroundColor())},
        {"color", rgba(badge.textColor())},
        {"font", font(badge.font())},
        {"cornerRadius", badge.layer().cornerRadius()},
        {"hidden", badge.isHidden()},
    };
}

} // namespace

Value::Dictionary screenAnswer(HostWindow& host)
{
    auto& screen = host.screen();
    const auto size = host.window().frame().size;
    Value::Dictionary answer {
        {"size", array({size.width, size.height})},
        {"badges",
            Value::Dictionary {
                {"bar", barBadge(screen.bell())},
                {"button", buttonBadge(*screen.button().badgeLabel)},
            }},
    };
    auto* top = host.window().topViewController();
    if (auto* list = dynamic_cast<NotificationViewController*>(top))
        describe(*list, answer);
    else if (auto* detail = dynamic_cast<NotificationDetailViewController*>(top))
        describe(*detail, answer);
    else if (const auto* alert = dynamic_cast<UIAlertController*>(top))
        describe(*alert, answer);
    else if (const auto* browser = dynamic_cast<SFSafariViewController*>(top))
        answer.insert({{"screen", "browser"}, {"url", browser->url().absoluteString()}});
    else
        answer.insert({{"screen", "host"}, {"title", text(screen.title())}});
    return answer;
}

} // namespace kova::host
