// The zone of local times in this process.
#ifndef VELMORA_TESTS_SUPPORT_TIMEZONE_H
#define VELMORA_TESTS_SUPPORT_TIMEZONE_H

namespace velmora::test {

// As the variable TZ has it on both platforms ("EST5EDT"); the system's zone with null.
void UseZone(const char* zone);

}  // namespace velmora::test

#endif
