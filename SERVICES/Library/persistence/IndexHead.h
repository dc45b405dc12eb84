// The head of an index file: its root tag, behind whatever stands in front of that.
#ifndef VELMORA_PERSISTENCE_INDEXHEAD_H
#define VELMORA_PERSISTENCE_INDEXHEAD_H

#include <cstdint>
#include <string>
#include <string_view>

namespace velmora {

class FileStream;

// The bytes from the root tag on, as far as one may reach: without the mark of a coding, white space, a declaration, comments.
std::string_view IndexHeadOf(std::string_view bytes);

// The same of an open file that has at least `size` bytes. Reads no more than it has to, which is all of a file whose front never
// ends. False when that cannot be read now. Leaves the position and the state of the stream as they come.
[[nodiscard]] bool ReadIndexHead(FileStream& file, uint64_t size, std::string& head);

}  // namespace velmora

#endif
