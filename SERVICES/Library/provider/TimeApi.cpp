// The conversions of moments that hosts share with the store.
#include "velmora/time.h"

#include "items/DateForms.h"

void UnixTimeToFileTime(int64_t seconds, uint64_t* fileTime)
{
    if (fileTime) *fileTime = velmora::UnixTimeToFileTime(seconds);
}

int64_t UnixTimeFromFileTime(uint64_t fileTime) { return velmora::UnixTimeFromFileTime(fileTime); }
