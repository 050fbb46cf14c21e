// A rectangle of the screen: its place in the tree of views, its look, its constraints.
//
// A view is owned by the view it lies in; links upwards are plain pointers that the owner clears. Subclasses build
// themselves in their constructors, so everything here works before an object is held by a shared_ptr. Each change of
// something visible reaches the observer of the window the view is in. Main thread only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/CALayer.h"
#include "Platform/UIKit/CGGeometry.h"
#include "Platform/UIKit/NSLayoutAnchor.h"
#include "Platform/UIKit/UIColor.h"
#include "Platform/UIKit/WeakLink.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kova {

class NSLayoutConstraint;
class UIWindow;
class UIWindowObserver;
enum class UIChange;

enum class UIViewContentMode { scaleToFill = 0, scaleAspectFit = 1, scaleAspectFill = 2 };

class KOVA_EXPORT UIView : public Linkable {
public:
    /// A width or height that a view has no opinion on.
    static constexpr double noIntrinsicMetric = -1;

    UIView() = default;
    explicit UIView(const CGRect& frame);
    ~UIView() override;

    // The tree.

    /// From back to front.
    [[nodiscard]] const std::vector<std::shared_ptr<UIView>>& subviews() const { return m_subviews; }
    [[nodiscard]] UIView* superview() const { return m_superview; }
    /// The window at the top of the tree, null while the view is in none.
    [[nodiscard]] UIWindow* window() const;
    /// Puts a view in front of the others here; one that lies elsewhere, or here already, is moved.
    void addSubview(std::shared_ptr<UIView> view);
    void insertSubview(std::shared_ptr<UIView> view, std::size_t at);
    /// Takes the view out of its superview; constraints between the inside and the outside of the view go with it.
    void removeFromSuperview();
    [[nodiscard]] bool isDescendant(const UIView* of) const;
    [[nodiscard]] std::int64_t tag() const { return m_tag; }
    void setTag(std::int64_t tag) { m_tag = tag; }
    /// This view or the first one beneath it, depth first, with that tag.
    [[nodiscard]] UIView* viewWithTag(std::int64_t tag);

    // Geometry.

    /// In the superview's coordinates.
    [[nodiscard]] const CGRect& frame() const { return m_frame; }
    void setFrame(const CGRect& frame);
    /// In the view's own coordinates, whose origin moves when it scrolls.
    [[nodiscard]] CGRect bounds() const { return {m_boundsOrigin, m_frame.size}; }
    /// A rectangle of this view in the coordinates of a view above it (the topmost one: null).
    [[nodiscard]] CGRect convert(const CGRect& rect, const UIView* to) const;

    // Look.

    [[nodiscard]] bool isHidden() const { return m_isHidden; }
    void setHidden(bool hidden) { assign(m_isHidden, hidden); }
    [[nodiscard]] double alpha() const { return m_alpha; }
    void setAlpha(double alpha) { assign(m_alpha, alpha); }
    [[nodiscard]] const std::optional<UIColor>& backgroundColor() const { return m_layer->backgroundColor(); }
    void setBackgroundColor(std::optional<UIColor> color) { m_layer->setBackgroundColor(color); }
    [[nodiscard]] bool clipsToBounds() const { return m_layer->masksToBounds(); }
    void setClipsToBounds(bool clips) { m_layer->setMasksToBounds(clips); }
    [[nodiscard]] UIViewContentMode contentMode() const { return m_contentMode; }
    void setContentMode(UIViewContentMode mode) { assign(m_contentMode, mode); }
    [[nodiscard]] CALayer& layer() const { return *m_layer; }

    // What assistive technology says of the view beside its texts; none: nothing more.

    [[nodiscard]] const std::optional<std::string>& accessibilityLabel() const { return m_accessibilityLabel; }
    void setAccessibilityLabel(std::optional<std::string> label) { assign(m_accessibilityLabel, std::move(label)); }
    [[nodiscard]] const std::optional<std::string>& accessibilityValue() const { return m_accessibilityValue; }
    void setAccessibilityValue(std::optional<std::string> value) { assign(m_accessibilityValue, std::move(value)); }

    // Layout.

