// Every back-end of the library, by the kind of index that it serves.
#include <array>

#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/ItemFile.h"
#include "index/ItemOperations.h"
#include "items/GroupItem.h"
#include "items/ItemBody.h"
#include "items/ItemProperties.h"
#include "items/MailBackend.h"

namespace velmora {

namespace {

// What a kind answers that has no files of its own, and no property names.

uint64_t NoProperty(STOREITEMTYPE&, const char*, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    return kNoProperty;
}

// Kinds without a table of names take the name as the column.
uint64_t SetColumn(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* name, const void* value)
{
    if (!name || !value) return 0;
    return WriteColumnValue(index, handle, itemId, name, static_cast<const char*>(value));
}

uint64_t NothingToScan(STOREINDEXTYPE*, SORTEDSTOREINDEXTYPE&, const char*, uint32_t, uint32_t) { return 0; }
uint64_t ScanNotNeeded(STOREINDEXTYPE*, SORTEDSTOREINDEXTYPE&, const char*, uint32_t, uint32_t) { return 1; }
uint64_t NothingToSave(STOREINDEXTYPE*, STOREITEMTYPE&) { return 1; }
bool NoItemFile(STOREITEMTYPE&, const char*) { return false; }

// With no reader of the item files, the index is all that is known of them.
bool KeepTable(STOREINDEXTYPE*, SORTEDSTOREINDEXTYPE&, const char*) { return true; }

// Kept: group items cannot be had back from their files, so a rebuilt index of them is empty.
bool EmptyTable(STOREINDEXTYPE*, SORTEDSTOREINDEXTYPE& table, const char*)
{
    UnInit(table);
    table.LoadLevel = 3;
    return true;
}

constexpr ItemBackend Absent()
{
    return {.extension = "",
            .getProperty = NoProperty,
            .setProperty = SetColumn,
            .scan = NothingToScan,
            .saveItem = NothingToSave,
            .deleteItemFile = NoItemFile,
            .stampsFromFile = false};
}

// Contacts, calendar and tasks have tables of names, so that an unknown name is refused, and an index that can be
// rebuilt; until the readers of their files stand the rebuild leaves it as it is. Opens leave their folders alone: a save
// behind a scan that saw nothing would put an old copy over what others wrote.
constexpr ItemBackend WithoutItemFiles(IndexGet indexGet)
{
    ItemBackend backend = Absent();
    backend.rebuild = KeepTable;
    backend.scannedByOpen = false;
    backend.indexGet = indexGet;
    return backend;
}

constexpr ItemBackend ContactsWithoutItemFiles()
{
    ItemBackend backend = WithoutItemFiles(IndexGet::Load);
    backend.getProperty = GetContactProperty;
    backend.setProperty = SetContactProperty;
    backend.deleteItemFile = DeleteItemFile;
    backend.stampsFromFile = true;
    return backend;
}

constexpr ItemBackend CalendarWithoutItemFiles()
{
    ItemBackend backend = WithoutItemFiles(IndexGet::LoadOnce);
    backend.getProperty = GetCalendarProperty;
    backend.setProperty = SetCalendarProperty;
    backend.stampsFromFile = true;
    return backend;
}

constexpr ItemBackend TasksWithoutItemFiles()
{
    ItemBackend backend = WithoutItemFiles(IndexGet::LoadOnce);
    backend.getProperty = GetTaskProperty;
    backend.setProperty = SetTaskProperty;
    backend.scan = ScanNotNeeded;
    return backend;
}

// Kept: the names of files serve reads alone. A write takes the name as the column, as in the kinds without a table.
constexpr ItemBackend Files()
{
    ItemBackend backend = Absent();
    backend.getProperty = GetFileProperty;
    return backend;
}

// A class that has no properties at all answers 0, and no place in the store is looked for behind it.
uint64_t NoProperties(STOREITEMTYPE&, const char*, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    return 0;
}

constexpr ItemBackend AbsentUnknown()
{
    ItemBackend backend = Absent();
    backend.getProperty = NoProperties;
    return backend;
}

constexpr ItemBackend AbsentGroups()
{
    ItemBackend backend = AbsentUnknown();
    backend.rebuild = EmptyTable;
    backend.insertFile = InsertGroupFile;
    return backend;
}

constexpr ItemBackend kContacts = ContactsWithoutItemFiles();
constexpr ItemBackend kCalendar = CalendarWithoutItemFiles();
constexpr ItemBackend kTasks = TasksWithoutItemFiles();
constexpr ItemBackend kGroups = AbsentGroups();
constexpr ItemBackend kFiles = Files();
constexpr ItemBackend kOther = AbsentUnknown();

struct KindEntry {
    uint32_t kind;
    const ItemBackend& backend;
};

const std::array<KindEntry, 6> kBackends = {{
    {kKindMail, kMailBackend},
    {kKindContacts, kContacts},
    {kKindCalendar, kCalendar},
    {kKindTasks, kTasks},
    {kKindFiles, kFiles},
    {kKindGroups, kGroups},
}};

}  // namespace

const ItemBackend& BackendFor(uint32_t indexKind)
{
    for (const KindEntry& entry : kBackends)
        if (entry.kind == indexKind) return entry.backend;
    return kOther;
}

}  // namespace velmora
