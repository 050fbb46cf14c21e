#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/NSLayoutConstraint.h"
#include "Platform/UIKit/UIView.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <string>
#include <system_error>

namespace kova {

namespace {

std::string quoted(std::string_view text)
{
    std::string result {'"'};
    return result.append(text).append(1, '"');
}

// |-0-[name]-8-[other(40)]-0-|
// format = ("H:" / "V:") ["|" gap] view *(gap view) [gap "|"]
// gap    = "" / "-" number "-"
// view   = "[" name ["(" ["==" / "<=" / ">="] number ")"] "]"
class VisualFormatParser {
public:
    VisualFormatParser(std::string_view format, const std::map<std::string, UIView*>& views)
        : m_format(format)
        , m_rest(format)
        , m_views(views)
    {
    }

    NSLayoutConstraint::List parse()
    {
        m_isHorizontal = take("H:");
        if (!m_isHorizontal && !take("V:"))
            fail("it begins with neither H: nor V:");
        const bool beginsAtEdge = take("|");
        double space = beginsAtEdge ? gap() : 0;
        auto* previous = view();
        if (beginsAtEdge)
            relate(previous, leading(), superview(previous), leading(), space);
        while (!m_rest.empty()) {
            space = gap();
            if (take("|")) {
                relate(superview(previous), trailing(), previous, trailing(), space);
                if (!m_rest.empty())
                    fail("something follows the edge");
                break;
            }
            auto* const next = view();
            relate(next, leading(), previous, trailing(), space);
            previous = next;
        }
        return std::move(m_constraints);
    }

private:
    [[noreturn]] void fail(const std::string& why) const
    {
        fatalError(std::string {"the visual format \""}.append(m_format).append("\" cannot be read: ").append(why));
    }

    bool take(std::string_view text)
    {
        if (!m_rest.starts_with(text))
            return false;
        m_rest.remove_prefix(text.size());
        return true;
    }

    void expect(std::string_view text)
    {
        if (!take(text))
            fail(quoted(text) + " is missing before " + quoted(m_rest));
    }

    double number()
    {
        double value = 0;
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), value);
        if (error != std::errc {} || !std::isfinite(value))
            fail("there is no number before " + quoted(m_rest));
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return value;
    }

    double gap()
    {
        if (!take("-"))
            return 0;
        const auto value = number();
        expect("-");
        return value;
    }

    UIView* view()
    {
        expect("[");
        const auto length = m_rest.find_first_of("(]");
        const std::string name {m_rest.substr(0, length)};
        const auto found = m_views.find(name);
        if (length == std::string_view::npos || found == m_views.end() || !found->second)
            fail("there is no view " + quoted(name));
        m_rest.remove_prefix(length);
        if (take("(")) {
            auto relation = NSLayoutRelation::equal;
            if (take("<="))
                relation = NSLayoutRelation::lessThanOrEqual;
            else if (take(">="))
                relation = NSLayoutRelation::greaterThanOrEqual;
            else
                take("==");
            m_constraints.push_back(std::make_shared<NSLayoutConstraint>(found->second,
                m_isHorizontal ? NSLayoutAttribute::width : NSLayoutAttribute::height, relation, nullptr,
                NSLayoutAttribute::notAnAttribute, 1, number()));
            expect(")");
        }
        expect("]");
        return found->second;
    }

    UIView* superview(const UIView* of) const
    {
        if (!of->superview())
            fail("the view beside the edge lies in no other");
        return of->superview();
    }

    [[nodiscard]] NSLayoutAttribute leading() const
    {
        return m_isHorizontal ? NSLayoutAttribute::left : NSLayoutAttribute::top;
    }

    [[nodiscard]] NSLayoutAttribute trailing() const
    {
        return m_isHorizontal ? NSLayoutAttribute::right : NSLayoutAttribute::bottom;
    }

    void relate(UIView* item, NSLayoutAttribute attribute, UIView* to, NSLayoutAttribute toAttribute, double constant)
    {
        m_constraints.push_back(std::make_shared<NSLayoutConstraint>(
            item, attribute, NSLayoutRelation::equal, to, toAttribute, 1, constant));
    }

    const std::string_view m_format;
    std::string_view m_rest;
    const std::map<std::string, UIView*>& m_views;
    bool m_isHorizontal = false;
    NSLayoutConstraint::List m_constraints;
};

} // namespace

NSLayoutConstraint::List NSLayoutConstraint::constraints(
    std::string_view withVisualFormat, const std::map<std::string, UIView*>& views)
{
    return VisualFormatParser {withVisualFormat, views}.parse();
}

} // namespace kova
