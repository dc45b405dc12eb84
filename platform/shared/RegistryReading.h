// How settings files are read: patiently, and with the settings that were read last where a file is refused for now.
//
// Whoever replaces a settings file holds it for a moment, in which nobody else may open it. That a file is there and cannot
// be read says nothing of what it holds, so it is never taken for one without values.
#ifndef VELMORA_PLATFORM_SHARED_REGISTRYREADING_H
#define VELMORA_PLATFORM_SHARED_REGISTRYREADING_H

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/shared/RegistryFile.h"

namespace velmora::platform {

enum class RegistryRead {
    Done,
    Absent,  // there is no such file, or the name is no file's
    Refused  // it is there, and cannot be opened or read
};

struct RegistryBytes {
    std::string bytes;  // of a file that is too large, more than kLargestRegistryFile of them
    std::string stamp;  // what these bytes are known by as long as they are the same; empty when nothing tells
};

// The waits between two attempts at a file that is refused, in milliseconds.
inline constexpr uint32_t kRegistryWaits[] = {1, 2, 4, 8};

// The settings files of the process. Any thread may ask; one file is read at a time.
class RegistryFiles {
public:
    using Reader = std::function<RegistryRead(RegistryBytes& into)>;

    // The keys of the file as it is now; none when there is no file. `stamp`: what it is known by at present, or empty: what
    // was read under the same stamp is not read again. While `read` is refused it is called once more behind each of the
    // waits, and then the keys are those that were read last. A fault is reported once for each content.
    std::shared_ptr<const RegistryKeys> KeysOf(const std::string& path, const std::string& stamp, const Reader& read);

private:
    struct Known {
        std::string path;
        std::string stamp;
        std::shared_ptr<const RegistryKeys> keys;  // null: never read
        std::optional<std::string> faulty;         // the content whose fault was told last
    };
    Known* Find(const std::string& path);
    Known& FindOrAdd(const std::string& path);
    void Forget(const std::string& path);

    std::mutex lock_;
    std::vector<Known> known_;  // a few; the oldest goes for a new one
};

}  // namespace velmora::platform

#endif