    /// Whether the frame stands as it was set. When false, the constraints decide on it.
    [[nodiscard]] bool translatesAutoresizingMaskIntoConstraints() const { return m_keepsFrame; }
    void setTranslatesAutoresizingMaskIntoConstraints(bool translates);
    [[nodiscard]] NSLayoutAnchor leftAnchor() { return {this, NSLayoutAttribute::left}; }
    [[nodiscard]] NSLayoutAnchor rightAnchor() { return {this, NSLayoutAttribute::right}; }
    [[nodiscard]] NSLayoutAnchor topAnchor() { return {this, NSLayoutAttribute::top}; }
    [[nodiscard]] NSLayoutAnchor bottomAnchor() { return {this, NSLayoutAttribute::bottom}; }
    [[nodiscard]] NSLayoutAnchor centerXAnchor() { return {this, NSLayoutAttribute::centerX}; }
    [[nodiscard]] NSLayoutAnchor centerYAnchor() { return {this, NSLayoutAttribute::centerY}; }
    [[nodiscard]] NSLayoutAnchor widthAnchor() { return {this, NSLayoutAttribute::width}; }
    [[nodiscard]] NSLayoutAnchor heightAnchor() { return {this, NSLayoutAttribute::height}; }
    /// The active constraints that this view holds: those whose nearest common view it is.
    [[nodiscard]] const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints() const { return m_constraints; }
    void addConstraint(const std::shared_ptr<NSLayoutConstraint>& constraint);
    void addConstraints(const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);
    void removeConstraint(const NSLayoutConstraint& constraint);

    /// The size that the content wishes, noIntrinsicMetric where it has no wish. Constraints override it.
    [[nodiscard]] virtual CGSize intrinsicContentSize() const { return {noIntrinsicMetric, noIntrinsicMetric}; }
    /// Has the constraints solved again, since that size has changed.
    void invalidateIntrinsicContentSize();
    /// The size that fits the content best within a size.
    [[nodiscard]] virtual CGSize sizeThatFits(CGSize size) const;
    void sizeToFit();
    void setNeedsLayout();
    /// Solves the constraints of every view at or beneath this one that needs it, and places what needs placing.
    void layoutIfNeeded();

    /// Runs `animations` now: the end state stands at once, and a drawing platform may draw the way there. `completion`
    /// runs on the main queue after the duration, with true.
    static void animate(
        double seconds, const std::function<void()>& animations, std::move_only_function<void(bool)> completion = {});
    /// While `animations` of animate() run: how long the change takes; 0 else.
    [[nodiscard]] static double currentAnimationDuration();

protected:
    /// Places subviews that no constraint places. Runs after the constraints of this view have been solved.
    virtual void layoutSubviews() { }
    /// Tells the window's observer.
    void didChange(UIChange change);
    void setBoundsOrigin(CGPoint origin);
    template <typename T> bool assign(T& property, T value);
    /// Whether the height that fits depends on the width: the text is broken into lines.
    [[nodiscard]] virtual bool heightFollowsWidth() const { return false; }
    [[nodiscard]] virtual UIWindow* asWindow() { return nullptr; }

private:
    friend class CALayer;
    friend class LayoutPass;
    friend class LayoutSet;
    friend class NSLayoutConstraint;

    void didChangeAppearance();
    void place(CGRect frame);
    [[nodiscard]] UIWindowObserver* observer() const;
    void setWindow(UIWindow* window);
    void detach();
    /// Whether the frames of those beneath are solved for by themselves: this one's frame is not found by solving.
    [[nodiscard]] bool isLayoutRoot() const { return m_keepsFrame || !m_superview; }
    /// Has the set of constraints solved anew that this view is the root of, or lies in.
    void setNeedsSolving();
    /// Marks the way from the top to this view, so that layout finds it.
    void markPending();

    std::vector<std::shared_ptr<UIView>> m_subviews;
    UIView* m_superview = nullptr;
    /// The window that this view lies in; a window does not lie in itself.
    UIWindow* m_window = nullptr;
    std::vector<std::shared_ptr<NSLayoutConstraint>> m_constraints;
    std::shared_ptr<CALayer> m_layer = makeLayer();
    std::int64_t m_tag = 0;
    CGRect m_frame {};
    CGPoint m_boundsOrigin {};
    double m_alpha = 1;
    UIViewContentMode m_contentMode = UIViewContentMode::scaleToFill;
    bool m_isHidden = false;
    bool m_keepsFrame = true;
    /// layoutSubviews() is to run.
    bool m_needsLayout = true;
    /// In the root of a set of constraints: the set is to be solved. In a view within the set: those above, up to the
    /// root, say so already.
    bool m_needsSolving = true;
    /// This view or one beneath needs layout; then those above say so too.
    bool m_hasPendingLayout = true;
    bool m_isAmbiguitySaid = false;
    /// Where a running layout pass counts this view.
    std::uint32_t m_layoutIndex = 0;
    /// The active constraints that speak of this view, whoever holds them.
    std::vector<NSLayoutConstraint*> m_mentions;
    std::optional<std::string> m_accessibilityLabel;
    std::optional<std::string> m_accessibilityValue;

    std::shared_ptr<CALayer> makeLayer();
};

template <typename T> bool UIView::assign(T& property, T value)
{
    if (property == value)
        return false;
    property = std::move(value);
    didChangeAppearance();
    return true;
}

} // namespace kova
