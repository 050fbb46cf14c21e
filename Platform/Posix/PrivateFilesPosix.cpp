#include "Platform/Libraries/PrivateFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>

namespace kova {

namespace fs = std::filesystem;

namespace {

struct Descriptor {
    ~Descriptor()
    {
        if (number >= 0)
            close(number);
    }
    const int number;
};

// A new name outlives a power cut only when the folder it stands in was brought to the disk.
void syncFolder(const fs::path& folder)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

} // namespace

void makePrivateFolder(const fs::path& folder)
{
    if (fs::exists(fs::symlink_status(folder)))
        return;
    if (folder.has_parent_path() && folder.parent_path() != folder)
        makePrivateFolder(folder.parent_path());
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms::owner_all);
    syncFolder(folder.parent_path());
}

// A folder that somebody else has prepared may hold a forged inbox, or links to files that are not ours to change.
void requireOwnFolder(const fs::path& folder)
{
    const auto refuse = [&](const std::string& why) {
        throw std::runtime_error {"its folder " + folder.string() + " " + why + ", so the store is not used"};
    };
    const Descriptor opened {.number = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
    if (opened.number < 0) {
        if (fs::is_symlink(fs::symlink_status(folder)))
            refuse("is a link");
        throw fs::filesystem_error {"cannot open", folder, std::error_code {errno, std::generic_category()}};
    }
    struct stat status {};
    if (fstat(opened.number, &status) != 0)
        throw fs::filesystem_error {"cannot look at", folder, std::error_code {errno, std::generic_category()}};
    if (status.st_uid != geteuid())
        refuse("belongs to the user " + std::to_string(status.st_uid) + ", not to this one ("
            + std::to_string(geteuid()) + ")");
    constexpr mode_t others = S_IRWXG | S_IRWXO;
    if ((status.st_mode & others) != 0 && fchmod(opened.number, status.st_mode & S_IRWXU) != 0 && errno != EROFS)
        throw fs::filesystem_error {"cannot make private", folder, std::error_code {errno, std::generic_category()}};
}

// Only a regular file of our own is opened: a pipe would hang, and a link leads to somebody else's file.
void requireOwnFile(const fs::path& file)
{
    struct stat status {};
    if (lstat(file.c_str(), &status) != 0) {
        if (errno == ENOENT)
            return;
        throw fs::filesystem_error {"cannot look at", file, std::error_code {errno, std::generic_category()}};
    }
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error {file.filename().string()
            + (S_ISLNK(status.st_mode)        ? " is a link"
                    : S_ISDIR(status.st_mode) ? " is a folder"
                                              : " is no file")};
    if (status.st_uid != geteuid())
        throw std::runtime_error {file.filename().string() + " belongs to the user " + std::to_string(status.st_uid)
            + ", not to this one (" + std::to_string(geteuid()) + ")"};
}

// SQLite gives the log and the index beside a database the permissions of the database itself.
void makePrivateFile(const fs::path& file)
{
    constexpr mode_t ownersAlone = S_IRUSR | S_IWUSR;
    if (!fs::exists(file)) {
        const Descriptor created {
            .number = open(file.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, ownersAlone)};
        if (created.number < 0)
            throw fs::filesystem_error {"cannot create", file, std::error_code {errno, std::generic_category()}};
        // Undoes what the process's file mode mask has taken away.
        fchmod(created.number, ownersAlone);
    }
    // Takes away what others may do, and nothing of what the owner has set.
    constexpr auto others = fs::perms::group_all | fs::perms::others_all;
    if ((fs::status(file).permissions() & others) != fs::perms::none)
        fs::permissions(file, others, fs::perm_options::remove);
}

std::error_code writeRefusal(const fs::path& path)
{
    if (access(path.c_str(), W_OK) != 0 && errno != ENOENT && errno != ENOTDIR && errno != ELOOP)
        return {errno, std::generic_category()};
    return {};
}

} // namespace kova
