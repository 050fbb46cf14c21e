#include "Tests/Support/ProcessResources.h"

#include "Tests/Support/Waiting.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace kova::tests {

ProcessResources ProcessResources::now()
{
    ProcessResources resources;
    // The folder itself is open while it is read.
    resources.fileDescriptors
        = static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator {"/proc/self/fd"}, {})) - 1;
    std::ifstream status {"/proc/self/status"};
    for (std::string name; status >> name; status.ignore(1'000, '\n')) {
        std::size_t kibibytes = 0;
        if (name == "Threads:")
            status >> resources.threads;
        else if (name == "VmRSS:" && status >> kibibytes)
            resources.residentBytes = kibibytes * 1'024;
        else if (name == "VmHWM:" && status >> kibibytes)
            resources.peakResidentBytes = kibibytes * 1'024;
    }
    return resources;
}

ProcessResources ProcessResources::afterReturningTo(const ProcessResources& before)
{
    ProcessResources resources;
    (void)comesTrue([&] {
        resources = now();
        return resources.fileDescriptors <= before.fileDescriptors && resources.threads <= before.threads;
    });
    return resources;
}

std::ostream& operator<<(std::ostream& stream, const ProcessResources& resources)
{
    return stream << resources.fileDescriptors << " file descriptors, " << resources.threads << " threads, "
                  << resources.residentBytes / 1'024 << " KiB";
}

} // namespace kova::tests
