// Mail as one kind of item: messages in .MAI files, which the store reads and brands but does not compose.
#ifndef VELMORA_ITEMS_MAILBACKEND_H
#define VELMORA_ITEMS_MAILBACKEND_H

#include "index/ItemBackend.h"

namespace velmora {

extern const ItemBackend kMailBackend;

}  // namespace velmora

#endif
