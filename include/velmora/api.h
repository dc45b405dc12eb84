/* What every header of the C API needs: how an export is marked, and the two opaque records. */
#ifndef VELMORA_API_H
#define VELMORA_API_H

#include <stdint.h>

/* VELMORA_API marks what the shared library exports. On Windows the library's definition file says what that is;
 * VELMORA_BUILDING_LIBRARY is set for the library's own sources, VELMORA_STATIC for a program that links its parts
 * directly, as the library's tests do. */
#if defined(_WIN32)
#if defined(VELMORA_BUILDING_LIBRARY) || defined(VELMORA_STATIC)
#define VELMORA_API
#else
#define VELMORA_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VELMORA_API __attribute__((visibility("default")))
#else
#define VELMORA_API
#endif

/* The index of one folder, and a handle on one item of it. Opaque in C; a C++ host that holds records of its own includes
 * velmora/index_records.h, which defines both. */
typedef struct STOREINDEXTYPE STOREINDEXTYPE;
typedef struct STOREITEMTYPE STOREITEMTYPE;

#endif
