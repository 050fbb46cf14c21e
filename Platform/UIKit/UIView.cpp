#include "Platform/UIKit/UIView.h"

#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/LayoutPass.h"
#include "Platform/UIKit/NSLayoutConstraint.h"
#include "Platform/UIKit/UIWindow.h"
#include "Platform/UIKit/UIWindowObserver.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>
#include <utility>

namespace kova {

namespace {

double animationDuration = 0;

} // namespace

UIView::UIView(const CGRect& frame)
{
    place(frame);
}

UIView::~UIView()
{
    m_layer->m_view = nullptr;
    while (!m_constraints.empty())
        m_constraints.back()->deactivate();
    // A tree may be deeper than the stack, so what dies with this view is taken apart here, not view within view.
    auto orphans = std::exchange(m_subviews, {});
    for (const auto& orphan : orphans) {
        orphan->m_superview = nullptr;
        orphan->setWindow(nullptr);
    }
    while (!orphans.empty()) {
        const auto orphan = std::move(orphans.back());
        orphans.pop_back();
        if (orphan.use_count() > 1)
            continue;
        for (auto& child : orphan->m_subviews) {
            child->m_superview = nullptr;
            orphans.push_back(std::move(child));
        }
        orphan->m_subviews.clear();
    }
}

UIWindow* UIView::window() const
{
    auto* const itself = const_cast<UIView*>(this)->asWindow();
    return itself ? itself : m_window;
}

void UIView::setWindow(UIWindow* window)
{
    std::vector<UIView*> ahead {this};
    while (!ahead.empty()) {
        auto& view = *ahead.back();
        ahead.pop_back();
        if (std::exchange(view.m_window, window) == window)
            continue;
        for (const auto& child : view.m_subviews)
            ahead.push_back(child.get());
    }
}

void UIView::addSubview(std::shared_ptr<UIView> view)
{
    insertSubview(std::move(view), m_subviews.size());
}

void UIView::insertSubview(std::shared_ptr<UIView> view, std::size_t at)
{
    // What has nothing beneath it has not this view beneath it.
    if (!view || view.get() == this || (!view->m_subviews.empty() && isDescendant(view.get())))
        fatalError("a view can be put neither into itself nor beneath itself, and must not be null");
    if (view->m_superview == this)
        std::erase(m_subviews, view);
    else
        view->removeFromSuperview();
    view->m_superview = this;
    view->setWindow(window());
    const auto before = static_cast<std::ptrdiff_t>(std::min(at, m_subviews.size()));
    m_subviews.insert(m_subviews.begin() + before, std::move(view));
    setNeedsLayout();
    didChange(UIChange::Hierarchy);
}

void UIView::removeFromSuperview()
{
    if (!m_superview)
        return;
    auto& above = *m_superview;
    if (auto* const watching = observer())
        watching->viewWillLeave(*this);
    detach();
    above.setNeedsLayout();
    above.didChange(UIChange::Hierarchy);
}

void UIView::detach()
{
    // What the views above hold and speaks of one in here is a constraint between the inside and the outside.
    const auto liesInHere = [this](const UIView* view) { return view && view->isDescendant(this); };
    NSLayoutConstraint::List crossing;
    for (const auto* above = m_superview; above; above = above->m_superview) {
        std::ranges::copy_if(above->m_constraints, std::back_inserter(crossing), [&](const auto& constraint) {
            return liesInHere(constraint->firstItem()) || liesInHere(constraint->secondItem());
        });
    }
    auto& siblings = std::exchange(m_superview, nullptr)->m_subviews;
    const auto found = std::ranges::find_if(siblings, [this](const auto& sibling) { return sibling.get() == this; });
    // The last reference may be the one in the list; it goes when nothing here is touched any more.
    const auto self = std::move(*found);
    siblings.erase(found);
    setWindow(nullptr);
    NSLayoutConstraint::deactivate(crossing);
    setNeedsSolving();
}

bool UIView::isDescendant(const UIView* of) const
{
    const auto* view = this;
    while (view && view != of)
        view = view->m_superview;
    return view != nullptr;
}

UIView* UIView::viewWithTag(std::int64_t tag)
{
    std::vector<UIView*> ahead {this};
    while (!ahead.empty()) {
        auto* const view = ahead.back();
        ahead.pop_back();
        if (view->m_tag == tag)
            return view;
        for (auto child = view->m_subviews.rbegin(); child != view->m_subviews.rend(); ++child)
            ahead.push_back(child->get());
    }
    return nullptr;
}

void UIView::setFrame(const CGRect& frame)
{
    const auto before = m_frame;
    place(frame);
    if (m_frame != before && m_superview && m_keepsFrame && !m_mentions.empty())
        m_superview->setNeedsSolving();
}

void UIView::place(CGRect frame)
{
    for (auto* const number : {&frame.origin.x, &frame.origin.y, &frame.size.width, &frame.size.height}) {
        if (!std::isfinite(*number))
            *number = 0;
    }
    if (m_frame == frame)
        return;
    const bool isResized = m_frame.size != frame.size;
    m_frame = frame;
    m_layer->m_frame = frame;
    if (isResized) {
        m_needsLayout = true;
        markPending();
        if (isLayoutRoot())
            m_needsSolving = true;
    }
    didChange(UIChange::Geometry);
}

CGRect UIView::convert(const CGRect& rect, const UIView* to) const
{
    auto result = rect;
    for (const auto* view = this; view != to && view->m_superview; view = view->m_superview) {
        result.origin.x += view->m_frame.origin.x - view->m_boundsOrigin.x;
        result.origin.y += view->m_frame.origin.y - view->m_boundsOrigin.y;
    }
    return result;
}

void UIView::setBoundsOrigin(CGPoint origin)
{
    if (m_boundsOrigin == origin)
        return;
    m_boundsOrigin = origin;
    didChange(UIChange::Geometry);
}

void UIView::setTranslatesAutoresizingMaskIntoConstraints(bool translates)
{
    if (m_keepsFrame == translates)
        return;
    m_keepsFrame = translates;
    m_needsSolving = true;
    markPending();
    if (m_superview)
        m_superview->setNeedsSolving();
}

void UIView::addConstraint(const std::shared_ptr<NSLayoutConstraint>& constraint)
{
    if (const auto* const common = constraint->commonView(); !common || !common->isDescendant(this))
        fatalError("a view can hold only constraints between itself and views beneath it");
    NSLayoutConstraint::activateOne(constraint);
}

void UIView::addConstraints(const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints)
{
    for (const auto& constraint : constraints)
        addConstraint(constraint);
}

void UIView::removeConstraint(const NSLayoutConstraint& constraint)
{
    const auto found = std::ranges::find_if(m_constraints, [&](const auto& held) { return held.get() == &constraint; });
    if (found != m_constraints.end())
        (*found)->deactivate();
}

CGSize UIView::sizeThatFits(CGSize) const
{
    const auto wished = intrinsicContentSize();
    return {.width = wished.width < 0 ? m_frame.size.width : wished.width,
        .height = wished.height < 0 ? m_frame.size.height : wished.height};
}

void UIView::sizeToFit()
{
    constexpr auto unlimited = std::numeric_limits<double>::infinity();
    const auto width = m_frame.size.width;
    setFrame({m_frame.origin, sizeThatFits({heightFollowsWidth() && width > 0 ? width : unlimited, unlimited})});
}

void UIView::setNeedsLayout()
{
    m_needsLayout = true;
    markPending();
    setNeedsSolving();
}

void UIView::setNeedsSolving()
{
    auto* view = this;
    while (!std::exchange(view->m_needsSolving, true) && !view->isLayoutRoot())
        view = view->m_superview;
    markPending();
}

void UIView::markPending()
{
    for (auto* view = this; !std::exchange(view->m_hasPendingLayout, true); view = view->m_superview) {
        if (!view->m_superview) {
            didChange(UIChange::Layout);
            return;
        }
    }
}

void UIView::layoutIfNeeded()
{
    auto* root = this;
    while (!root->isLayoutRoot())
        root = root->m_superview;
    if (root->m_hasPendingLayout)
        LayoutPass {}.run(*root);
}

void UIView::animate(
    double seconds, const std::function<void()>& animations, std::move_only_function<void(bool)> completion)
{
    struct Duration {
        explicit Duration(double value)
            : before(std::exchange(animationDuration, value))
        {
        }
        ~Duration() { animationDuration = before; }
        double before;
    };
    {
        const Duration duration {seconds};
        animations();
    }
    if (completion) {
        DispatchQueue::main().asyncAfter(std::chrono::duration<double> {seconds},
            [completion = std::move(completion)]() mutable { completion(true); });
    }
}

double UIView::currentAnimationDuration()
{
    return animationDuration;
}

UIWindowObserver* UIView::observer() const
{
    const auto* const top = window();
    return top ? top->observer() : nullptr;
}

void UIView::didChange(UIChange change)
{
    if (auto* const watching = observer())
        watching->viewDidChange(*this, change);
}

void UIView::didChangeAppearance()
{
    didChange(UIChange::Appearance);
}

void UIView::invalidateIntrinsicContentSize()
{
    setNeedsLayout();
    // A view that keeps its frame may be placed by the one it lies in, by its content.
    if (m_keepsFrame && m_superview)
        m_superview->setNeedsLayout();
    didChangeAppearance();
}

std::shared_ptr<CALayer> UIView::makeLayer()
{
    auto layer = std::make_shared<CALayer>();
    layer->m_view = this;
    return layer;
}

} // namespace kova
