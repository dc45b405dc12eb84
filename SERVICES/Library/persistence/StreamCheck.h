// The contention check of the index writer: a report, not a control.
#ifndef VELMORA_PERSISTENCE_STREAMCHECK_H
#define VELMORA_PERSISTENCE_STREAMCHECK_H

#include <cstdint>
#include <string>

#include "common/FileStream.h"

namespace velmora {

// Places in the code where the stream is checked; they only have to differ.
enum class StreamSite : uint32_t {
    Header = 1,
    StrikeOutSeek,
    StrikeOutWrite,
    FirstSeek,
    FirstFlush,
    EndSeek,
    TrailerSeek,
    GapEnd,
    GapSeek,
    GapRead,
    ElementSeek,
    GapWrite,
    LastFlush,
};

// False when the stream has failed, which goes to the event log. The save goes on with the stream as it stands, up to the next
// element, so callers may ignore the answer.
bool CheckStreamState(const FileStream& stream, StreamSite site, const std::string& context = {});

}  // namespace velmora

#endif
