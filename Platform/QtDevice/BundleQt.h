// The main bundle with Qt: a folder, or the resources that are compiled into the application.

#pragma once

#include "Platform/Foundation/Bundle.h"

#include <memory>
#include <mutex>

class QTemporaryDir;

namespace kova {

class BundleQt final : public Bundle {
public:
    /// Without a folder the bundle is "Resources" beside the executable, or one level higher in an application bundle
    /// of macOS.
    BundleQt(std::string identifier, std::optional<std::filesystem::path> folder);
    ~BundleQt() override;

    [[nodiscard]] std::string bundleIdentifier() const override { return m_identifier; }

    /// A file that the folder does not have is looked for among the Qt resources as ":/<name>.<type>", and on Android
    /// among the assets. It is copied once, to a folder that lives as long as this object, because a resource has no
    /// path that can be opened.
    [[nodiscard]] std::optional<std::filesystem::path> path(
        std::string_view name, std::string_view type) const override;

private:
    const std::string m_identifier;
    const std::filesystem::path m_folder;

    /// Guards what follows.
    mutable std::mutex m_mutex;
    mutable std::unique_ptr<QTemporaryDir> m_copies;
};

} // namespace kova
