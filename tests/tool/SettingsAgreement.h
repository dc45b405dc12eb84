// The tool and the store read settings files each with a parser of its own: what they must agree on, for any bytes.
#ifndef VELMORA_TESTS_TOOL_SETTINGSAGREEMENT_H
#define VELMORA_TESTS_TOOL_SETTINGSAGREEMENT_H

#include <string>
#include <string_view>

#include "tests/persistence/Choices.h"

namespace velmora::test {

// Each returns what is wrong, or nothing.

// The same values of the same types, and the same line of the first fault; the tool writes the file back as it is.
std::string ReadingDisagreement(std::string_view bytes);
// The tool sets one value, new or present: the store reads it and every other value as before, and no other byte changed.
std::string SettingDisagreement(std::string_view bytes, Choices& choices);

// Of all that such a file is made of, with faults here and there.
std::string RandomSettingsFile(Choices& choices);

}  // namespace velmora::test

#endif
