#include "platform/shared/RegistryReading.h"

#include <algorithm>
#include <utility>

#include "platform/Clock.h"

namespace velmora::platform {

namespace {

constexpr size_t kFilesKnown = 8;

RegistryRead ReadPatiently(const RegistryFiles::Reader& read, RegistryBytes& into)
{
    for (const uint32_t wait : kRegistryWaits) {
        into = {};
        const RegistryRead result = read(into);
        if (result != RegistryRead::Refused) return result;
        SleepMs(wait);
    }
    into = {};
    return read(into);
}

}  // namespace

std::shared_ptr<const RegistryKeys> RegistryFiles::KeysOf(const std::string& path, const std::string& stamp, const Reader& read)
{
    const std::lock_guard<std::mutex> hold(lock_);
    if (const Known* const known = Find(path); known && known->keys && !stamp.empty() && known->stamp == stamp) return known->keys;

    RegistryBytes file;
    const RegistryRead result = ReadPatiently(read, file);
    if (result == RegistryRead::Absent) {
        // What a later file of this name holds is not what this one held.
        Forget(path);
        return std::make_shared<const RegistryKeys>();
    }
    Known& known = FindOrAdd(path);
    const bool refused = result == RegistryRead::Refused;
    if (refused && known.keys) return known.keys;
    RegistryContents contents =
        refused || file.bytes.size() > kLargestRegistryFile ? UnreadableRegistryFile() : ParseRegistryFile(file.bytes);
    if (contents.fault) {
        if (refused) file.bytes.clear();
        if (known.faulty != file.bytes) ReportRegistryFault(path, *contents.fault);
        known.faulty = std::move(file.bytes);
    } else {
        known.faulty.reset();
    }
    auto keys = std::make_shared<const RegistryKeys>(std::move(contents.keys));
    if (!refused) {
        known.keys = keys;
        known.stamp = std::move(file.stamp);
    }
    return keys;
}

RegistryFiles::Known* RegistryFiles::Find(const std::string& path)
{
    const auto found = std::find_if(known_.begin(), known_.end(), [&](const Known& each) { return each.path == path; });
    return found != known_.end() ? &*found : nullptr;
}

RegistryFiles::Known& RegistryFiles::FindOrAdd(const std::string& path)
{
    if (Known* const known = Find(path)) return *known;
    if (known_.size() == kFilesKnown) known_.erase(known_.begin());
    known_.push_back({path, {}, nullptr, {}});
    return known_.back();
}

void RegistryFiles::Forget(const std::string& path)
{
    std::erase_if(known_, [&](const Known& each) { return each.path == path; });
}

}  // namespace velmora::platform
