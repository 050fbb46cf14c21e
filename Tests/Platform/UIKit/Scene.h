// A small tree of views with names, for tests of layout: a root of a given size in which constraints decide on every
// other frame, unless a test says otherwise.

#pragma once

#include "Platform/UIKit/NSLayoutConstraint.h"
#include "Platform/UIKit/UIImageView.h"
#include "Platform/UIKit/UILabel.h"
#include "Platform/UIKit/UIView.h"

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace kova::tests {

class Scene {
public:
    explicit Scene(CGSize size) { root->setFrame({{}, size}); }

    /// Adds a view to another one, by default to the root.
    template <typename View = UIView> View& add(const std::string& name, const std::string& to = "root")
    {
        auto view = std::make_shared<View>();
        auto& added = *view;
        added.setTranslatesAutoresizingMaskIntoConstraints(false);
        (*this)[to].addSubview(view);
        views[name] = std::move(view);
        return added;
    }

    /// A label in the fixed pitch: each code point 10 wide, a line 20 high.
    UILabel& addLabel(const std::string& name, std::string text, int lines = 1)
    {
        auto& label = add<UILabel>(name);
        label.setFont(UIFont::systemFont(50.0 / 3));
        label.setText(std::move(text));
        label.setNumberOfLines(lines);
        return label;
    }

    UIImageView& addPicture(const std::string& name, CGSize size)
    {
        auto& picture = add<UIImageView>(name);
        picture.setImage(std::make_shared<UIImage>(size, nullptr));
        return picture;
    }

    UIView& operator[](const std::string& name) { return name == "root" ? *root : *views.at(name); }

    /// Activates constraints written as "a.left = b.right * 0.5 + 10 @ 250"; what is left out is 1, 0 or required.
    /// Returns the last one.
    std::shared_ptr<NSLayoutConstraint> constrain(const std::string& lines);

    /// Lays out and gives the frame in the root's coordinates.
    CGRect frame(const std::string& name)
    {
        root->layoutIfNeeded();
        auto& view = (*this)[name];
        return view.convert(view.bounds(), nullptr);
    }

    const std::shared_ptr<UIView> root = std::make_shared<UIView>();
    std::map<std::string, std::shared_ptr<UIView>> views;
};

} // namespace kova::tests
