#include "Tests/Platform/UIKit/Scene.h"

#include <cctype>
#include <sstream>

namespace kova::tests {

std::shared_ptr<NSLayoutConstraint> Scene::constrain(const std::string& lines)
{
    static const std::map<std::string, NSLayoutAttribute> attributes {{"left", NSLayoutAttribute::left},
        {"right", NSLayoutAttribute::right}, {"top", NSLayoutAttribute::top}, {"bottom", NSLayoutAttribute::bottom},
        {"width", NSLayoutAttribute::width}, {"height", NSLayoutAttribute::height},
        {"centerX", NSLayoutAttribute::centerX}, {"centerY", NSLayoutAttribute::centerY}};
    static const std::map<std::string, NSLayoutRelation> relations {{"=", NSLayoutRelation::equal},
        {"<=", NSLayoutRelation::lessThanOrEqual}, {">=", NSLayoutRelation::greaterThanOrEqual}};
    std::shared_ptr<NSLayoutConstraint> last;
    std::istringstream all {lines};
    for (std::string line; std::getline(all, line);) {
        std::istringstream words {line};
        std::string first;
        std::string sign;
        std::string word;
        if (!(words >> first >> sign >> word))
            continue;
        const auto itemOf = [this](const std::string& anchor) { return &(*this)[anchor.substr(0, anchor.find('.'))]; };
        const auto attributeOf
            = [](const std::string& anchor) { return attributes.at(anchor.substr(anchor.find('.') + 1)); };
        UIView* second = nullptr;
        auto attribute = NSLayoutAttribute::notAnAttribute;
        double multiplier = 1;
        double constant = 0;
        double priority = NSLayoutConstraint::requiredPriority;
        if (std::isalpha(static_cast<unsigned char>(word.front())) && word != "inf" && word != "nan") {
            second = itemOf(word);
            attribute = attributeOf(word);
        } else {
            constant = std::stod(word);
        }
        for (std::string operation; words >> operation >> word;) {
            const auto number = std::stod(word);
            if (operation == "*")
                multiplier = number;
            else if (operation == "@")
                priority = number;
            else
                constant = operation == "-" ? -number : number;
        }
        last = std::make_shared<NSLayoutConstraint>(
            itemOf(first), attributeOf(first), relations.at(sign), second, attribute, multiplier, constant);
        last->setPriority(priority);
        NSLayoutConstraint::activate({last});
    }
    return last;
}

} // namespace kova::tests
