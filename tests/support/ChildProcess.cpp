#include "tests/support/ChildProcess.h"

#include <chrono>

namespace velmora::test {

namespace {

using Time = std::chrono::steady_clock;

// What is left of a time-out that began at `begin`.
uint32_t Left(uint32_t timeoutMs, Time::time_point begin)
{
    if (timeoutMs == ChildProcess::kForever) return timeoutMs;
    const auto gone = std::chrono::duration_cast<std::chrono::milliseconds>(Time::now() - begin).count();
    return gone < timeoutMs ? timeoutMs - static_cast<uint32_t>(gone) : 0;
}

}  // namespace

ChildProcess::ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments, const ChildOptions& options)
{
    std::fflush(nullptr);  // what both print to the same place comes in the order it was printed
    Start(program, arguments, options);
}

ChildProcess::~ChildProcess()
{
    KillNow();
    CloseInput();
    CloseOutput();
}

std::optional<char> ChildProcess::ReadByte(uint32_t timeoutMs)
{
    if (unread_.empty() && !ReadMore(timeoutMs)) return std::nullopt;
    const char byte = unread_.front();
    unread_.erase(0, 1);
    return byte;
}

std::optional<std::string> ChildProcess::ReadLine(uint32_t timeoutMs)
{
    const Time::time_point begin = Time::now();
    size_t end = 0;
    while ((end = unread_.find('\n')) == std::string::npos) {
        if (!ReadMore(Left(timeoutMs, begin))) return std::nullopt;
    }
    std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

int ChildProcess::Wait()
{
    if (!exitCode_) Reap(true);
    return exitCode_.value_or(kKilled);
}

std::optional<int> ChildProcess::Ended()
{
    if (!exitCode_) Reap(false);
    return exitCode_;
}

void ChildProcess::KillNow()
{
    if (Ended()) return;
    Terminate();
    Wait();
}

ParentLine::~ParentLine() { std::fclose(answers_); }

std::optional<char> ParentLine::ReadByte()
{
    const int byte = std::getchar();
    return byte == EOF ? std::nullopt : std::optional<char>(static_cast<char>(byte));
}

std::optional<std::string> ParentLine::ReadLine()
{
    std::string line;
    while (const auto byte = ReadByte()) {
        if (*byte == '\n') return line;
        line += *byte;
    }
    return std::nullopt;
}

bool ParentLine::Write(std::string_view bytes)
{
    return std::fwrite(bytes.data(), 1, bytes.size(), answers_) == bytes.size() && std::fflush(answers_) == 0;
}

}  // namespace velmora::test
