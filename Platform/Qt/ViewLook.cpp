#include "Platform/Qt/QtFont_p.h"
#include "Platform/Qt/ViewLook_p.h"
#include "Platform/Qt/VisibleText_p.h"
#include "Platform/UIKit/UIActivityIndicatorView.h"
#include "Platform/UIKit/UIButton.h"
#include "Platform/UIKit/UIImageView.h"
#include "Platform/UIKit/UINavigationBar.h"
#include "Platform/UIKit/UITableView.h"
#include "Platform/UIKit/UIWindow.h"

#include <QAccessible>
#include <QFontMetricsF>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <limits>

namespace kova {

namespace {

// The platform's own look, where the model leaves it to the platform.
constexpr UIColor barColor = UIColor::withWhite(0.97, 1);
constexpr UIColor translucentBarColor = UIColor::withWhite(0.975, 0.94);
constexpr double heldDownAlpha = 0.3;
constexpr double deletePadding = 24;
constexpr double deleteFontSize = 17;
// The user interface speaks Portuguese.
constexpr const char* deleteTitle = "Apagar";
constexpr const char* busyName = "Carregando";

QString qtString(const std::string& text)
{
    return QString::fromStdString(text);
}

QString qtString(const std::optional<std::string>& text)
{
    return text ? qtString(*text) : QString {};
}

/// `front` seen on `back`.
UIColor blended(const UIColor& front, const UIColor& back)
{
    const double alpha = front.alpha + back.alpha * (1 - front.alpha);
    const auto mix = [&](double in, double behind) {
        return alpha > 0 ? (in * front.alpha + behind * back.alpha * (1 - front.alpha)) / alpha : 0;
    };
    return {mix(front.red, back.red), mix(front.green, back.green), mix(front.blue, back.blue), alpha};
}

/// A can with a lid and its handle, in a square of 24 points.
QPainterPath trashCan()
{
    QPainterPath path;
    path.moveTo(4, 6);
    path.lineTo(20, 6);
    path.moveTo(9, 6);
    path.lineTo(9, 4.5);
    path.quadTo(9, 3, 10.5, 3);
    path.lineTo(13.5, 3);
    path.quadTo(15, 3, 15, 4.5);
    path.lineTo(15, 6);
    path.moveTo(5.75, 6);
    path.lineTo(6.6, 19.2);
    path.quadTo(6.75, 21, 8.5, 21);
    path.lineTo(15.5, 21);
    path.quadTo(17.25, 21, 17.4, 19.2);
    path.lineTo(18.25, 6);
    for (const double x : {9.5, 12.0, 14.5}) {
        path.moveTo(x, 9.5);
        path.lineTo(x + (x - 12) * -0.1, 17.5);
    }
    return path;
}

std::optional<ViewItemFigure> figureOf(const UIView& view)
{
    const auto* button = dynamic_cast<const UIButton*>(&view);
    if (!button || button->symbol() != UIButtonSymbol::trash)
        return std::nullopt;
    auto color = button->titleColor();
    if (button->isHighlighted())
        color.alpha *= heldDownAlpha;
    const auto frame = button->symbolFrame();
    return ViewItemFigure {.lines = trashCan(),
        .place = {frame.minX(), frame.minY(), frame.size.width, frame.size.height},
        .color = qtColor(color)};
}

std::optional<UIColor> fillOf(const UIView& view)
{
    if (const auto* bar = dynamic_cast<const UINavigationBar*>(&view)) {
        const auto& material = bar->isTranslucent() ? translucentBarColor : barColor;
        return blended(bar->barTintColor().value_or(UIColor::clearColor()), material);
    }
    if (view.backgroundColor())
        return view.backgroundColor();
    if (dynamic_cast<const UITableView*>(&view))
        return UIColor::whiteColor();
    // A stack of screens hides what it is presented over.
    const bool hasBar = std::ranges::any_of(
        view.subviews(), [](const auto& child) { return dynamic_cast<const UINavigationBar*>(child.get()); });
    return hasBar ? std::optional {UIColor::whiteColor()} : std::nullopt;
}

/// A view that covers one with rounded corners which clips it has the same corners.
double cornerRadiusOf(const UIView& view)
{
    const auto* above = view.superview();
    const double own = view.layer().cornerRadius();
    if (own > 0 || !above || !above->clipsToBounds() || view.frame() != above->bounds())
        return own;
    return above->layer().cornerRadius();
}

/// The texts of the labels that are seen in a view, in their order.
void collectTexts(const UIView& view, QStringList& texts)
{
    for (const auto& child : view.subviews()) {
        if (child->isHidden())
            continue;
        const auto* label = dynamic_cast<const UILabel*>(child.get());
        if (label && label->text() && !label->text()->empty())
            texts.append(qtString(*label->text()));
        collectTexts(*child, texts);
    }
}

QString nameOf(const UIView& view)
{
    if (view.accessibilityLabel())
        return qtString(*view.accessibilityLabel());
    if (const auto* label = dynamic_cast<const UILabel*>(&view))
        return qtString(label->text());
    if (const auto* bar = dynamic_cast<const UINavigationBar*>(&view))
        return qtString(bar->shownTitle());
    if (dynamic_cast<const UITableViewCell*>(&view) || dynamic_cast<const UIControl*>(&view)) {
        QStringList texts;
        collectTexts(view, texts);
        return texts.join(QLatin1String {", "});
    }
    return {};
}

QAccessible::Role roleOf(const UIView& view)
{
    if (dynamic_cast<const UITableViewCell*>(&view))
        return QAccessible::ListItem;
    if (dynamic_cast<const UITableView*>(&view))
        return QAccessible::List;
    if (dynamic_cast<const UINavigationBar*>(&view))
        return QAccessible::ToolBar;
    if (dynamic_cast<const UIControl*>(&view))
        return QAccessible::Button;
    if (dynamic_cast<const UILabel*>(&view))
        return dynamic_cast<const UINavigationBar*>(view.superview()) ? QAccessible::Heading : QAccessible::StaticText;
    if (dynamic_cast<const UIImageView*>(&view))
        return QAccessible::Graphic;
    if (dynamic_cast<const UIActivityIndicatorView*>(&view))
        return QAccessible::ProgressBar;
    return QAccessible::NoRole;
}

} // namespace

Qt::Alignment qtAlignment(NSTextAlignment alignment)
{
    switch (alignment) {
    case NSTextAlignment::center:
        return Qt::AlignHCenter;
    case NSTextAlignment::right:
        return Qt::AlignRight;
    case NSTextAlignment::left:
        break;
    }
    return Qt::AlignLeft;
}

QString componentOf(const UIView& view)
{
    if (dynamic_cast<const UITableView*>(&view))
        return QStringLiteral("UITableView");
    if (dynamic_cast<const UIScrollView*>(&view))
        return QStringLiteral("UIScrollView");
    if (dynamic_cast<const UITableViewCell*>(&view))
        return QStringLiteral("UITableViewCell");
    if (dynamic_cast<const UINavigationBar*>(&view))
        return QStringLiteral("UINavigationBar");
    if (dynamic_cast<const UIControl*>(&view))
        return QStringLiteral("UIButton");
    if (dynamic_cast<const UILabel*>(&view))
        return QStringLiteral("UILabel");
    if (dynamic_cast<const UIImageView*>(&view))
        return QStringLiteral("UIImageView");
    if (dynamic_cast<const UIActivityIndicatorView*>(&view))
        return QStringLiteral("UIActivityIndicatorView");
    if (dynamic_cast<const UIWindow*>(&view))
        return QStringLiteral("UIWindow");
    return QStringLiteral("UIView");
}

QColor qtColor(const UIColor& color)
{
    const auto component = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
    return QColor::fromRgbF(
        component(color.red), component(color.green), component(color.blue), component(color.alpha));
}

ViewItemShape shapeOf(const UIView& view)
{
    ViewItemShape shape {
        .fill = qtColor(fillOf(view).value_or(UIColor::clearColor())), .cornerRadius = cornerRadiusOf(view)};
    const auto* imageView = dynamic_cast<const UIImageView*>(&view);
    if (imageView && imageView->image() && imageView->image()->pixels())
        shape.image = std::static_pointer_cast<const QImage>(imageView->image()->pixels());
    shape.figure = figureOf(view);
    switch (view.contentMode()) {
    case UIViewContentMode::scaleToFill:
        shape.imageMode = Qt::IgnoreAspectRatio;
        break;
    case UIViewContentMode::scaleAspectFit:
        shape.imageMode = Qt::KeepAspectRatio;
        break;
    case UIViewContentMode::scaleAspectFill:
        shape.imageMode = Qt::KeepAspectRatioByExpanding;
        break;
    }
    return shape;
}

ViewItemContent contentOf(const UIView& view)
{
    ViewItemContent content;
    const auto role = roleOf(view);
    content.role = role;
    // What is told of a row or a button is told there, not again for each of its parts.
    const bool isPart = speakerOf(view) != nullptr;
    content.name = isPart ? QString {} : nameOf(view);
    content.description = qtString(view.accessibilityValue());
    content.isIgnored = role == QAccessible::NoRole || isPart
        || (content.name.isEmpty() && role != QAccessible::List && role != QAccessible::Button);

    if (const auto* label = dynamic_cast<const UILabel*>(&view)) {
        content.text = label->text()
            ? visibleText(*label->text(), label->font(), label->bounds().size.width, label->numberOfLines())
            : QString {};
        content.font = qtFont(label->font());
        content.isTextPainted = PaintedText::isFor(content.text, content.font);
        content.textColor = qtColor(label->textColor());
        content.alignment = static_cast<int>(qtAlignment(label->textAlignment()));
        content.maximumLineCount
            = label->numberOfLines() > 0 ? label->numberOfLines() : std::numeric_limits<int>::max();
    } else if (const auto* scrollView = dynamic_cast<const UIScrollView*>(&view)) {
        content.contentHeight = scrollView->contentSize().height;
        content.topInset = scrollView->adjustedContentInset().top;
        content.bottomInset = scrollView->adjustedContentInset().bottom;
    } else if (dynamic_cast<const UITableViewCell*>(&view)) {
        content.isDraggable = true;
        content.deleteTitle = QLatin1String {deleteTitle};
        content.font = qtFont(UIFont::systemFont(deleteFontSize));
        content.deleteWidth
            = std::ceil(QFontMetricsF {content.font}.horizontalAdvance(content.deleteTitle)) + 2 * deletePadding;
    } else if (const auto* indicator = dynamic_cast<const UIActivityIndicatorView*>(&view)) {
        content.isAnimating = indicator->isAnimating();
        content.isIgnored = !indicator->isAnimating();
        content.name = QLatin1String {busyName};
        const bool isGray = indicator->style() == UIActivityIndicatorViewStyle::gray;
        content.textColor = isGray ? Qt::gray : Qt::white;
    }
    return content;
}

double alphaOf(const UIView& view)
{
    const auto* button = dynamic_cast<const UIButton*>(view.superview());
    const bool isHeldDown = button && button->isHighlighted() && &button->titleLabel() == &view;
    return view.alpha() * (isHeldDown ? heldDownAlpha : 1);
}

UIView* speakerOf(const UIView& view)
{
    for (auto* above = view.superview(); above; above = above->superview()) {
        if (dynamic_cast<const UITableViewCell*>(above) || dynamic_cast<const UIControl*>(above))
            return above;
    }
    return nullptr;
}

} // namespace kova
