#include "SettingsOutput.h"

namespace vlstore {

Row SettingRow(const RegistryEntry& entry)
{
    std::string name = entry.name.empty() ? "@" : entry.name;
    switch (entry.value.GetType()) {
        case RegistryValue::Type::Number:
            return {name, static_cast<int64_t>(entry.value.Number().value_or(0)), "dword", entry.key};
        case RegistryValue::Type::Text:
            return {name, entry.value.Text(), "text", entry.key};
        case RegistryValue::Type::Other:
            break;
    }
    return {name, entry.value.written, "other", entry.key};
}

}  // namespace vlstore
