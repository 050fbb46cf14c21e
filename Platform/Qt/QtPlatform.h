// Qt as the platform that draws: its event loop is the main queue, its fonts measure texts, its decoders read pictures.
//
//     int main(int argc, char** argv)
//     {
//         kova::QtPlatform::prepare();
//         QGuiApplication application {argc, argv};
//         kova::LinuxPlatform platform {{.bundleIdentifier = "example.shop", .mainLoop = kova::MainLoop::Host}};
//         kova::QtPlatform qt;
//         …
//         return application.exec();
//     }
//
// Made after the application object and before anything of the toolkit, destroyed before the application object. What
// the main queue has been given is run whenever the event loop runs, also a nested one. GUI thread; one object at a
// time.

#pragma once

#include "Platform/Foundation/Export.h"

#include <memory>

namespace kova {

class KOVA_EXPORT QtPlatform {
public:
    /// To be called before the application object is made, for the pages of the in-app browser. Does nothing in a build
    /// without Qt WebEngine, where the system's browser shows them.
    static void prepare();

    QtPlatform();
    ~QtPlatform();
    QtPlatform(const QtPlatform&) = delete;
    QtPlatform& operator=(const QtPlatform&) = delete;

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace kova
