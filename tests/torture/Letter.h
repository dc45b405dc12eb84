// The messages that are delivered: their names, and what is in them. All of a message follows from its name, so that
// whoever finds one can tell whether it is whole.
#ifndef VELMORA_TESTS_TORTURE_LETTER_H
#define VELMORA_TESTS_TORTURE_LETTER_H

#include <cstdint>
#include <string>

namespace velmora::torture {

// The name of the n-th message of a thread; no other thread of the run has it. Always of the same length.
std::string LetterName(uint64_t process, uint32_t thread, uint32_t number);

std::string LetterSubject(const std::string& name);
std::string LetterSender(const std::string& name);
std::string LetterBytes(const std::string& name);

}  // namespace velmora::torture

#endif
