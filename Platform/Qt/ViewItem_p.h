// One view of the toolkit model on screen: the item that QML files build upon.
//
// It draws what lies beneath a view's content itself (colour, rounded corners, ovals, pictures) and texts of many
// emoji, and offers the rest as properties to which the QML file of the view's kind binds. The tree of items is kept by
// WindowBridge, which also hears here what the user does. GUI thread only; shapes are painted on the render thread,
// while the GUI thread waits.

#pragma once

#include "Platform/Qt/PaintedText_p.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QPainterPath>
#include <QQuickItem>
#include <memory>
#include <optional>

namespace kova {

class ViewItem;

enum class DragPhase { Began, Moved, Ended, Cancelled };

/// Hears what the user does to an item.
class ViewItemListener {
public:
    virtual ~ViewItemListener() = default;

    /// At a point of the item, or by the means of assistive technology.
    virtual void itemTapped(ViewItem& item, std::optional<QPointF> at) = 0;
    virtual void itemPressed(ViewItem& item, bool isPressed) = 0;
    virtual void itemScrolled(ViewItem& item, double contentY) = 0;
    /// A horizontal drag, `distance` points from where it began. Ends as Ended whatever ended it.
    virtual void itemDragged(ViewItem& item, DragPhase phase, double distance) = 0;
    /// The button beside a row that was dragged aside.
    virtual void itemDeleteTapped(ViewItem& item) = 0;
    /// A page of the in-app browser has led to another.
    virtual void itemWentTo(ViewItem& item, const QUrl& url) = 0;
    /// A key that leaves the screen, from within a page. False when there is nothing to leave.
    virtual bool backPressed() = 0;
};

/// How much larger an item with an outline is than its shape, on each side, in points.
inline constexpr double outlineMargin = 1;

/// A figure in lines of one colour, in a square.
struct ViewItemFigure {
    QPainterPath lines {};
    QRectF place {};
    QColor color = Qt::black;

    friend bool operator==(const ViewItemFigure&, const ViewItemFigure&) = default;
};

/// What the item paints beneath its content.
struct ViewItemShape {
    QColor fill = Qt::transparent;
    QColor stroke = Qt::transparent;
    double cornerRadius = 0;
    /// The oval inscribed in the item instead of its rectangle.
    bool isOval = false;
    std::shared_ptr<const QImage> image {};
    Qt::AspectRatioMode imageMode = Qt::KeepAspectRatio;
    std::optional<ViewItemFigure> figure {};

    friend bool operator==(const ViewItemShape&, const ViewItemShape&) = default;
};

/// What the QML file of a kind of view draws, or tells assistive technology.
struct ViewItemContent {
    QString text {};
    /// The item itself paints the text.
    bool isTextPainted = false;
    QFont font {};
    QColor textColor = Qt::black;
    int alignment = Qt::AlignLeft;
    int maximumLineCount = 1;
    bool isAnimating = false;
    /// Whether a horizontal drag means something: a row that can be deleted, a window that can go back.
    bool isDraggable = false;
    /// Shows that the keyboard's input goes here.
    bool hasFocusRing = false;
    double contentHeight = 0;
    double topInset = 0;
    double bottomInset = 0;
    QString deleteTitle {};
    double deleteWidth = 0;
    QUrl page {};
    int role = 0;
    QString name {};
    QString description {};
    bool isIgnored = true;

    friend bool operator==(const ViewItemContent&, const ViewItemContent&) = default;
};

class ViewItem : public QQuickItem {
    Q_OBJECT
    // Where subviews go, when that is not the item itself. Set by the QML file.
    Q_PROPERTY(QQuickItem* container MEMBER m_container NOTIFY containerChanged)
    // Told after the rest, so that a long text is laid out once, in its own font. Empty if the item itself paints it.
    Q_PROPERTY(QString text READ text NOTIFY textChanged)
    Q_PROPERTY(QFont font READ font NOTIFY contentChanged)
    Q_PROPERTY(QColor textColor READ textColor NOTIFY contentChanged)
    Q_PROPERTY(int alignment READ alignment NOTIFY contentChanged)
    Q_PROPERTY(int maximumLineCount READ maximumLineCount NOTIFY contentChanged)
    Q_PROPERTY(bool animating READ isAnimating NOTIFY contentChanged)
    Q_PROPERTY(bool draggable READ isDraggable NOTIFY contentChanged)
    Q_PROPERTY(bool focusRing READ hasFocusRing NOTIFY contentChanged)
    Q_PROPERTY(double contentHeight READ contentHeight NOTIFY contentChanged)
    Q_PROPERTY(double topInset READ topInset NOTIFY contentChanged)
    Q_PROPERTY(double bottomInset READ bottomInset NOTIFY contentChanged)
    Q_PROPERTY(QString deleteTitle READ deleteTitle NOTIFY contentChanged)
    Q_PROPERTY(double deleteWidth READ deleteWidth NOTIFY contentChanged)
    Q_PROPERTY(QUrl page READ page NOTIFY contentChanged)
    Q_PROPERTY(int role READ role NOTIFY contentChanged)
    Q_PROPERTY(QString name READ name NOTIFY contentChanged)
    Q_PROPERTY(QString description READ description NOTIFY contentChanged)
    Q_PROPERTY(bool ignored READ isIgnored NOTIFY contentChanged)
    // What is animated: they come on top of the model's frame and alpha.
    Q_PROPERTY(QPointF shift READ shift WRITE setShift)
    Q_PROPERTY(double swipe READ swipe WRITE setSwipe NOTIFY swipeChanged)
    Q_PROPERTY(double fade READ fade WRITE setFade)
    Q_PROPERTY(double alpha READ alpha WRITE setAlpha)

public:
    explicit ViewItem(QQuickItem* parent = nullptr);

