// What becomes of an exception in work on a document: a line for the operator, and the work's failure.
#ifndef VELMORA_FOLDERS_DOCUMENTGUARD_H
#define VELMORA_FOLDERS_DOCUMENTGUARD_H

#include <cstdint>
#include <new>
#include <string>

#include "frame/Logging.h"
#include "persistence/Dom.h"

namespace velmora {

template <typename Result, typename Body>
Result GuardedDocumentWork(Result onFailure, Body body)
try {
    return body();
} catch (const ComError& error) {
    PrintComError(error);
    return onFailure;
} catch (...) {
    PrintLine("General error loading index file\n");
    return onFailure;
}

// False when the file does not load. Raises when it could not be opened for want of memory, which is no damage.
inline bool LoadFrom(platform::XmlDocument& document, const std::string& path)
{
    constexpr uint32_t kNotEnoughMemory = 0x80070008;
    if (document.Load(path)) return true;
    if (document.ParseError().code == kNotEnoughMemory) throw std::bad_alloc();
    return false;
}

// The same as GuardedDocumentWork for work whose caller takes a failure for a document with nothing in it: that there is no
// memory is printed and raised.
template <typename Result, typename Body>
Result GuardedDocumentRead(Result onFailure, Body body)
{
    bool noMemory = false;
    const Result result = GuardedDocumentWork(onFailure, [&] {
        try {
            return body();
        } catch (const std::bad_alloc&) {
            noMemory = true;
            throw;
        }
    });
    if (noMemory) throw std::bad_alloc();
    return result;
}

}  // namespace velmora

#endif
