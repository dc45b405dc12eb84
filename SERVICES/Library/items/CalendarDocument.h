// A calendar document that is opened on its own, by file name or address, with no folder index.
//
// There is no reader of calendar text yet, so nothing can be opened: every document is refused, holds no event and
// answers no property.
#ifndef VELMORA_ITEMS_CALENDARDOCUMENT_H
#define VELMORA_ITEMS_CALENDARDOCUMENT_H

#include <cstdint>
#include <string>

namespace velmora {

struct CalendarObject {
    std::string Text;  // the whole document; empty when nothing is open
    size_t Position = 0;
};

// 1 opened, 0 not. `pathOrUrl` is a file name, or an address that contains "http://".
uint64_t OpenCalendarObject(CalendarObject& object, const std::string& pathOrUrl);
void CloseCalendarObject(CalendarObject& object);

// Goes to the next event, or to the first one after a rewind: 1, or 0 at the end.
void RewindCalendarObject(CalendarObject& object);
uint64_t NextCalendarEvent(CalendarObject& object);

// A property of the current event by its public name: kNoProperty, or 2 with a new allocation as for items.
uint64_t GetCalendarObjectProperty(CalendarObject& object, const char* name, void** value, uint64_t* size);

}  // namespace velmora

#endif
