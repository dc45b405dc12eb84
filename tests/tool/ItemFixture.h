// A store with one mailbox, and what an item of it is.
#ifndef VELMORA_TESTS_TOOL_ITEMFIXTURE_H
#define VELMORA_TESTS_TOOL_ITEMFIXTURE_H

#include <algorithm>

#include "tests/tool/ToolRun.h"

namespace velmora::test {

class Item : public ToolTest {
protected:
    void SetUp() override { MakeStore(); }
    std::string Get(const std::string& id, const std::string& property) const
    {
        std::string out = InStore({"item", "get", kInbox, id, property}).out;
        return out.empty() ? out : out.substr(0, out.size() - 1);
    }
};

inline std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
        size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

}  // namespace velmora::test

#endif
