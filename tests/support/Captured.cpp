#include "tests/support/Captured.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <stdexcept>

#include "tests/support/StandardOutput.h"

namespace velmora::test {

namespace {

// The hooks are plain functions, so what they collect is the process's: one CapturedLog at a time sees it.
struct Collected {
    std::mutex mutex;
    std::vector<std::pair<uint32_t, std::string>> lines;
    std::vector<std::string> traces;
    std::vector<std::string> events;
};

Collected& Log()
{
    static Collected collected;
    return collected;
}

void CollectLine(uint32_t level, const char* text)
{
    std::lock_guard<std::mutex> lock(Log().mutex);
    Log().lines.emplace_back(level, text);
}

void CollectTrace(const char* text)
{
    std::lock_guard<std::mutex> lock(Log().mutex);
    Log().traces.emplace_back(text);
}

void CollectEvent(const char* text)
{
    std::lock_guard<std::mutex> lock(Log().mutex);
    Log().events.emplace_back(text);
}

struct StdoutCapture {
    int original = -1;
    std::FILE* file = nullptr;
};

StdoutCapture& TheCapture()
{
    static StdoutCapture capture;
    return capture;
}

}  // namespace

CapturedLog::CapturedLog() : before_(Hooks())
{
    std::lock_guard<std::mutex> lock(Log().mutex);
    Log().lines.clear();
    Log().traces.clear();
    Log().events.clear();
    Hooks() = {CollectLine, CollectTrace, CollectEvent};
}

CapturedLog::~CapturedLog() { Hooks() = before_; }

const std::vector<std::pair<uint32_t, std::string>>& CapturedLog::Lines() const { return Log().lines; }
const std::vector<std::string>& CapturedLog::Traces() const { return Log().traces; }
const std::vector<std::string>& CapturedLog::Events() const { return Log().events; }

bool CapturedLog::HasLine(const std::string& text) const
{
    return std::any_of(Lines().begin(), Lines().end(), [&](const auto& line) { return line.second == text; });
}

bool CapturedLog::HasTrace(const std::string& text) const { return std::count(Traces().begin(), Traces().end(), text) > 0; }

bool CapturedLog::HasEvent(const std::string& part) const
{
    return std::any_of(Events().begin(), Events().end(), [&](const auto& event) { return event.find(part) != std::string::npos; });
}

void BeginStdoutCapture()
{
    StdoutCapture& capture = TheCapture();
    if (capture.file) throw std::logic_error("standard output is captured already");
    capture.file = std::tmpfile();
    if (!capture.file) throw std::runtime_error("no temporary file for standard output");
    capture.original = SendStandardOutputTo(capture.file);
}

std::string EndStdoutCapture()
{
    StdoutCapture& capture = TheCapture();
    if (!capture.file) throw std::logic_error("standard output is not captured");
    RestoreStandardOutput(capture.original);

    std::string text;
    std::rewind(capture.file);
    char block[4096];
    for (size_t got = 0; (got = std::fread(block, 1, sizeof block, capture.file)) > 0;) text.append(block, got);
    std::fclose(capture.file);
    capture = {};
    return text;
}

}  // namespace velmora::test
