#include "Platform/Qt/QtPlatform.h"

#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Qt/QtImageDecoder_p.h"
#include "Platform/Qt/QtTextMeasurer_p.h"
#include "Platform/UIKit/UIScreen.h"

#include <QGuiApplication>
#include <QMetaObject>
#include <QScreen>
#ifdef KOVA_HAS_WEBENGINE
#include <QtWebEngineQuick>
#endif
#include <atomic>
#include <mutex>

// A linker leaves out of a static library what nobody asks for; the macro wants to stand outside of any namespace.
static void bringScreens()
{
    Q_INIT_RESOURCE(centre_qml);
}

namespace kova {

struct QtPlatform::State {
    /// What the event loop is asked through; it lives on the GUI thread. Null once the platform has gone.
    std::mutex mutex;
    std::unique_ptr<QObject> loop = std::make_unique<QObject>();
    /// The event loop has been asked and has not begun yet.
    std::atomic<bool> isAsked = false;
    std::shared_ptr<TextMeasurer> measurerBefore;
    UIImage::Decoder decoderBefore;
};

void QtPlatform::prepare()
{
#ifdef KOVA_HAS_WEBENGINE
    QtWebEngineQuick::initialize();
#endif
}

QtPlatform::QtPlatform()
{
    if (!QGuiApplication::instance())
        fatalError("QtPlatform: the application object must be made first");
    bringScreens();
    m_state = std::make_shared<State>();
    UIScreen::main().scale = qGuiApp->devicePixelRatio();
    m_state->measurerBefore = TextMeasurer::setShared(std::make_shared<QtTextMeasurer>());
    for (const auto* screen : QGuiApplication::screens())
        decodeForArea(screen->size().toSizeF() * screen->devicePixelRatio());
    m_state->decoderBefore = UIImage::setDecoder(decodeImage);
    DispatchQueue::setMainLoopWaker([state = m_state] {
        if (state->isAsked.exchange(true))
            return;
        const std::lock_guard lock {state->mutex};
        if (!state->loop)
            return;
        const auto drain = [state] {
            state->isAsked = false;
            DispatchQueue::drainMain();
        };
        QMetaObject::invokeMethod(state->loop.get(), drain, Qt::QueuedConnection);
    });
    // What was submitted before anybody was there to be woken.
    QMetaObject::invokeMethod(m_state->loop.get(), &DispatchQueue::drainMain, Qt::QueuedConnection);
}

QtPlatform::~QtPlatform()
{
    DispatchQueue::setMainLoopWaker(nullptr);
    TextMeasurer::setShared(m_state->measurerBefore);
    UIImage::setDecoder(m_state->decoderBefore);
    const std::lock_guard lock {m_state->mutex};
    m_state->loop = nullptr;
}

} // namespace kova
