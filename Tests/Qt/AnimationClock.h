// The clock of Qt's animations, moved by hand: between two steps nothing moves, however long a test takes.

#pragma once

#include "Tests/Qt/CentreWindow.h"

#include <gtest/gtest.h>

#include <QAnimationDriver>
#include <QCoreApplication>

namespace kova::tests {

class AnimationClock : public QAnimationDriver {
public:
    static constexpr int stepMs = 10;

    explicit AnimationClock(CentreWindow& centre)
        : m_centre(centre)
    {
        install();
    }
    ~AnimationClock() override { uninstall(); }

    /// Lets the time pass in steps, with a frame for each.
    void pass(int milliseconds)
    {
        for (int passed = 0; passed < milliseconds; passed += stepMs) {
            QCoreApplication::processEvents();
            m_now += stepMs;
            advanceAnimation();
            static_cast<void>(m_centre.window.grabWindow());
        }
    }
    /// Until everything has come to its place.
    void passAll()
    {
        constexpr int longerThanAnything = 600;
        pass(longerThanAnything);
        EXPECT_TRUE(m_centre.settle());
    }

    [[nodiscard]] qint64 elapsed() const override { return m_now; }

protected:
    void start() override
    {
        // Counted from here.
        m_now = 0;
        QAnimationDriver::start();
    }

private:
    CentreWindow& m_centre;
    qint64 m_now = 0;
};

} // namespace kova::tests
