#include "Platform/Qt/QtPlatform.h"

#include "Platform/Foundation/Print.h"
#include "Platform/Qt/EventLoopQueue_p.h"
#include "Platform/Qt/QtImageDecoder_p.h"
#include "Platform/Qt/QtTextMeasurer_p.h"
#include "Platform/UIKit/UIScreen.h"

#include <QGuiApplication>
#include <QScreen>
#ifdef KOVA_HAS_WEBENGINE
#include <QtWebEngineQuick>
#endif
#include <optional>

// A linker leaves out of a static library what nobody asks for; the macro wants to stand outside of any namespace.
static void bringScreens()
{
    Q_INIT_RESOURCE(centre_qml);
}

namespace kova {

struct QtPlatform::State {
    std::shared_ptr<TextMeasurer> measurerBefore;
    UIImage::Decoder decoderBefore;
    std::optional<EventLoopQueue> mainQueue {};
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
    m_state->mainQueue.emplace();
}

QtPlatform::~QtPlatform()
{
    m_state->mainQueue.reset();
    TextMeasurer::setShared(m_state->measurerBefore);
    UIImage::setDecoder(m_state->decoderBefore);
}

} // namespace kova
