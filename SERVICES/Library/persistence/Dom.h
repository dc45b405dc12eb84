// The document facility as index files, folder index files and share lists use it.
#ifndef VELMORA_PERSISTENCE_DOM_H
#define VELMORA_PERSISTENCE_DOM_H

#include <functional>
#include <memory>
#include <string>

#include "platform/Xml.h"

namespace velmora {

// What GetDOMInstance prints when no document can be made, whoever asks for it.
inline constexpr char kNoDomText[] = "Velmora Folder Indexing Library is not compatible with the version of XML installed on this computer";

// A new document, or null. The setting "XML Version" is read once a process: "4" and "6" are versions that are not there and
// give null without a word. A document that cannot be made for another reason is reported to the event log, and `failureText`
// and a line end are printed. That there is no memory for it is raised as that.
std::unique_ptr<platform::XmlDocument> GetDOMInstance(const char* failureText);
// The same with another way to make the document.
std::unique_ptr<platform::XmlDocument> GetDOMInstance(const char* failureText, std::unique_ptr<platform::XmlDocument> (*make)());

// The document, or ComError E_POINTER for null: what the use of a document that is not there amounts to.
platform::XmlDocument& Needed(const std::unique_ptr<platform::XmlDocument>& document);

// True when the file at `path` is loaded and has a root; what is wrong with it is printed otherwise.
bool LoadDOMFile(platform::XmlDocument& document, const std::string& path);

// Saves over the file at `path`. Raises ComError when it cannot.
void SaveDOMFile(const platform::XmlDocument& document, const std::string& path);
// The same when `mayReplace`, which is asked right before the file is replaced, allows it; false, with nothing changed, otherwise.
[[nodiscard]] bool SaveDOMFileIf(const platform::XmlDocument& document, const std::string& path, const std::function<bool()>& mayReplace);

// The five lines that tell of an error of the component model, on standard output.
void PrintComError(const ComError& error);

}  // namespace velmora

#endif
