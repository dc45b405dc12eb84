// Files of any bytes as an mbox; and messages put into one as its writers do, which must come out equal.
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzFolders.h"
#include "fuzz/FuzzedChoices.h"
#include "tools/vlstore/ExitCode.h"
#include "tools/vlstore/MboxReader.h"

using namespace velmora::test;

namespace {

constexpr size_t kChoiceBytes = 64;

std::filesystem::path MboxFile(std::string_view bytes)
{
    const std::filesystem::path path = FuzzFolders::Get().folder.File().parent_path() / "input.mbox";
    WriteFileBytes(path, bytes);
    return path;
}

std::vector<std::string> MessagesOf(const std::filesystem::path& path)
{
    std::vector<std::string> messages;
    vlstore::MboxReader reader(path);
    for (std::string message; reader.Next(message);) messages.push_back(message);
    return messages;
}

void AnyFile(std::string_view bytes)
{
    const std::filesystem::path path = MboxFile(bytes);
    const bool looksLike = vlstore::MboxReader::LooksLikeMbox(path);
    size_t total = 0;
    try {
        for (const std::string& message : MessagesOf(path)) total += message.size();
    } catch (const vlstore::Failure&) {
        if (looksLike) Require("an mbox by its looks is none");
        return;
    }
    if (total > bytes.size()) Require("more came out than went in");
}

// A line "From " of a message, with any number of ">" before it, gets one more.
std::string Quoted(const std::string& message)
{
    std::string quoted;
    for (size_t at = 0; at < message.size();) {
        const size_t end = std::min(message.find('\n', at), message.size() - 1) + 1;
        const std::string line = message.substr(at, end - at);
        const size_t quotes = line.find_first_not_of('>');
        if (quotes != std::string::npos && line.compare(quotes, 5, "From ") == 0) quoted += '>';
        quoted += line;
        at = end;
    }
    return quoted;
}

std::string AnyMessage(Choices& choices, const std::string& bytes)
{
    const char* const pieces[] = {"From ", ">From ", ">>From x\n", "\n", "\r\n", "Subject: x\n", "From a Thu Jan  1 00:00:00 1970\n",
                                  "\n\n"};
    std::string message = "X: y\n";
    for (uint32_t count = choices.Below(6); count > 0; --count)
        message += choices.OneIn(3) ? bytes.substr(choices.Below(static_cast<uint32_t>(bytes.size() + 1)), 50) : choices.Pick(pieces);
    return message.ends_with('\n') ? message : message + "\n";
}

void WrittenMessages(Choices& choices, const std::string& bytes)
{
    const char* const separators[] = {"From a@b Thu Jan  1 00:00:00 1970\n", "From - Mon Feb 29 23:59 2000\r\n",
                                      "From x y Sat Dec 31 1:02:03 CET 1999\n"};
    std::vector<std::string> messages;
    std::string mbox;
    for (uint32_t count = 1 + choices.Below(4); count > 0; --count) {
        messages.push_back(AnyMessage(choices, bytes));
        mbox += choices.Pick(separators) + Quoted(messages.back()) + (choices.OneIn(2) ? "\r\n" : "\n");
    }
    if (MessagesOf(MboxFile(mbox)) != messages) Require("other messages came out of\n" + mbox);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const size_t choiceBytes = std::min(size, kChoiceBytes);
    const std::string bytes(reinterpret_cast<const char*>(data), size - choiceBytes);
    FuzzedChoices choices(data + bytes.size(), choiceBytes);
    AnyFile(bytes);
    WrittenMessages(choices, bytes);
    return 0;
}
