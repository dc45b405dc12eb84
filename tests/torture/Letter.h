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

// The n-th flags that a thread gives, here to this message; nobody else gives them, and to no other message.
std::string LetterFlags(const std::string& name, uint64_t process, uint32_t thread, uint32_t number);
// Whether somebody may have given these to the message, or it has them since it was delivered.
bool AreFlagsOf(const std::string& name, const std::string& flags);
inline constexpr char kFlagsAsDelivered[] = "\\RECENT";
// The same as LetterFlags for a direct call, whose flags alone say that the message was read.
std::string LetterFlagsSeen(const std::string& name, uint64_t process, uint32_t thread, uint32_t number);
// A short text that flags given by nobody else and to no other message have; for those as delivered it is "-".
std::string FlagsMark(const std::string& flags);

}  // namespace velmora::torture

#endif
