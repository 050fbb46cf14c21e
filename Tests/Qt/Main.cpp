// Qt needs its application object before any test, and a platform that needs no screen.

#include "Platform/Qt/QtPlatform.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QApplication>
#include <cstdlib>

int main(int argc, char** argv)
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("QT_QUICK_BACKEND", "software", 1);
    // For the pages of Qt WebEngine, in a build with it: its sandbox refuses to be root's.
    if (::geteuid() == 0)
        ::setenv("QTWEBENGINE_DISABLE_SANDBOX", "1", 1);
    // The accessibility tree is built only when somebody asks for it.
    ::setenv("QT_ACCESSIBILITY", "1", 1);
    kova::QtPlatform::prepare();
    QApplication application {argc, argv};
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
