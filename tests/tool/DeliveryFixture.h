// A store with one mailbox that messages are delivered into.
#ifndef VELMORA_TESTS_TOOL_DELIVERYFIXTURE_H
#define VELMORA_TESTS_TOOL_DELIVERYFIXTURE_H

#include <iterator>
#include <set>
#include <sstream>

#include "tests/tool/ItemFixture.h"

namespace velmora::test {

class Delivery : public Item {
protected:
    std::string DeliverOne(const std::string& subject, const std::string& flags = {}) const
    {
        std::vector<std::string> arguments = {"item", "deliver", kInbox, MakeFile(subject + ".eml", MessageOf(subject)).string()};
        if (!flags.empty()) arguments.insert(arguments.end(), {"--flags", flags});
        nlohmann::json rows = JsonInStore(arguments);
        EXPECT_EQ(rows.size(), 1u);
        return rows.empty() ? std::string() : rows[0].at("VL_ITEM_ID").get<std::string>();
    }
    static std::string MessageOf(const std::string& subject)
    {
        return "Subject: " + subject + "\nFrom: Ada <ada@example.org>\nDate: Mon, 02 Jan 2023 03:04:05 +0000\n\ntext\n";
    }
    // A second element for an item, behind the others, as when the scan of another process came between a message and its
    // insert. The folder has had fewer than nine items.
    void DoubleInIndex(const std::string& id) const
    {
        std::string index = ReadFileBytes(FolderPath() / "_index.xml");
        size_t begin = index.find("<ELEMENT ID=\"" + id + "\""), end = index.find("</ELEMENT>", begin),
               tail = index.rfind("</BASEELEMENT>");
        const std::string lastUid = "LASTUID=\"";
        size_t last = index.find(lastUid);
        ASSERT_TRUE(begin != std::string::npos && end != std::string::npos && tail != std::string::npos && last != std::string::npos);
        last = index.find('"', last + lastUid.size()) - 1;  // its last digit, whatever the form
        std::string element = index.substr(begin, end + std::string("</ELEMENT>").size() - begin);
        element[element.find("UID=\"") + std::string("UID=\"").size()] = '9';
        index[last] = '9';
        index.insert(tail, element);
        WriteFileBytes(FolderPath() / "_index.xml", index);
    }
    nlohmann::json Counts() const { return JsonInStore({"folder", "counts", kInbox}).at(0); }
    // The flags of an item, each between blanks, in any order.
    std::set<std::string> Flags(const std::string& id) const
    {
        std::istringstream text(Get(id, "PR_VL_FLAGSTATUS"));
        return {std::istream_iterator<std::string>(text), {}};
    }
    std::vector<std::string> Messages() const
    {
        std::vector<std::string> names = FileNames(FolderPath());
        std::erase_if(names, [](const std::string& name) { return !name.ends_with(".MAI"); });
        return names;
    }
};

}  // namespace velmora::test

#endif
