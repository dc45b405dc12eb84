// A store with one mailbox, and what an import made of it.
#ifndef VELMORA_TESTS_TOOL_IMPORTFIXTURE_H
#define VELMORA_TESTS_TOOL_IMPORTFIXTURE_H

#include <set>
#include <sstream>

#include "tests/tool/ToolRun.h"

namespace velmora::test {

class Import : public ToolTest {
protected:
    void SetUp() override { MakeStore(); }

    nlohmann::json ImportJson(const std::filesystem::path& path) const { return JsonInStore({"import", path.string(), "--to", kInbox}); }
    std::vector<std::string> Subjects() const
    {
        std::vector<std::string> subjects;
        for (const auto& row : JsonInStore({"item", "list", kInbox})) subjects.push_back(row.at("PR_SUBJECT"));
        return subjects;
    }
    // So many that something can be done to a run before it comes to its end.
    static constexpr int kManyMessages = 10000;
    std::filesystem::path ManyMessages() const
    {
        std::string mbox;
        for (int i = 0; i < kManyMessages; ++i) mbox += "From a@b Thu Jan  1 00:00:00 1970\nSubject: x\n\nbody\n\n";
        return MakeFile("many.mbox", mbox);
    }
    static std::set<std::string> SortedLines(const std::string& text)
    {
        std::istringstream stream(text);
        std::set<std::string> lines;
        for (std::string line; std::getline(stream, line);) lines.insert(line);
        return lines;
    }
    std::string ItemBytes(const std::string& id) const { return ReadFileBytes(FolderPath() / id); }
    std::vector<std::string> ItemFiles() const
    {
        std::vector<std::string> names = FileNames(FolderPath());
        std::erase_if(names, [](const std::string& name) { return !name.ends_with(".MAI"); });
        return names;
    }
};

inline std::string Mail(const std::string& subject, const std::string& lineEnd = "\n")
{
    return "Subject: " + subject + lineEnd + "From: a@b" + lineEnd + lineEnd + "body" + lineEnd;
}

}  // namespace velmora::test

#endif
