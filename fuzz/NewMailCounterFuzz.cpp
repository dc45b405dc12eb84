// File names of any bytes as the counters of new mail that a delivery agent leaves: the largest counts, and all go. What is
// no counter stays.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzedChoices.h"
#include "index/StoreIndexLife.h"
#include "tests/support/TestStore.h"

using namespace velmora;
using namespace velmora::test;

namespace {

constexpr uint32_t kMostNames = 6;
constexpr uint32_t kLongestName = 40;

std::string Upper(std::string text)
{
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

// Bytes that no file of a store has in its name are left out.
std::string NameOf(Choices& choices)
{
    const char* const heads[] = {"_", "_7", "_0", "_-", "_+", "_ ", "_2147483648", "", "x_"};
    const char* const tails[] = {".NEW", ".new", ".New", ".NE", ".NEWS", ".1.NEW", "_.NEW", ""};
    std::string name = choices.Pick(heads) + choices.Bytes(kLongestName) + choices.Pick(tails);
    std::erase_if(name, [](char c) {
        return static_cast<unsigned char>(c) < ' ' || std::string_view("\\/:*?\"<>|").find(c) != std::string_view::npos;
    });
    while (name.ends_with('.') || name.ends_with(' ')) name.pop_back();
    return name;
}

bool IsCounter(const std::string& name) { return name.starts_with('_') && Upper(name).ends_with(".NEW"); }

// As a C library of 32 bits reads it; less than nothing counts for nothing.
uint32_t PlainCount(const std::string& name)
{
    const std::string number = name.substr(1, name.find('.') - 1);
    return static_cast<uint32_t>(std::clamp<long long>(std::strtoll(number.c_str(), nullptr, 10), 0, INT32_MAX));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static TempDirectory store;
    const std::filesystem::path directory = store / "box";
    std::filesystem::create_directories(directory);
    FuzzedChoices choices(data, size);
    std::set<std::string> stay;
    std::set<std::string> seen;  // names that differ only in case are one name
    uint32_t expected = 0;
    for (uint32_t count = choices.Below(kMostNames + 1); count > 0; --count) {
        const std::string name = NameOf(choices);
        if (name.empty() || !seen.insert(Upper(name)).second) continue;
        const bool isDirectory = choices.OneIn(8);
        if (isDirectory)
            std::filesystem::create_directory(directory / name);
        else
            WriteFileBytes(directory / name, "");
        if (isDirectory || !IsCounter(name))
            stay.insert(name);
        else
            expected = std::max(expected, PlainCount(name));
    }

    const uint32_t taken = TakeNewMailCounter(directory.string().c_str());
    if (taken != expected) Require("new mail is " + std::to_string(taken) + " and not " + std::to_string(expected));
    const std::vector<std::string> left = FileNames(directory);
    if (!std::equal(left.begin(), left.end(), stay.begin(), stay.end())) Require("other files than those that are no counters were left");
    if (TakeNewMailCounter(directory.string().c_str()) != 0) Require("new mail was counted twice");
    for (const std::string& name : stay) std::filesystem::remove(directory / name);
    return 0;
}
