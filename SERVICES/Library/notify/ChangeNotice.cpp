// Announcements of changed folders.
//
// There is no connection to clients yet: with nobody registered in a mailbox's activity file an announcement reaches
// nobody, and that is what every mailbox looks like from here. What is announced can be watched.
#include "index/ChangeNotice.h"

#include <atomic>

namespace velmora {
namespace {

std::atomic<NoticeObserver> observer{nullptr};

}  // namespace

void NotifyClients(const char* mailboxDirectory, const char* folder, const char* message, uint32_t flags)
{
    if (const NoticeObserver watching = observer.load()) watching(mailboxDirectory, folder, message, flags);
}

NoticeObserver ReplaceNoticeObserver(NoticeObserver replacement) { return observer.exchange(replacement); }

}  // namespace velmora
