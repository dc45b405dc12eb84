// Telling connected clients that a folder changed. Declared here, answered by the notification room.
#ifndef VELMORA_INDEX_CHANGENOTICE_H
#define VELMORA_INDEX_CHANGENOTICE_H

#include <cstdint>

namespace velmora {

// `message` is "COMMIT"; `flags` go into the notification as they stand.
void NotifyClients(const char* mailboxDirectory, const char* folder, const char* message, uint32_t flags);

// Tests see the announcements here; null sends them to the notification room alone.
using NoticeObserver = void (*)(const char* mailboxDirectory, const char* folder, const char* message, uint32_t flags);
NoticeObserver ReplaceNoticeObserver(NoticeObserver observer);

}  // namespace velmora

#endif
