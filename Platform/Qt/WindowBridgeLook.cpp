// The half of the bridge that reads how views look.

#include "Platform/Qt/ItemAnimation_p.h"
#include "Platform/Qt/QtFont_p.h"
#include "Platform/Qt/ViewLook_p.h"
#include "Platform/Qt/WindowBridge_p.h"
#include "Platform/UIKit/CAShapeLayer.h"
#include "Platform/UIKit/CATextLayer.h"
#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Platform/UIKit/UINavigationController.h"

#include <unistd.h>

#include <QAccessible>
#include <QCoreApplication>
#include <utility>

namespace kova {

namespace {

QUrl addressOf(const SFSafariViewController& browser)
{
    return QUrl {QString::fromStdString(browser.url().absoluteString())};
}

/// As root the engine ends the process, unless it has been told to do without its sandbox.
bool mayEngineRun()
{
    const auto isOff = QStringLiteral("--no-sandbox");
    return ::geteuid() != 0 || qEnvironmentVariableIntValue("QTWEBENGINE_DISABLE_SANDBOX") != 0
        || qEnvironmentVariable("QTWEBENGINE_CHROMIUM_FLAGS").contains(isOff)
        || QCoreApplication::arguments().contains(isOff);
}

// Says what became of a page that is not shown here; the user interface speaks Portuguese.
void showPlace(ViewItemContent& content, bool isElsewhere)
{
    constexpr double fontSize = 15;
    content.text = isElsewhere ? QStringLiteral("A página foi aberta no navegador.")
                               : QStringLiteral("Este endereço não pode ser aberto.");
    content.font = qtFont(UIFont::systemFont(fontSize));
    content.textColor = Qt::darkGray;
    content.role = QAccessible::StaticText;
    content.name = content.text;
    content.isIgnored = false;
}

} // namespace

/// Whether the engine shows the page here. It has a file in builds with Qt WebEngine only, and the engine's own module
/// may be missing still, or not be able to run.
bool WindowBridge::showsPage(const SFSafariViewController& browser)
{
    return ViewItem::isWebAddress(addressOf(browser)) && mayEngineRun()
        && component(QStringLiteral("WebPage")).isReady();
}

/// What draws the view when it is the page of a browser.
std::optional<QString> WindowBridge::pageComponentOf(const UIView& view)
{
    const auto* browser = dynamic_cast<const SFSafariViewController*>(m_window.topViewController());
    if (!browser || browser->pageView() != &view)
        return std::nullopt;
    return showsPage(*browser) ? QStringLiteral("WebPage") : QStringLiteral("SFSafariViewController");
}

void WindowBridge::showLook(ViewNode& node, UIView& view)
{
    auto& item = *node.item;
    item.setVisible(!view.isHidden());
    item.setClip(view.clipsToBounds() && !view.subviews().empty());
    item.setShape(shapeOf(view));
    auto content = contentOf(view);
    complete(content, view);
    item.setContent(content);

    const double alpha = alphaOf(view);
    const double duration = std::exchange(node.alphaDuration, 0);
    if (!node.isShown || (alpha != node.alpha && duration <= 0))
        item.setAlpha(alpha);
    else if (alpha != node.alpha)
        ItemAnimation {.property = "alpha", .from = item.alpha(), .to = alpha, .seconds = duration}.run(item);
    node.alpha = alpha;
    node.isShown = true;

    node.layers.clear();
    showLayers(node, view.layer(), {});
}

/// What only the window knows.
void WindowBridge::complete(ViewItemContent& content, const UIView& view)
{
    content.hasFocusRing = &view == m_ringed;
    content.isIgnored = content.isIgnored || !view.isDescendant(m_window.subviews().back().get());
    auto* const top = m_window.topViewController();
    if (&view == &m_window) {
        const auto* stack = top ? top->navigationController() : nullptr;
        content.isDraggable = stack && stack->viewControllers().size() > 1;
    } else if (dynamic_cast<const UITableView*>(&view)) {
        content.name = top ? QString::fromStdString(top->title().value_or("")) : QString {};
    } else if (const auto* alert = dynamic_cast<const UIAlertController*>(top); alert && alert->boxView() == &view) {
        content.role = QAccessible::AlertMessage;
        content.name = QString::fromStdString(alert->title().value_or(""));
        content.description = QString::fromStdString(alert->message().value_or(""));
        content.isIgnored = false;
    } else if (const auto* browser = dynamic_cast<const SFSafariViewController*>(top);
        browser && browser->pageView() == &view) {
        content.page = addressOf(*browser);
        if (!showsPage(*browser))
            showPlace(content, m_isPageElsewhere);
    }
}

void WindowBridge::showLayers(ViewNode& node, const CALayer& layer, QPointF origin)
{
    for (const auto& sublayer : layer.sublayers()) {
        const auto& frame = sublayer->frame();
        QRectF place {origin.x() + frame.minX(), origin.y() + frame.minY(), frame.size.width, frame.size.height};
        const auto within = place.topLeft();
        ViewItemShape shape {.fill = qtColor(sublayer->backgroundColor().value_or(UIColor::clearColor())),
            .cornerRadius = sublayer->cornerRadius()};
        ViewItemContent content;
        QString component = QStringLiteral("CALayer");
        if (const auto* drawn = dynamic_cast<const CAShapeLayer*>(sublayer.get()); drawn && drawn->path()) {
            component = QStringLiteral("CAShapeLayer");
            const auto& oval = drawn->path()->ovalIn;
            place = QRectF {oval.minX(), oval.minY(), oval.size.width, oval.size.height}.translated(within);
            shape = {.fill = qtColor(drawn->fillColor()), .isOval = true};
            if (drawn->strokeColor()) {
                shape.stroke = qtColor(*drawn->strokeColor());
                place.adjust(-outlineMargin, -outlineMargin, outlineMargin, outlineMargin);
            }
        } else if (const auto* text = dynamic_cast<const CATextLayer*>(sublayer.get())) {
            component = QStringLiteral("CATextLayer");
            content.text = QString::fromStdString(text->string());
            content.font = qtFont(UIFont::systemFont(text->fontSize()));
            content.textColor = qtColor(text->foregroundColor());
            content.alignment = static_cast<int>(qtAlignment(text->alignmentMode()));
        }
        auto item = makeItem(component);
        item->setShape(shape);
        item->setContent(content);
        item->setParentItem(node.item.get());
        item->setFrame(place);
        node.layers.push_back(std::move(item));
        showLayers(node, *sublayer, within);
    }
}

} // namespace kova
