#include "items/CalendarDocument.h"

#include "index/ItemBackend.h"

namespace velmora {

uint64_t OpenCalendarObject(CalendarObject& object, const std::string&)
{
    CloseCalendarObject(object);
    return 0;
}

void CloseCalendarObject(CalendarObject& object)
{
    object.Text.clear();
    RewindCalendarObject(object);
}

void RewindCalendarObject(CalendarObject& object) { object.Position = 0; }

uint64_t NextCalendarEvent(CalendarObject&) { return 0; }

uint64_t GetCalendarObjectProperty(CalendarObject&, const char*, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    return kNoProperty;
}

}  // namespace velmora
