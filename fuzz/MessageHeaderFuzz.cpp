// Messages of any bytes: the header parser and what an index keeps of its result. The first byte chooses the options.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "index/IndexItem.h"
#include "items/MessageHeader.h"
#include "persistence/StreamIndexReader.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) return 0;
    MemorySource message({reinterpret_cast<const char*>(data) + 1, size - 1});
    MessageHeader header;
    MessageHeader_Reset(header);
    header.FolderUid = data[0];
    ParseMessageHeaders(message, header, {(data[0] & 1) != 0, (data[0] & 2) != 0});
    IndexItemPropertyContainer item;
    MessageHeader_SetItemProperties(item, header, (data[0] & 4) != 0);
    MessageHeader_RefreshItemProperties(item, header);
    return 0;
}
