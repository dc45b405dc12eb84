#include "persistence/IndexHead.h"

#include <algorithm>

#include "common/FileStream.h"
#include "persistence/IndexTags.h"

namespace velmora {

namespace {

// A root tag with its brackets.
constexpr size_t kHeadSize = kLongestTag + 2;

}  // namespace

std::string_view IndexHeadOf(std::string_view bytes) { return bytes.substr(RootTagAt(bytes), kHeadSize); }

bool ReadIndexHead(FileStream& file, uint64_t size, std::string& head)
{
    head.clear();
    file.SeekTo(0);
    for (size_t wanted = kHeadSize;; wanted *= 2) {
        const size_t had = head.size();
        head.resize(wanted);
        head.resize(had + file.Read(head.data() + had, wanted - had));
        const bool atEnd = head.size() < wanted;
        if (file.Bad() || (atEnd && head.size() < size)) return false;
        const std::string_view rest = std::string_view(head).substr(RootTagAt(head));
        // What is still in front of the root tag has not ended here.
        const bool inFront = rest.starts_with("<!--") || rest.starts_with("<?");
        if (!atEnd && (inFront || rest.size() < kHeadSize)) continue;
        head = std::string(rest.substr(0, kHeadSize));
        return true;
    }
}

}  // namespace velmora
