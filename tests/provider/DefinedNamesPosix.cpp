#include <elf.h>

#include "tests/provider/DefinedNames.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

std::set<std::string> DefinedNames(const std::string& file)
{
    const std::string bytes = ReadFileBytes(file);
    const auto header = At<Elf64_Ehdr>(bytes, 0);
    std::set<std::string> names;
    for (unsigned i = 0; i < header.e_shnum; ++i) {
        const auto section = At<Elf64_Shdr>(bytes, header.e_shoff + uint64_t{i} * header.e_shentsize);
        if (section.sh_type != SHT_DYNSYM) continue;
        const auto strings = At<Elf64_Shdr>(bytes, header.e_shoff + uint64_t{section.sh_link} * header.e_shentsize);
        for (uint64_t at = 0; at < section.sh_size; at += section.sh_entsize) {
            const auto symbol = At<Elf64_Sym>(bytes, section.sh_offset + at);
            if (symbol.st_shndx == SHN_UNDEF || ELF64_ST_BIND(symbol.st_info) == STB_LOCAL) continue;
            names.insert(bytes.c_str() + strings.sh_offset + symbol.st_name);
        }
    }
    return names;
}

}  // namespace velmora::test
