#include "Tests/Qt/CentreWindow.h"

#include "KovaSDK/Push/Central/CentralCoordinator.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QPointingDevice>
#include <QQuickItem>
#include <QTest>
#include <QTouchEvent>
#include <cstdlib>
#include <utility>

namespace kova::tests {

namespace {

constexpr int patienceMs = 5000;
/// A hand takes its time: how fast it moved decides how far a list goes on.
constexpr int stepMs = 5;

QPointingDevice* finger()
{
    static auto* const device = QTest::createTouchDevice();
    return device;
}

QQuickItem* drawnTextIn(QQuickItem& item, const QString& text)
{
    if (item.inherits("QQuickText") && item.isEnabled() && item.property("text").toString() == text)
        return &item;
    for (auto* child : item.childItems()) {
        if (auto* found = drawnTextIn(*child, text))
            return found;
    }
    return nullptr;
}

} // namespace

bool eventually(const std::function<bool()>& condition)
{
    return QTest::qWaitFor(condition, patienceMs);
}

CentreWindow::CentreWindow(QSize size)
{
    window.resize(size);
    window.setColor(QColor {0x20, 0x60, 0x40});
    screen = std::make_unique<QtScreen>(*window.contentItem());
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
}

CentreWindow::~CentreWindow() = default;

void CentreWindow::open(const std::vector<KovaNotification>& inbox)
{
    NotificationStorage::setBuffer(inbox);
    CentralCoordinator {screen->presenter()}.start();
    EXPECT_TRUE(settle());
}

UIWindow& CentreWindow::model() const
{
    return *screen->presenter()->view()->window();
}

UINavigationController& CentreWindow::stack() const
{
    return *top().navigationController();
}

UITableView& CentreWindow::table() const
{
    return *find<UITableView>(*stack().viewControllers().front()->view());
}

UIButton* CentreWindow::button(const std::string& title) const
{
    return find<UIButton>(*model().subviews().back(), [&](const UIButton& button) { return button.title() == title; });
}

QRectF CentreWindow::place(const UIView& view) const
{
    const auto rect = view.convert(view.bounds(), nullptr);
    return {rect.minX(), rect.minY(), rect.size.width, rect.size.height};
}

QRectF CentreWindow::placeOfRow(std::int64_t row) const
{
    const auto rect = table().convert(table().rectForRow({.row = row}), nullptr);
    return {rect.minX(), rect.minY(), rect.size.width, rect.size.height};
}

QQuickItem* CentreWindow::drawnText(const QString& text) const
{
    return drawnTextIn(*window.contentItem(), text);
}

void CentreWindow::tap(QPointF at)
{
    QTest::mouseClick(&window, Qt::LeftButton, {}, at.toPoint());
    EXPECT_TRUE(settle());
}

void CentreWindow::drag(QPointF from, QPointF to, Hand hand)
{
    press(from, hand);
    moveTo(to);
    release();
    EXPECT_TRUE(settle());
}

void CentreWindow::press(QPointF at, Hand hand)
{
    m_hand = hand;
    m_handAt = at;
    if (hand == Hand::Mouse)
        QTest::mousePress(&window, Qt::LeftButton, {}, at.toPoint());
    else
        QTest::touchEvent(&window, finger()).press(0, at.toPoint());
}

void CentreWindow::moveTo(QPointF to, int steps)
{
    const auto from = std::exchange(m_handAt, to);
    for (int step = 1; step <= steps; ++step) {
        const auto at = (from + (to - from) * step / steps).toPoint();
        if (m_hand == Hand::Mouse) {
            QTest::mouseMove(&window, at, stepMs);
        } else {
            QTest::qWait(stepMs);
            QTest::touchEvent(&window, finger()).move(0, at);
        }
    }
}

void CentreWindow::release()
{
    if (m_hand == Hand::Mouse)
        QTest::mouseRelease(&window, Qt::LeftButton, {}, m_handAt.toPoint());
    else
        QTest::touchEvent(&window, finger()).release(0, m_handAt.toPoint());
}

void CentreWindow::cancel()
{
    QTouchEvent event {QEvent::TouchCancel, finger()};
    QCoreApplication::sendEvent(&window, &event);
}

void CentreWindow::key(Qt::Key key)
{
    QTest::keyClick(&window, key);
    EXPECT_TRUE(settle());
}

bool CentreWindow::settle()
{
    // What was asked for begins with a frame, and what has ended is cleared away with the next one.
    int quietFrames = 0;
    return eventually([&] {
        QCoreApplication::processEvents();
        const bool isDrawn = !window.grabWindow().isNull();
        quietFrames = isDrawn && screen->isAtRest() ? quietFrames + 1 : 0;
        return quietFrames > 2;
    });
}

QImage CentreWindow::look(const std::string& name)
{
    auto image = window.grabWindow();
    // The software renderer leaves it at 1.
    image.setDevicePixelRatio(static_cast<double>(image.width()) / window.width());
    if (const char* folder = std::getenv("KOVA_SCREENSHOTS")) {
        const auto file = QString::fromStdString(std::string {folder} + "/" + name) + QStringLiteral("-%1.png");
        image.save(file.arg(window.effectiveDevicePixelRatio()));
    }
    return image;
}

bool CentreWindow::hasPixel(const QImage& image, QRectF area, const std::function<bool(QColor)>& isIt)
{
    const double ratio = image.devicePixelRatio();
    const auto pixels = image.copy(QRectF {area.topLeft() * ratio, area.size() * ratio}.toRect());
    for (int index = 0; index < pixels.width() * pixels.height(); ++index) {
        if (isIt(pixels.pixelColor(index % pixels.width(), index / pixels.width())))
            return true;
    }
    return false;
}

QColor CentreWindow::colorAt(const QImage& image, QPointF point)
{
    const auto pixel = point * image.devicePixelRatio();
    return image.pixelColor(static_cast<int>(pixel.x()), static_cast<int>(pixel.y()));
}

std::vector<KovaNotification> inboxOf(int count)
{
    std::vector<KovaNotification> inbox;
    for (int index = 0; index < count; ++index) {
        KovaNotification record;
        record.notificationID = "id-" + std::to_string(index);
        record.title = "Aviso " + std::to_string(index);
        record.body = "Seu pedido " + std::to_string(index) + " saiu para entrega.";
        record.launchURL = "https://loja.example/pedidos/" + std::to_string(index);
        record.att = "";
        inbox.push_back(std::move(record));
    }
    return inbox;
}

std::vector<std::string> titles()
{
    std::vector<std::string> result;
    for (const auto& record : NotificationStorage::buffer())
        result.push_back(record.title.value_or(""));
    return result;
}

std::vector<KovaNotification> sampleInbox()
{
    auto inbox = inboxOf(6);
    inbox[0].title = "Seu pedido chegou! 🎉";
    inbox[0].body = "Retire na portaria até às 18h. 📦";
    inbox[1].title = "Promoção de inverno";
    inbox[1].subtitle = "Até 40% de desconto";
    inbox[1].body = "Casacos, botas e cobertores com preços especiais até domingo, em todas as lojas e no site.";
    inbox[1].att = "https://loja.example/inverno.png";
    inbox[2].title = "Pagamento aprovado";
    inbox[2].body = "Recebemos o pagamento do pedido 1042.";
    inbox[2].read = true;
    return inbox;
}

} // namespace kova::tests
