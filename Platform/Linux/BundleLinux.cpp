#include "Platform/Linux/BundleLinux.h"

#include <system_error>

namespace kova {

namespace fs = std::filesystem;

namespace {

fs::path resourcesBesideExecutable()
{
    std::error_code unreadable;
    return fs::read_symlink("/proc/self/exe", unreadable).parent_path() / "Resources";
}

} // namespace

BundleLinux::BundleLinux(std::string identifier, std::optional<fs::path> folder)
    : m_identifier(std::move(identifier))
    , m_folder(folder ? *std::move(folder) : resourcesBesideExecutable())
{
}

std::optional<fs::path> BundleLinux::path(std::string_view name, std::string_view type) const
{
    auto file = m_folder / (std::string {name} + "." + std::string {type});
    std::error_code missing;
    return fs::exists(file, missing) ? std::optional {std::move(file)} : std::nullopt;
}

} // namespace kova
