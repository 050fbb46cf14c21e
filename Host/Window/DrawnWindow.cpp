// The host's window drawn with Qt Quick: a QtScreen that fills a window of a phone's size.

#include "Host/HostCommands.h"
#include "Host/HostWindow.h"
#include "Platform/Qt/QtPlatform.h"
#include "Platform/Qt/QtScreen.h"
#include "Platform/UIKit/UINavigationController.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <array>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace kova::host {

namespace {

// Without a screen Qt would end the process.
void chooseScreen(bool isOffscreen)
{
    const auto isSet = [](const char* name) { return std::getenv(name) && *std::getenv(name); };
    if (isSet("QT_QPA_PLATFORM") || isSet("DISPLAY") || isSet("WAYLAND_DISPLAY"))
        return;
    if (!isOffscreen)
        throw std::runtime_error {"--window needs a screen: neither DISPLAY nor WAYLAND_DISPLAY is set (with "
                                  "--screenshot it is drawn in memory)"};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
}

class DrawnWindow final : public HostWindow {
public:
    explicit DrawnWindow(std::shared_ptr<HostScreen> screen)
        : HostWindow(std::move(screen))
    {
        QGuiApplication::setApplicationDisplayName(QStringLiteral("Padaria Kova"));
        m_window.resize(static_cast<int>(defaultSize.width), static_cast<int>(defaultSize.height));
        m_drawn.presenter()->present(std::make_shared<UINavigationController>(m_screen), false);
        m_window.show();
        window().layoutIfNeeded();
    }

    UIWindow& window() override { return *m_drawn.presenter()->view()->window(); }

    void resize(CGSize size) override
    {
        m_window.resize(static_cast<int>(size.width), static_cast<int>(size.height));
        processEvents();
    }

    void run(const std::stop_token& stop) override
    {
        const std::stop_callback end {
            stop, [] { QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection); }};
        if (!stop.stop_requested())
            QGuiApplication::exec();
        m_window.hide();
    }

    void saveScreenshot(const std::filesystem::path& file) override
    {
        constexpr std::chrono::seconds patience {5};
        const auto deadline = std::chrono::steady_clock::now() + patience;
        // What was asked for begins with a frame, and what has ended is cleared away with the next one.
        int quietFrames = 0;
        while (quietFrames < 3 && std::chrono::steady_clock::now() < deadline) {
            processEvents();
            m_window.grabWindow();
            quietFrames = m_drawn.isAtRest() ? quietFrames + 1 : 0;
        }
        if (quietFrames < 3)
            throw NotSettled {"what is seen did not come to rest in time for " + file.string()};
        if (!m_window.grabWindow().save(QString::fromStdString(file.string())))
            throw std::runtime_error {"cannot write " + file.string()};
    }

private:
    /// Also those that were waiting already, behind the event that is being handled: a loop within it might leave them
    /// there, the beginning of an animation among them.
    static void processEvents()
    {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }

    QQuickWindow m_window;
    QtPlatform m_qt;
    QtScreen m_drawn {*m_window.contentItem()};
};

} // namespace

std::unique_ptr<HostWindow> openDrawnWindow(const std::shared_ptr<HostScreen>& screen, bool isOffscreen)
{
    chooseScreen(isOffscreen);
    QtPlatform::prepare();
    static int argumentCount = 1;
    static std::array<char, 10> name {"kova-host"};
    static std::array<char*, 2> arguments {name.data(), nullptr};
    // One a process, never destroyed: nothing of it may end after the platform has.
    static auto& application = *new QGuiApplication {argumentCount, arguments.data()};
    // Where it is installed: made for small screens. Emoji come in colour before any other font has them.
    if (const auto family = QStringLiteral("Inter"); QFontDatabase::hasFamily(family))
        application.setFont(QFont {QStringList {family, QStringLiteral("Noto Color Emoji")}});
    return std::make_unique<DrawnWindow>(screen);
}

} // namespace kova::host
