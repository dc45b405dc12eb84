// Guarded sections: the one place where an exception becomes a report.
#ifndef VELMORA_FRAME_GUARD_H
#define VELMORA_FRAME_GUARD_H

#include <exception>

#include "common/Exception.h"

namespace velmora {

// The three reports, by what was caught. `name` is the function that a reader of the log would look for.
void ReportComError(const char* name, const ComError& error);
void ReportException(const char* name, const std::exception& error);
void ReportUnknownException(const char* name);

// Runs `body`; an exception is reported and swallowed, and the section ends there.
template <typename Body>
void GuardedSwallow(const char* name, Body body)
{
    try {
        body();
    } catch (const ComError& error) {
        ReportComError(name, error);
    } catch (const std::exception& error) {
        ReportException(name, error);
    } catch (...) {
        ReportUnknownException(name);
    }
}

// Runs `body`; an exception is reported and goes on to the caller.
template <typename Body>
void GuardedRethrow(const char* name, Body body)
{
    try {
        body();
    } catch (const ComError& error) {
        ReportComError(name, error);
        throw;
    } catch (const std::exception& error) {
        ReportException(name, error);
        throw;
    } catch (...) {
        ReportUnknownException(name);
        throw;
    }
}

// The outer edge of an exported function: whatever comes up is reported and the call answers `onFailure`.
template <typename Result, typename Body>
Result GuardedEntry(const char* name, Result onFailure, Body body)
{
    Result result = onFailure;
    GuardedSwallow(name, [&] { result = body(); });
    return result;
}

}  // namespace velmora

#endif
