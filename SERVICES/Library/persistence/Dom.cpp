#include "persistence/Dom.h"

#include <cinttypes>

#include "common/Text.h"
#include "frame/Logging.h"
#include "frame/Settings.h"

namespace velmora {

namespace {

constexpr uint32_t kInvalidPointer = 0x80004003;
constexpr uint32_t kKnownVersion = 3;

}  // namespace

std::unique_ptr<platform::XmlDocument> GetDOMInstance(const char* failureText)
{
    return GetDOMInstance(failureText, platform::XmlDocument::Create);
}

std::unique_ptr<platform::XmlDocument> GetDOMInstance(const char* failureText, std::unique_ptr<platform::XmlDocument> (*make)())
{
    if (XmlVersion() != kKnownVersion) return nullptr;
    try {
        return make();
    } catch (const ComError& error) {
        ReportStoreEvent(FormatText("[%d] Error creating DOM instance", static_cast<int>(error.code)));
        PrintLine(std::string(failureText) + "\n");
        return nullptr;
    }
}

platform::XmlDocument& Needed(const std::unique_ptr<platform::XmlDocument>& document)
{
    if (document) return *document;
    throw ComError{kInvalidPointer, "Invalid pointer", {}, {}};
}

bool LoadDOMFile(platform::XmlDocument& document, const std::string& path)
try {
    if (!document.Load(path)) {
        const platform::XmlParseError& fault = document.ParseError();
        PrintLine("Error:\n");
        PrintLine(FormatText("Code = 0x%" PRIx32 "\n", fault.code));
        PrintLine(FormatText("Source = Line : %" PRId32 "; Char : %" PRId32 "\n", fault.line, fault.column));
        PrintLine(FormatText("Error Description = %s\n", fault.reason.c_str()));
        return false;
    }
    if (document.DocumentElement()) return true;
    PrintLine(
        FormatText("Error: The document \"%s\" was loaded, but the documentElement could not be accessed. "
                   "There may be invalid permissions set on this object.\n",
                   path.c_str()));
    return false;
} catch (const ComError& error) {
    PrintComError(error);
    return false;
}

void SaveDOMFile(const platform::XmlDocument& document, const std::string& path) { document.Save(path); }

bool SaveDOMFileIf(const platform::XmlDocument& document, const std::string& path, const std::function<bool()>& mayReplace)
{
    return document.SaveIf(path, mayReplace);
}

void PrintComError(const ComError& error)
{
    PrintLine("Error:\n");
    PrintLine(FormatText("Code = %08" PRIx32 "\n", error.code));
    PrintLine("Code meaning = " + error.meaning + "\n");
    PrintLine("Source = " + error.source + "\n");
    PrintLine("Error Description = " + error.description + "\n");
}

}  // namespace velmora
