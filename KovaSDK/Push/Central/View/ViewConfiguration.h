// How each view of the centre builds itself, once, while it is made: subviews, then constraints, then looks.

#pragma once

namespace kova {

class ViewConfiguration {
public:
    virtual ~ViewConfiguration() = default;

    /// Adds the subviews.
    virtual void buildViewHierarchy() = 0;
    /// Switches every subview to constraints and activates them.
    virtual void setupViewConstraints() = 0;
    /// Sets fonts, colours, line counts and corner radii.
    virtual void configureViews() = 0;

    /// Runs the three steps.
    void setupViewConfiguration()
    {
        buildViewHierarchy();
        setupViewConstraints();
        configureViews();
    }
};

} // namespace kova
