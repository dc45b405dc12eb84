#include "SettingsOutput.h"

namespace vlstore {

Row SettingRow(const RegistryEntry& entry)
{
    std::string name = entry.name.empty() ? "@" : entry.name;
    switch (entry.value.type) {
        case RegistryValue::Type::Number:
            return {name, static_cast<int64_t>(entry.value.number), "dword", entry.key};
        case RegistryValue::Type::Text:
            return {name, entry.value.text, "text", entry.key};
        case RegistryValue::Type::Other:
            break;
    }
    return {name, entry.value.text, "other", entry.key};
}

}  // namespace vlstore
