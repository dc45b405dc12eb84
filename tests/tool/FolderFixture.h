// A store with one mailbox and a few folders in it.
#ifndef VELMORA_TESTS_TOOL_FOLDERFIXTURE_H
#define VELMORA_TESTS_TOOL_FOLDERFIXTURE_H

#include "tests/tool/DeliveryFixture.h"

namespace velmora::test {

class FolderVerb : public Delivery {
protected:
    // Inbox/Projects/2026 and Inbox/Letters, and one message in Inbox/Projects.
    void MakeFolders() const
    {
        for (const char* name : {"po/box/Inbox/Projects", "po/box/Inbox/Projects/2026", "po/box/Inbox/Letters"})
            InStore({"folder", "add", name});
        InStore({"item", "deliver", "po/box/Inbox/Projects", MakeFile("one.eml", MessageOf("one")).string()});
    }
    // The folders in one, as they are listed.
    std::vector<std::string> Listed(const std::string& folder, bool recursive = false) const
    {
        std::vector<std::string> arguments = {"folder", "list", folder}, names;
        if (recursive) arguments.emplace_back("--recursive");
        for (const auto& row : JsonInStore(arguments)) names.push_back(row.at("VL_FOLDER"));
        return names;
    }
    // Runs it and holds that nothing in the store has changed.
    Outcome WritesNothing(const std::vector<std::string>& arguments, int exitCode = 0) const
    {
        const std::map<std::string, std::string> before = TreeOf(Root());
        const auto touched = std::filesystem::last_write_time(FolderPath());
        Outcome run = InStore(arguments, exitCode);
        EXPECT_EQ(TreeOf(Root()), before);
        EXPECT_EQ(std::filesystem::last_write_time(FolderPath()), touched);
        return run;
    }
    void ExpectRefusalThatWritesNothing(const std::vector<std::string>& arguments, int exitCode, const std::string& line) const
    {
        Outcome run = WritesNothing(arguments, exitCode);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "vlstore: " + line + "\n");
    }
};

}  // namespace velmora::test

#endif
