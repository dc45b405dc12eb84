// Whether a text is a well-formed XML document. Both facilities have it in front of them: so the answers, with line and
// column, are the same, and a parser that takes more than that never sees it.
#ifndef VELMORA_PLATFORM_SHARED_XMLCHECK_H
#define VELMORA_PLATFORM_SHARED_XMLCHECK_H

#include <string>

#include "platform/shared/XmlFault.h"

namespace velmora::platform {

// The first fault of `text` (UTF-8 with LF line ends, as DecodeXml leaves it), or none. One pass; the open elements are a
// list, at most kXmlDepthLimit long. References to control bytes other than 0 are taken: the writers of index files make
// them. A document type is refused with all that it could bring: entities, defaults, other files.
XmlFault CheckXml(const std::string& text);

}  // namespace velmora::platform

#endif
