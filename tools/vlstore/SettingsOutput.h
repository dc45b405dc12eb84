// How the settings verbs show a value.
#ifndef VLSTORE_SETTINGSOUTPUT_H
#define VLSTORE_SETTINGSOUTPUT_H

#include <string>
#include <vector>

#include "Output.h"
#include "RegistryText.h"

namespace vlstore {

inline const std::vector<std::string> kSettingColumns = {"name", "value", "type", "key"};
inline constexpr size_t kSettingValueColumn = 1;

// A number stays a number in JSON; bytes stand as the settings file writes them.
Row SettingRow(const RegistryEntry& entry);

}  // namespace vlstore

#endif
