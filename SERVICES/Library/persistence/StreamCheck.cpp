#include "persistence/StreamCheck.h"

#include "common/Text.h"
#include "frame/Logging.h"

namespace velmora {

bool CheckStreamState(const FileStream& stream, StreamSite site, const std::string& context)
{
    if (!stream.Failed()) return true;
    std::string state = stream.Bad() ? "bad" : "fail";
    if (!context.empty()) state += "{" + context + "}";
    LogIndexEvent("Warning. File contention occured when accessing index file (" + state +
                  ").Contention in Function: LIBStoreIndexSerialisation, Module Line: " + FormatSigned(static_cast<uint32_t>(site)));
    return false;
}

}  // namespace velmora
