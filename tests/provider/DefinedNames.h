// What a built shared library lets out.
#ifndef VELMORA_TESTS_PROVIDER_DEFINEDNAMES_H
#define VELMORA_TESTS_PROVIDER_DEFINEDNAMES_H

#include <cstdint>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string>

namespace velmora::test {

// The names that the library of a file defines for others.
std::set<std::string> DefinedNames(const std::string& file);

// A record in the bytes of such a file.
template <typename T>
T At(const std::string& bytes, uint64_t offset)
{
    T value{};
    if (offset + sizeof(T) > bytes.size()) throw std::out_of_range("not a library file as expected");
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

}  // namespace velmora::test

#endif
