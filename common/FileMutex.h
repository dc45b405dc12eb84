// The mutex of one file. Nothing makes one: what the store locks, it locks by Mutex and by block files.
#ifndef VELMORA_COMMON_FILEMUTEX_H
#define VELMORA_COMMON_FILEMUTEX_H

#include <map>
#include <string>

#include "common/UnknownPtr.h"

namespace velmora {

class FileMutex final : public Unknown {
public:
    void Destroy() override { delete this; }
};

// By the names of the files.
using FileMutexTable = std::map<std::string, UnknownPtr<FileMutex>>;

}  // namespace velmora

#endif
