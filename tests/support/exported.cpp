// Reads the library's file once more and walks its .dynsym section.
#include "support/exported.hpp"

#include <dlfcn.h>
#include <elf.h>

#include <fstream>
#include <iterator>
#include <vector>

#include <gtest/gtest.h>

namespace ven::test
{

std::set<std::string> exportedFunctions(const void* address, std::string_view prefix)
{
    std::set<std::string> names;
    Dl_info info{};
    std::ifstream file(dladdr(address, &info) != 0 ? info.dli_fname : "", std::ios::binary);
    const std::vector<char> image{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (image.size() < sizeof(Elf64_Ehdr)) {
        ADD_FAILURE() << "the library of " << address << " cannot be read";
        return names;
    }
    const auto* header = reinterpret_cast<const Elf64_Ehdr*>(image.data());
    const auto* sections = reinterpret_cast<const Elf64_Shdr*>(image.data() + header->e_shoff);
    for (int s = 0; s < header->e_shnum; ++s) {
        if (sections[s].sh_type != SHT_DYNSYM) {
            continue;
        }
        const char* strings = image.data() + sections[sections[s].sh_link].sh_offset;
        const auto* symbols = reinterpret_cast<const Elf64_Sym*>(image.data() + sections[s].sh_offset);
        for (std::size_t i = 0; i < sections[s].sh_size / sizeof(Elf64_Sym); ++i) {
            const std::string_view name = strings + symbols[i].st_name;
            if (ELF64_ST_TYPE(symbols[i].st_info) == STT_FUNC && symbols[i].st_shndx != SHN_UNDEF &&
                ELF64_ST_BIND(symbols[i].st_info) != STB_LOCAL && name.starts_with(prefix)) {
                names.emplace(name);
            }
        }
    }
    return names;
}

} // namespace ven::test
