// A host with a window of its own in Qt Quick: a tap on its bell opens the notification centre over it.

#include <KovaSDK/KovaSDK.h>
#include <Platform/Qt/QtPlatform.h>
#include <Platform/Qt/QtScreen.h>

#include <QGuiApplication>
#include <QObject>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickView>
#include <QUrl>

namespace {

class Bell : public QObject {
    Q_OBJECT

public:
    explicit Bell(kova::QtScreen& screen)
        : m_screen(screen)
    {
    }
    Q_INVOKABLE void ring() { kova::CentralCoordinator {m_screen.presenter()}.start(); }

private:
    kova::QtScreen& m_screen;
};

} // namespace

int main(int argumentCount, char** arguments)
{
    kova::QtPlatform::prepare();
    const QGuiApplication application {argumentCount, arguments};
    const kova::LinuxPlatform platform {{.bundleIdentifier = "example.qt-quick", .mainLoop = kova::MainLoop::Host}};
    const kova::QtPlatform qt;

    QQuickView view;
    kova::QtScreen screen {*view.contentItem()};
    Bell bell {screen};
    view.rootContext()->setContextProperty(QStringLiteral("bell"), &bell);
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl {QStringLiteral("qrc:/example/Shop.qml")});
    view.resize(390, 844);
    view.show();
    return QGuiApplication::exec();
}

#include "main.moc"
