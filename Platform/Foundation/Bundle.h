// The application's bundle: the folder of resources that the host ships with itself.

#pragma once

#include "Platform/Foundation/Export.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kova {

class KOVA_EXPORT Bundle {
public:
    virtual ~Bundle() = default;

    /// The host application's bundle. Without a platform the process stops, saying so.
    [[nodiscard]] static std::shared_ptr<Bundle> main();

    /// Replaces the main bundle (none is allowed) and returns the one before.
    static std::shared_ptr<Bundle> setMain(std::shared_ptr<Bundle> bundle);

    /// Names the application, in reverse-domain style ("example.shop"); never empty.
    [[nodiscard]] virtual std::string bundleIdentifier() const = 0;

    /// The path of the resource file "name.type"; none when the bundle has no such file.
    [[nodiscard]] virtual std::optional<std::filesystem::path> path(std::string_view name, std::string_view type) const
        = 0;
};

} // namespace kova
