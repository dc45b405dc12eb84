#include "frame/Guard.h"

#include <string>

#include "common/Text.h"
#include "frame/Logging.h"

namespace velmora {

// A report must not raise a second exception, whatever state the process is in: what cannot be said is left out.

void ReportComError(const char* name, const ComError& error)
try {
    std::string text = std::string(name) + " handled a COM error.\n";
    text += "Code = 0x" + FormatHex8(error.code) + "\n";
    text += "Code meaning = " + error.meaning + "\n";
    if (!error.source.empty()) text += "Source = " + error.source + "\n";
    // Kept: the misspelt label is what readers of these traces search for.
    if (!error.description.empty()) text += "Eror Description = " + error.description + "\n";
    DebugTrace(text);
} catch (...) {
}

void ReportException(const char* name, const std::exception& error)
try {
    const std::string text =
        std::string(name) + " handled an exception; session will be dropped.\nThe exception was: " + error.what() + "\n";
    ReportStoreEvent(text);
    DebugTrace(text);
} catch (...) {
}

void ReportUnknownException(const char* name)
try {
    DebugTrace(std::string(name) + " raised an exception\n");
} catch (...) {
}

}  // namespace velmora
