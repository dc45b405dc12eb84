// What becomes of an exception in work on a document: a line for the operator, and the work's failure.
#ifndef VELMORA_FOLDERS_DOCUMENTGUARD_H
#define VELMORA_FOLDERS_DOCUMENTGUARD_H

#include <cstdint>
#include <new>
#include <string>

#include "frame/Logging.h"
#include "persistence/Dom.h"

namespace velmora {

// Prints what the exception that is being handled calls for; nothing when there is no memory for its lines.
inline void PrintDocumentFailure() noexcept
try {
    throw;
} catch (const ComError& error) {
    try {
        PrintComError(error);
    } catch (...) {
    }
} catch (...) {
    PrintLine("General error loading index file\n");
}

template <typename Result, typename Body>
Result GuardedDocumentWork(Result onFailure, Body body)
try {
    return body();
} catch (...) {
    PrintDocumentFailure();
    return onFailure;
}

// The same for work whose caller takes a failure for a document with nothing in it: that there is no memory is printed and raised.
template <typename Result, typename Body>
Result GuardedDocumentRead(Result onFailure, Body body)
try {
    return body();
} catch (const std::bad_alloc&) {
    PrintDocumentFailure();
    throw;
} catch (...) {
    PrintDocumentFailure();
    return onFailure;
}

// False when the file does not load. Raises when it could not be opened, or read, for want of memory, which is no damage.
inline bool LoadFrom(platform::XmlDocument& document, const std::string& path)
{
    constexpr uint32_t kNotEnoughMemory = 0x80070008;
    constexpr uint32_t kOutOfMemory = 0x8007000E;
    if (document.Load(path)) return true;
    const uint32_t code = document.ParseError().code;
    if (code == kNotEnoughMemory || code == kOutOfMemory) throw std::bad_alloc();
    return false;
}

}  // namespace velmora

#endif
