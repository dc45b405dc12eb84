#include "tests/tool/SettingsAgreement.h"

#include <algorithm>
#include <vector>

#include "platform/shared/RegistryFile.h"
#include "tools/vlstore/RegistryText.h"

namespace velmora::test {

namespace {

using platform::ParseRegistryFile;
using platform::RegistryContents;
using vlstore::RegistryText;

std::string Named(const std::string& key, const std::string& name) { return "\"" + name + "\" in [" + key + "]"; }

// What the tool has other than `store`.
std::string Difference(const RegistryText& tool, const RegistryContents& store)
{
    size_t line = store.fault ? store.fault->line : 0;
    if (tool.FirstFault() != line) return "fault in line " + std::to_string(tool.FirstFault()) + ", not " + std::to_string(line);
    size_t count = 0;
    for (const auto& [key, values] : store.keys) {
        for (const auto& [name, value] : values) {
            const vlstore::RegistryValue* found = tool.Find(key, name);
            if (!found) return Named(key, name) + " is not found";
            if (found->code != value.type || found->data != value.data) return Named(key, name) + " is read otherwise";
            ++count;
        }
    }
    return tool.Entries().size() == count ? "" : "a value is found that is none";
}

std::string Differing(const std::string& what, std::string_view bytes) { return what.empty() ? "" : what + " of\n" + std::string(bytes); }

// Bytes of `before` that stand in `after` too: those at its front and those at its end.
size_t BytesKept(std::string_view before, std::string_view after)
{
    size_t most = std::min(before.size(), after.size());
    auto front = static_cast<size_t>(std::mismatch(before.begin(), before.begin() + static_cast<ptrdiff_t>(most), after.begin()).first -
                                     before.begin());
    size_t back = 0;
    while (back < most - front && before[before.size() - 1 - back] == after[after.size() - 1 - back]) ++back;
    return front + back;
}

std::string AnyText(Choices& choices, bool empty)
{
    const char* const texts[] = {
        "x",        "Mail Root",        "C:\\Mail\\",  "\"", "\\", " ", ";", "=", "]", "\r", "\xFC", "\xC3\xBC", "\x80", "\xE2\x82\xAC",
        "\xD0\x9F", "\xF0\x9F\x98\x80", "\xED\xA0\xBD"};
    std::string text = empty ? "" : "y";
    for (uint32_t count = choices.Below(4); count > 0; --count) text += choices.OneIn(6) ? choices.Bytes(4) : choices.Pick(texts);
    std::erase(text, '\n');
    return text;
}

std::string AnyKey(Choices& choices)
{
    std::string key = "HKEY_LOCAL_MACHINE\\" + AnyText(choices, false);
    while (key.ends_with('\\')) key.pop_back();
    return key;
}

std::string OtherCase(Choices& choices, std::string text)
{
    for (char& c : text) {
        if (((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) && choices.OneIn(2)) c = static_cast<char>(c ^ 0x20);
    }
    return text;
}

struct Target {
    std::string key, name;
};

// One that is there, one under a key that is there, or a new one.
Target AnyTarget(const RegistryContents& store, Choices& choices)
{
    if (store.keys.empty() || choices.OneIn(4)) return {AnyKey(choices), AnyText(choices, true)};
    auto key = store.keys.begin();
    std::advance(key, choices.Below(static_cast<uint32_t>(store.keys.size())));
    Target target{OtherCase(choices, key->first), AnyText(choices, true)};
    if (key->second.empty() || choices.OneIn(3)) return target;
    auto value = key->second.begin();
    std::advance(value, choices.Below(static_cast<uint32_t>(key->second.size())));
    target.name = OtherCase(choices, value->first);
    return target;
}

std::string Wide(std::string_view bytes)
{
    std::string wide = "\xFF\xFE";
    for (char c : bytes) {
        wide += c;
        wide += '\0';
    }
    return wide;
}

std::string AnyLine(Choices& choices)
{
    const char* const keys[] = {"[HKEY_LOCAL_MACHINE\\A]",
                                "[hkey_local_machine\\a]",
                                "[HKEY_LOCAL_MACHINE\\A\\B]",
                                "[HKEY_LOCAL_MACHINE\\AB\\]",
                                "[-HKEY_LOCAL_MACHINE\\A]",
                                "[-HKEY_LOCAL_MACHINE\\a\\b]",
                                "[-HKEY_LOCAL_MACHINE\\a\\]",
                                "  [x]  ",
                                "[HKEY_LOCAL_MACHINE\\A] ;",
                                "[HKEY_LOCAL_MACHINE\\A",
                                "[]",
                                "[-]"};
    const char* const names[] = {"\"a\"", "\"A\"", "@", "\"\"", "\"b c\"", "\"q\\\"\\x\\\\\"", " \"a\" ", "a", "\"a"};
    const char* const values[] = {"\"x\"",
                                  "\"x\\y\\\\\\\"\" ; more",
                                  "-",
                                  "- ;",
                                  "dword:0000000a",
                                  "DWORD:ff ; x",
                                  "dword: 1 ",
                                  "dword:123456789",
                                  "dword:-1",
                                  "dword:",
                                  "hex:01,02",
                                  "hex:01,\\\r\n  02,ff",
                                  "hex:\\\n\\\n",
                                  "hex(2):41,00,ac,20,\\",
                                  "hex(7):41,0",
                                  "hex(4):1,2",
                                  "HEX(b):01,,2",
                                  "hex(1):41,00,00,00",
                                  "hex(1):3d,d8,0",
                                  "hex:01 ; no",
                                  "\"open",
                                  "\"x\" y",
                                  "hex (1):1",
                                  "hex(100000000):1"};
    const char* const others[] = {"", "; a comment", "; ends in \\", " \t", "\r", "Windows Registry Editor Version 5.00", "nonsense"};
    uint32_t kind = choices.Below(16);
    if (kind < 4) return choices.Pick(keys);
    if (kind < 6) return choices.Pick(others);
    std::string line = std::string(choices.Pick(names)) + (choices.OneIn(8) ? " = " : "=");
    return line + choices.Pick(values);
}

}  // namespace

std::string ReadingDisagreement(std::string_view bytes)
{
    RegistryText tool = RegistryText::Parse(bytes);
    std::string wrong = Difference(tool, ParseRegistryFile(bytes));
    if (wrong.empty() && tool.Serialise() != bytes) wrong = "other bytes are written";
    return Differing(wrong, bytes);
}

std::string SettingDisagreement(std::string_view bytes, Choices& choices)
{
    RegistryText tool = RegistryText::Parse(bytes);
    if (tool.FirstFault() != 0) return "";
    RegistryContents expected = ParseRegistryFile(bytes);
    Target target = AnyTarget(expected, choices);
    const vlstore::RegistryValue value = choices.OneIn(2) ? vlstore::RegistryValue::OfText(AnyText(choices, true))
                                                          : vlstore::RegistryValue::OfNumber(choices.Below(0xFFFFFFFFu));
    // A character of UTF-16 is two bytes for one or more.
    const vlstore::RegistryValue* present = tool.Find(target.key, target.name);
    size_t replaced = present ? 2 * present->written.size() : 0;
    tool.Set(target.key, target.name, value);
    expected.keys[target.key][target.name] = {value.code, value.data};

    std::string after = tool.Serialise();
    std::string wrong = Difference(tool, expected);
    if (wrong.empty()) wrong = ReadingDisagreement(after);
    if (wrong.empty() && BytesKept(bytes, after) + replaced < bytes.size()) wrong = "other bytes have changed";
    return wrong.empty() ? "" : Differing("setting " + Named(target.key, target.name) + " to " + value.written + ": " + wrong, bytes);
}

std::string RandomSettingsFile(Choices& choices)
{
    const char* const ends[] = {"\n", "\r\n", "\r\r\n", ""};
    std::string file = choices.OneIn(8) ? "\r\n \n" : "";
    if (!choices.OneIn(16)) file += choices.OneIn(4) ? "REGEDIT4\n" : "Windows Registry Editor Version 5.00\r\n";
    if (!choices.OneIn(16)) file += "[HKEY_LOCAL_MACHINE\\A]\r\n";
    for (uint32_t count = choices.Below(12); count > 0; --count)
        file += AnyLine(choices) + (choices.OneIn(24) ? choices.Pick(ends) : ends[choices.Below(2)]);
    if (choices.OneIn(4) && !file.empty()) file.resize(file.size() - choices.Below(4) % file.size());
    if (choices.OneIn(4)) file.insert(choices.Below(static_cast<uint32_t>(file.size() + 1)), choices.Bytes(3));
    if (choices.OneIn(8)) return "\xEF\xBB\xBF" + file;
    if (choices.OneIn(3)) return Wide(file) + (choices.OneIn(4) ? "\xAC" : "");
    return file;
}

}  // namespace velmora::test
