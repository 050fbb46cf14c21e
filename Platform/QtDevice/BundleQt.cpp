#include "Platform/QtDevice/BundleQt.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <system_error>
#include <utility>

namespace kova {

namespace fs = std::filesystem;

namespace {

fs::path pathOf(const QString& text)
{
    return fs::path {text.toStdU16String()};
}

fs::path resourcesBesideExecutable()
{
    // Qt asks the application object where its program is.
    if (!QCoreApplication::instance())
        return "Resources";
    const auto folder = pathOf(QCoreApplication::applicationDirPath());
    return folder.filename() == "MacOS" ? folder.parent_path() / "Resources" : folder / "Resources";
}

} // namespace

BundleQt::BundleQt(std::string identifier, std::optional<fs::path> folder)
    : m_identifier(std::move(identifier))
    , m_folder(folder ? *std::move(folder) : resourcesBesideExecutable())
{
}

BundleQt::~BundleQt() = default;

std::optional<fs::path> BundleQt::path(std::string_view name, std::string_view type) const
{
    const auto fileName = std::string {name} + "." + std::string {type};
    auto file = m_folder / fileName;
    std::error_code missing;
    if (fs::exists(file, missing))
        return file;
    const auto resource = QString::fromStdString(fileName);
    for (const auto* place : {":/", "assets:/"}) {
        const auto source = place + resource;
        if (!QFile::exists(source))
            continue;
        const std::lock_guard lock {m_mutex};
        if (!m_copies)
            m_copies = std::make_unique<QTemporaryDir>(QDir::tempPath() + "/kova-resources-XXXXXX");
        const auto copy = m_copies->filePath(resource);
        if (QFile::exists(copy) || QFile::copy(source, copy))
            return pathOf(copy);
    }
    return std::nullopt;
}

} // namespace kova
