// The faults of XML documents, by the numbers that the Windows side has for them, and errors of the component model.
#ifndef VELMORA_PLATFORM_SHARED_XMLFAULT_H
#define VELMORA_PLATFORM_SHARED_XMLFAULT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/ComError.h"
#include "platform/Xml.h"

namespace velmora::platform {

enum class XmlFaultCode : uint32_t {
    None = 0,
    MissingEquals = 0xC00CE501,
    MissingQuote = 0xC00CE502,
    CommentSyntax = 0xC00CE503,
    BadNameStart = 0xC00CE504,
    BadNameCharacter = 0xC00CE505,
    BadCharacterInValue = 0xC00CE506,
    DeclarationSyntax = 0xC00CE507,
    BadCharacter = 0xC00CE508,
    MissingBlank = 0xC00CE509,
    MissingTagEnd = 0xC00CE50A,
    MissingSemicolon = 0xC00CE50D,
    BadReference = 0xC00CE50E,
    BadDecimalDigit = 0xC00CE51D,
    BadHexadecimalDigit = 0xC00CE51E,
    BadCodePoint = 0xC00CE51F,
    UnexpectedEndTag = 0xC00CE552,
    UnclosedTag = 0xC00CE553,
    DuplicateAttribute = 0xC00CE554,
    SecondRoot = 0xC00CE555,
    NotAtTheTop = 0xC00CE556,
    MisplacedDeclaration = 0xC00CE557,
    MissingRoot = 0xC00CE558,
    EndOfFile = 0xC00CE559,
    CDataEnd = 0xC00CE55C,
    UnclosedInstruction = 0xC00CE55D,
    UnclosedStartTag = 0xC00CE55E,
    UnclosedEndTag = 0xC00CE55F,
    UnclosedString = 0xC00CE560,
    UnclosedComment = 0xC00CE561,
    UnclosedDeclaration = 0xC00CE562,
    UnclosedCData = 0xC00CE564,
    EndTagMismatch = 0xC00CE56D,
    UnknownEncoding = 0xC00CE56E,
    OtherEncoding = 0xC00CE56F,
    ReservedName = 0xC00CE576,
    UndefinedEntity = 0xC00CE02D,
    DocumentType = 0xC00CE584,
    TooDeep = 0xC00CE586,
};

struct XmlFault {
    XmlFaultCode code = XmlFaultCode::None;
    size_t offset = 0;  // in the document as UTF-8
    std::string reason;

    explicit operator bool() const { return code != XmlFaultCode::None; }
};

inline constexpr size_t kXmlDepthLimit = 1000;

// With line and column, as `text` (UTF-8) has them at the fault.
XmlParseError ParseErrorOf(const XmlFault& fault, std::string_view text);

inline constexpr uint32_t kComPointer = 0x80004003;   // E_POINTER
inline constexpr uint32_t kComFail = 0x80004005;      // E_FAIL
inline constexpr uint32_t kComArgument = 0x80070057;  // E_INVALIDARG

// With the meaning of the code in words.
ComError MakeComError(uint32_t code, std::string description);
[[noreturn]] void RaiseComError(uint32_t code, std::string description);
// The code of the component model for an error of the system.
constexpr uint32_t ComCodeOf(uint32_t systemError) { return 0x80070000u | (systemError & 0xFFFFu); }

// A node that is not there.
[[noreturn]] void RaiseNoNode();
// For names that are to be given to elements and attributes: UTF-8, or ComError for one that no document can hold.
std::string CheckedXmlName(const char* name);

}  // namespace velmora::platform

#endif
