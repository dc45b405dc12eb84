// What the library said: standard output, the log hooks, the event log.
#ifndef VELMORA_TESTS_SUPPORT_CAPTURED_H
#define VELMORA_TESTS_SUPPORT_CAPTURED_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "frame/Logging.h"

namespace velmora::test {

// Collects the log outlets while it lives.
class CapturedLog {
public:
    CapturedLog();
    ~CapturedLog();
    const std::vector<std::pair<uint32_t, std::string>>& Lines() const;  // StoreLog: level, text
    const std::vector<std::string>& Traces() const;                      // DebugTrace
    const std::vector<std::string>& Events() const;                      // ReportStoreEvent, LogIndexEvent
    bool HasLine(const std::string& text) const;
    bool HasTrace(const std::string& text) const;
    bool HasEvent(const std::string& part) const;  // any event that contains `part`

private:
    LogHooks before_;
};

// Standard output while `body` runs.
template <typename Body>
std::string CaptureStdout(Body body);

void BeginStdoutCapture();
std::string EndStdoutCapture();

template <typename Body>
std::string CaptureStdout(Body body)
{
    BeginStdoutCapture();
    body();
    return EndStdoutCapture();
}

}  // namespace velmora::test

#endif
