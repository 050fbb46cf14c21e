// A host with a window of its own in Qt Widgets: a press on its button opens the notification centre over it.

#include <KovaSDK/KovaSDK.h>
#include <Platform/Qt/QtPlatform.h>
#include <Platform/Qt/QtScreen.h>

#include <QApplication>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

int main(int argumentCount, char** arguments)
{
    kova::QtPlatform::prepare();
    const QApplication application {argumentCount, arguments};
    const kova::LinuxPlatform platform {{.bundleIdentifier = "example.qt-widgets", .mainLoop = kova::MainLoop::Host}};
    const kova::QtPlatform qt;

    QWidget window;
    window.resize(390, 844);
    auto* const button = new QPushButton {QStringLiteral("🔔 Notificações")};
    (new QVBoxLayout {&window})->addWidget(button);

    kova::QtScreen screen {window};
    QObject::connect(button, &QPushButton::clicked, [&] { kova::CentralCoordinator {screen.presenter()}.start(); });
    window.show();
    return QApplication::exec();
}