    /// None while the item stands for a view that has left.
    void setListener(ViewItemListener* listener) { m_listener = listener; }

    [[nodiscard]] QQuickItem* container() { return m_container ? m_container : this; }

    /// In the coordinates of the container it lies in. The origin is brought to a whole pixel.
    void setFrame(const QRectF& frame);
    [[nodiscard]] const QRectF& frame() const { return m_frame; }
    void setShape(const ViewItemShape& shape);
    void setContent(const ViewItemContent& content);
    [[nodiscard]] const ViewItemContent& content() const { return m_content; }
    void setScrollPosition(double contentY) { emit scrollRequested(contentY); }
    /// What a hand does from now on is no scrolling, though it began as such.
    void takeHand() { emit handTaken(); }
    void stopFlick() { emit flickStopped(); }

    [[nodiscard]] QString text() const { return m_content.isTextPainted ? QString {} : m_content.text; }
    [[nodiscard]] const QFont& font() const { return m_content.font; }
    [[nodiscard]] const QColor& textColor() const { return m_content.textColor; }
    [[nodiscard]] int alignment() const { return m_content.alignment; }
    [[nodiscard]] int maximumLineCount() const { return m_content.maximumLineCount; }
    [[nodiscard]] bool isAnimating() const { return m_content.isAnimating; }
    [[nodiscard]] bool isDraggable() const { return m_content.isDraggable; }
    [[nodiscard]] bool hasFocusRing() const { return m_content.hasFocusRing; }
    [[nodiscard]] double contentHeight() const { return m_content.contentHeight; }
    [[nodiscard]] double topInset() const { return m_content.topInset; }
    [[nodiscard]] double bottomInset() const { return m_content.bottomInset; }
    [[nodiscard]] const QString& deleteTitle() const { return m_content.deleteTitle; }
    [[nodiscard]] double deleteWidth() const { return m_content.deleteWidth; }
    [[nodiscard]] const QUrl& page() const { return m_content.page; }
    [[nodiscard]] int role() const { return m_content.role; }
    [[nodiscard]] const QString& name() const { return m_content.name; }
    [[nodiscard]] const QString& description() const { return m_content.description; }
    [[nodiscard]] bool isIgnored() const { return m_content.isIgnored; }

    [[nodiscard]] QPointF shift() const { return m_shift; }
    void setShift(QPointF shift);
    /// How far a row stands aside, in points; negative to the left, where it uncovers its delete button.
    [[nodiscard]] double swipe() const { return m_swipe; }
    void setSwipe(double swipe);
    [[nodiscard]] double fade() const { return m_fade; }
    void setFade(double fade);
    [[nodiscard]] double alpha() const { return m_alpha; }
    void setAlpha(double alpha);

    // For the QML files: what the user does.
    Q_INVOKABLE void tapped(QPointF at);
    Q_INVOKABLE void activated();
    Q_INVOKABLE void pressed(bool isPressed);
    Q_INVOKABLE void scrolled(double contentY);
    Q_INVOKABLE void dragBegan();
    Q_INVOKABLE void dragMoved(double distance);
    Q_INVOKABLE void dragEnded();
    Q_INVOKABLE void deleteTapped();
    Q_INVOKABLE void wentTo(const QUrl& url);
    Q_INVOKABLE bool backPressed();
    /// http and https only.
    Q_INVOKABLE [[nodiscard]] static bool isWebAddress(const QUrl& url);

signals:
    void containerChanged();
    void contentChanged();
    void textChanged();
    void swipeChanged();
    void scrollRequested(double contentY);
    void handTaken();
    void flickStopped();

protected:
    void updatePolish() override;
    QSGNode* updatePaintNode(QSGNode* before, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& geometry, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    void place();
    void setTextPaintDue();
    [[nodiscard]] double pixelRatio() const;
    /// Pixels a point, as they are painted here.
    [[nodiscard]] double paintRatio() const;
    [[nodiscard]] QImage paint(QSize pixels, double ratio) const;

    ViewItemListener* m_listener = nullptr;
    QQuickItem* m_container = nullptr;
    QRectF m_frame {};
    QPointF m_shift {};
    double m_swipe = 0;
    double m_fade = 1;
    double m_alpha = 1;
    ViewItemShape m_shape {};
    ViewItemContent m_content {};
    /// Null unless the item paints its text.
    std::unique_ptr<PaintedText> m_paintedText {};
    bool m_isTextPaintDue = false;
    /// The picture in the scene graph is out of date.
    bool m_isPaintNeeded = true;
    bool m_isNodeTextured = false;
};

} // namespace kova
