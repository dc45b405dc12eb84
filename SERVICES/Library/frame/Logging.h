// The outlets through which the library reports what it does.
#ifndef VELMORA_FRAME_LOGGING_H
#define VELMORA_FRAME_LOGGING_H

#include <cstdint>
#include <string>
#include <string_view>

namespace velmora {

// What a host or a test may attach to. A null member discards, which is the default; texts are formed all the same.
struct LogHooks {
    void (*storeLog)(uint32_t level, const char* text) = nullptr;
    void (*debugTrace)(const char* text) = nullptr;
    void (*storeEvent)(const char* text) = nullptr;  // in addition to the system's event log
};
LogHooks& Hooks();

// Progress lines, levels 8 and 9. Always 1.
uint64_t StoreLog(uint32_t level, const std::string& text);

// The text of an exception report.
void DebugTrace(const std::string& text);

// One informational entry in the system's event log under the source "Velmora", with two strings: the provider's name
// with the last system error, cut at 256 bytes, and `text`.
void ReportStoreEvent(const std::string& text);

// An event about an index: "[" and the file name of the running program "] " stand before the text.
void LogIndexEvent(const std::string& text);

// A line for the operator on standard output.
void PrintLine(std::string_view text) noexcept;

// "WARNING!: StoreIndex is NULL when passed to FUNCTION\n" on standard output.
void WarnNullIndex(const char* function);

}  // namespace velmora

#endif
