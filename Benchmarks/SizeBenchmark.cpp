// How much code and data the SDK and its Linux platform add to a host, libraries apart.
//
// The sections that are loaded from a file are summed, as size(1) does it for text and data; stripping changes none of
// them. The hosts link the static libraries without what they do not use, and the bare process is subtracted.

#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Program.h"
#include "Benchmarks/Support/Require.h"

#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using namespace kova::benchmarks;

template <typename Record> Record recordAt(const std::string& file, std::size_t offset)
{
    Record record {};
    require(offset <= file.size() && sizeof record <= file.size() - offset, "a program file is cut short");
    std::memcpy(&record, file.data() + offset, sizeof record);
    return record;
}

double loadedKB(const std::string& path)
{
    std::ifstream stream {path, std::ios::binary};
    const std::string file {std::istreambuf_iterator<char> {stream}, {}};
    const auto header = recordAt<Elf64_Ehdr>(file, 0);
    require(std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == ELFCLASS64,
        path + " is no 64-bit ELF file");
    double bytes = 0;
    for (std::size_t index = 0; index < header.e_shnum; ++index) {
        const auto section = recordAt<Elf64_Shdr>(file, header.e_shoff + index * sizeof(Elf64_Shdr));
        if ((section.sh_flags & SHF_ALLOC) != 0 && section.sh_type != SHT_NOBITS)
            bytes += static_cast<double>(section.sh_size);
    }
    return bytes / 1000;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    const auto hostKB = [](const std::string& host) {
        return loadedKB(besideThisProgram(host)) - loadedKB(besideThisProgram("bare-process"));
    };
#ifdef KOVA_SHARED_LIBRARY
    report({.what = "code and data: the shared library",
        .unit = "KB",
        .value = loadedKB(KOVA_SHARED_LIBRARY),
        .goal = Goal::value(350)});
#endif
    report({.what = "code and data: in a host that uses all of it",
        .unit = "KB",
        .value = hostKB("complete-host"),
        .goal = Goal::value(350)});
    report({.what = "code and data: in a host without the centre",
        .unit = "KB",
        .value = hostKB("minimal-host"),
        .goal = Goal::value(350)});
    return 0;
}
