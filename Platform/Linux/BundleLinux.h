// The main bundle on Linux: a folder.

#pragma once

#include "Platform/Foundation/Bundle.h"

namespace kova {

class BundleLinux final : public Bundle {
public:
    /// Without a folder the bundle is "Resources" beside the executable.
    BundleLinux(std::string identifier, std::optional<std::filesystem::path> folder);

    [[nodiscard]] std::string bundleIdentifier() const override { return m_identifier; }
    [[nodiscard]] std::optional<std::filesystem::path> path(
        std::string_view name, std::string_view type) const override;

private:
    const std::string m_identifier;
    const std::filesystem::path m_folder;
};

} // namespace kova
