#include "tests/torture/Letter.h"

#include <cstdio>
#include <functional>

namespace velmora::torture {

namespace {

uint32_t NumberOf(const std::string& name)
{
    uint32_t hash = 2166136261u;
    for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return hash;
}

// Of different lengths as well, and the length is a part of the proof.
std::string Flags(const std::string& before, const std::string& name, uint64_t process, uint32_t thread, uint32_t number)
{
    const std::string head = before + " \\V" + std::to_string(process) + "-" + std::to_string(thread) + "-" + std::to_string(number);
    return head + std::string(NumberOf(head + name) % 60, 'v');
}

}  // namespace

std::string LetterName(uint64_t process, uint32_t thread, uint32_t number)
{
    char name[32];
    std::snprintf(name, sizeof name, "%04x%02x%06x.MAI", static_cast<unsigned>(process & 0xFFFF), thread & 0xFF, number & 0xFFFFFF);
    return name;
}

// Of different lengths, so that an element that is written over another does not fit by chance.
std::string LetterSubject(const std::string& name)
{
    return "letter " + name + " of " + std::string(NumberOf(name) % 150, static_cast<char>('a' + NumberOf(name) % 26)) + " end";
}

std::string LetterSender(const std::string& name) { return "sender-" + std::to_string(NumberOf(name)) + "@example.org"; }

std::string LetterBytes(const std::string& name)
{
    std::string bytes = "From: " + LetterSender(name) + "\r\nTo: box@example.org\r\nSubject: " + LetterSubject(name) +
                        "\r\nDate: Mon, 02 Jan 2023 03:04:05 +0000\r\nMessage-ID: <" + name + "@example.org>\r\n\r\n";
    for (uint32_t line = 0; line < NumberOf(name) % 40; ++line) bytes += "line " + std::to_string(line) + " of " + name + "\r\n";
    return bytes;
}

std::string LetterFlags(const std::string& name, uint64_t process, uint32_t thread, uint32_t number)
{
    return Flags(kFlagsAsDelivered, name, process, thread, number);
}

std::string LetterFlagsSeen(const std::string& name, uint64_t process, uint32_t thread, uint32_t number)
{
    return Flags(std::string(kFlagsAsDelivered) + " \\SEEN", name, process, thread, number);
}

std::string FlagsMark(const std::string& flags)
{
    const size_t begin = flags.find("\\V");
    return begin == flags.npos ? "-" : flags.substr(begin + 2, flags.find('v', begin) - begin - 2);
}

bool AreFlagsOf(const std::string& name, const std::string& flags)
{
    if (flags == kFlagsAsDelivered) return true;
    const std::string head = flags.substr(0, flags.find('v'));
    return flags == head + std::string(NumberOf(head + name) % 60, 'v');
}

}  // namespace velmora::torture
