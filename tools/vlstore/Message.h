// What the tool says to a person on standard error.
#ifndef VLSTORE_MESSAGE_H
#define VLSTORE_MESSAGE_H

#include <string>

namespace vlstore {

// "vlstore: TEXT" in a line of its own, whatever a name in the text holds: line ends become blanks, and other control bytes
// are written as "\x1B".
void PutMessage(const std::string& text);

}  // namespace vlstore

#endif
