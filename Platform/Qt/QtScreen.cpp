#include "Platform/Qt/QtScreen.h"

#include "Platform/Qt/ScreenItem_p.h"

#include <QEvent>
#include <QPointer>
#include <QPropertyAnimation>
#include <QQuickWidget>
#include <QWidget>
#include <algorithm>

namespace kova {

namespace {

/// Keeps a widget as large as the one it lies in.
class FillParent : public QObject {
public:
    explicit FillParent(QWidget& widget)
        : QObject(&widget)
        , m_widget(widget)
    {
        widget.parentWidget()->installEventFilter(this);
        widget.setGeometry(widget.parentWidget()->rect());
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Resize)
            m_widget.setGeometry(m_widget.parentWidget()->rect());
        return QObject::eventFilter(watched, event);
    }

private:
    QWidget& m_widget;
};

bool isMoving(const QQuickItem& item)
{
    if (!item.isVisible())
        return false;
    const auto isRunning
        = [](const QPropertyAnimation* animation) { return animation->state() == QPropertyAnimation::Running; };
    if (std::ranges::any_of(item.findChildren<QPropertyAnimation*>(Qt::FindDirectChildrenOnly), isRunning)
        || item.property("moving").toBool())
        return true;
    return std::ranges::any_of(item.childItems(), [](const QQuickItem* child) { return isMoving(*child); });
}

} // namespace

/// What was put into the host's area; either may have gone with the area.
class QtScreen::Place {
public:
    ~Place()
    {
        delete item;
        delete widget;
    }

    QPointer<ScreenItem> item;
    QPointer<QQuickWidget> widget;
};

QtScreen::QtScreen(QQuickItem& area)
    : m_presenter(std::make_shared<UIViewController>())
    , m_place(std::make_unique<Place>())
{
    m_place->item = new ScreenItem {area, m_presenter, {}};
}

QtScreen::QtScreen(QWidget& area)
    : m_presenter(std::make_shared<UIViewController>())
    , m_place(std::make_unique<Place>())
{
    auto* const widget = new QQuickWidget {&area};
    m_place->widget = widget;
    // The host's widgets stay visible beneath what does not cover them.
    widget->setAttribute(Qt::WA_AlwaysStackOnTop);
    widget->setAttribute(Qt::WA_TranslucentBackground);
    widget->setClearColor(Qt::transparent);
    widget->setFocusPolicy(Qt::StrongFocus);
    widget->hide();
    new FillParent {*widget};
    // A widget lets no input through, so it is there only while there is something to see.
    const auto show = [widget](bool covers) {
        widget->setVisible(covers);
        if (covers) {
            widget->raise();
            widget->setFocus();
        }
    };
    widget->setResizeMode(QQuickWidget::SizeRootObjectToView);
    auto* const root = new QQuickItem;
    widget->setContent({}, nullptr, root);
    m_place->item = new ScreenItem {*root, m_presenter, show};
}

QtScreen::~QtScreen() = default;

bool QtScreen::isAtRest() const
{
    return !m_place->item || !isMoving(*m_place->item);
}

} // namespace kova
