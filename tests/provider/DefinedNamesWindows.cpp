#include <windows.h>

#include <optional>

#include "tests/provider/DefinedNames.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

namespace {

// A place in the loaded image as a place in the file.
std::optional<uint64_t> PlaceInFile(const std::string& bytes, const IMAGE_NT_HEADERS64& header, uint64_t sections, uint64_t address)
{
    for (unsigned i = 0; i < header.FileHeader.NumberOfSections; ++i) {
        const auto section = At<IMAGE_SECTION_HEADER>(bytes, sections + uint64_t{i} * sizeof(IMAGE_SECTION_HEADER));
        if (address >= section.VirtualAddress && address < uint64_t{section.VirtualAddress} + section.SizeOfRawData)
            return address - section.VirtualAddress + section.PointerToRawData;
    }
    return std::nullopt;
}

}  // namespace

std::set<std::string> DefinedNames(const std::string& file)
{
    const std::string bytes = ReadFileBytes(file);
    const auto start = static_cast<uint64_t>(At<IMAGE_DOS_HEADER>(bytes, 0).e_lfanew);
    const auto header = At<IMAGE_NT_HEADERS64>(bytes, start);
    const uint64_t sections = start + sizeof(IMAGE_NT_HEADERS64);
    const auto place = [&](uint64_t address) { return PlaceInFile(bytes, header, sections, address).value(); };

    const auto table =
        At<IMAGE_EXPORT_DIRECTORY>(bytes, place(header.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress));
    std::set<std::string> names;
    for (DWORD i = 0; i < table.NumberOfNames; ++i)
        names.insert(bytes.c_str() + place(At<DWORD>(bytes, place(table.AddressOfNames) + uint64_t{i} * sizeof(DWORD))));
    return names;
}

}  // namespace velmora::test
