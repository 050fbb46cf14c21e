// Screens that write down which of their life-cycle operations run, and a window that writes down its moves.

#pragma once

#include "Platform/UIKit/UINavigationController.h"
#include "Platform/UIKit/UIWindow.h"
#include "Platform/UIKit/UIWindowObserver.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kova::tests {

/// Lines such as "list willAppear"; a handler may be set to run right after a line has been written.
struct LifeLog {
    std::vector<std::string> lines {};
    std::map<std::string, std::function<void()>> handlers {};

    void write(std::string line)
    {
        lines.push_back(line);
        if (const auto handler = handlers.extract(line))
            handler.mapped()();
    }
    /// All of them in one text, and forgets them.
    [[nodiscard]] std::string take()
    {
        std::string text;
        for (const auto& line : std::exchange(lines, {}))
            text += (text.empty() ? "" : ", ") + line;
        return text;
    }
};

template <typename Base> class Logged : public Base {
public:
    template <typename... Arguments>
    Logged(LifeLog& log, std::string name, Arguments&&... arguments)
        : Base(std::forward<Arguments>(arguments)...)
        , m_log(log)
        , m_name(std::move(name))
    {
        this->setTitle(m_name);
    }
    ~Logged() override { m_log.write(m_name + " gone"); }

protected:
    void loadView() override
    {
        m_log.write(m_name + " loadView");
        Base::loadView();
    }
    void viewDidLoad() override { m_log.write(m_name + " didLoad"); }
    void viewWillAppear(bool) override { m_log.write(m_name + " willAppear"); }
    void viewDidAppear(bool) override { m_log.write(m_name + " didAppear"); }
    void viewWillDisappear(bool) override { m_log.write(m_name + " willDisappear"); }
    void viewDidDisappear(bool) override { m_log.write(m_name + " didDisappear"); }

private:
    LifeLog& m_log;
    std::string m_name;
};

using LoggedScreen = Logged<UIViewController>;
using LoggedStack = Logged<UINavigationController>;

/// Writes "Push list > detail" and the like into the log.
class MoveLog : public UIWindowObserver {
public:
    explicit MoveLog(LifeLog& log)
        : m_log(log)
    {
    }

    void viewDidChange(UIView&, UIChange) override { }
    void viewWillLeave(UIView&) override { }
    void didMove(const UITransition& move) override
    {
        static constexpr const char* kinds[] = {"Present", "Dismiss", "Push", "Pop"};
        m_log.write(std::string(kinds[static_cast<int>(move.kind)]) + " " + move.from.title().value_or("?") + " > "
            + move.to.title().value_or("?"));
    }

private:
    LifeLog& m_log;
};

} // namespace kova::tests
