// The operating system under the names of the Windows API: the subset that the store is written to.
//
// On Windows this is <windows.h> with the macros removed that would rename members of ours. Elsewhere it declares the
// same types, numbers and functions, and platform/posix/ defines them. Names are found without regard to case, "\" and
// "/" both separate, and GetLastError answers with the Windows numbers; docs/platform.md tells what is promised and
// where the two sides differ. Every function may be called from any thread. There is no Sleep: the library waits
// through platform/Clock.h, so that a test can own the time.
#ifndef VELMORA_PLATFORM_WIN32_H
#define VELMORA_PLATFORM_WIN32_H

#ifdef _WIN32

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <direct.h>
#include <errno.h>
#include <io.h>
#include <string.h>
#include <time.h>
#include <windows.h>

// Function-like names without a suffix are macros there; these would hit functions and members of ours.
#undef CopyFile
#undef CreateDirectory
#undef CreateFile
#undef CreateMutex
#undef DeleteFile
#undef FindFirstFile
#undef FindNextFile
#undef GetClassName
#undef GetCurrentTime
#undef GetDateFormat
#undef GetFileAttributes
#undef GetMessage
#undef GetModuleFileName
#undef GetObject
#undef GetTimeFormat
#undef LoadLibrary
#undef MoveFile
#undef MoveFileEx
#undef OpenMutex
#undef OutputDebugString
#undef RegisterEventSource
#undef RemoveDirectory
#undef ReportEvent
#undef SendMessage
#undef Yield
#undef ERROR
#undef IN
#undef OUT
#undef interface
#undef far
#undef near
#undef small
#undef max
#undef min

#include "platform/windows/Seamed.h"

#else

#include <cstddef>
#include <cstdint>
#include <ctime>

// ---- Types. A Windows long has 32 bits. ----

using BOOL = int;
using BYTE = uint8_t;
using UCHAR = uint8_t;
using CHAR = char;
using WORD = uint16_t;
using SHORT = int16_t;
using DWORD = uint32_t;
using UINT = uint32_t;
using LONG = int32_t;
using ULONG = uint32_t;
using LONGLONG = int64_t;
using ULONGLONG = uint64_t;
using LONG_PTR = intptr_t;
using ULONG_PTR = uintptr_t;
using SIZE_T = size_t;
using WCHAR = char16_t;
using HRESULT = int32_t;
using LCID = uint32_t;
using LSTATUS = int32_t;
using REGSAM = uint32_t;
using errno_t = int;
using __time64_t = int64_t;

using LPVOID = void*;
using LPCVOID = const void*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPBYTE = BYTE*;
using LPWORD = WORD*;
using LPDWORD = DWORD*;
using PLONG = LONG*;
using PSID = void*;

using HANDLE = void*;
using HMODULE = void*;
using HINSTANCE = void*;
using HKEY = void*;
using PHKEY = HKEY*;
using FARPROC = intptr_t (*)();

#define WINAPI
#define CALLBACK
#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

// 100 ns units since 1601-01-01 UTC, in two halves.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;      // 1 to 12
    WORD wDayOfWeek;  // 0 is Sunday
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

union LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};
using PLARGE_INTEGER = LARGE_INTEGER*;

union ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
};

inline constexpr DWORD MAX_PATH = 260;

struct WIN32_FIND_DATAA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    CHAR cFileName[MAX_PATH];  // a UTF-8 name of up to 255 bytes fits
    CHAR cAlternateFileName[14];
};

struct SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
};
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

struct OVERLAPPED;  // every operation here is synchronous: always null
using LPOVERLAPPED = OVERLAPPED*;

struct TIME_ZONE_INFORMATION {
    LONG Bias;  // minutes that UTC is ahead of local time
    WCHAR StandardName[32];
    SYSTEMTIME StandardDate;  // with wYear 0 a rule: wDay-th wDayOfWeek of wMonth, 5 meaning the last; wMonth 0: no change
    LONG StandardBias;
    WCHAR DaylightName[32];
    SYSTEMTIME DaylightDate;
    LONG DaylightBias;
};

// ---- Numbers ----

// Macros, as they are there: usable before any static object is made.
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(intptr_t{-1}))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(intptr_t{static_cast<int32_t>(0x80000001u)}))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(intptr_t{static_cast<int32_t>(0x80000002u)}))

inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFFu;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFFu;
inline constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFFu;
inline constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFFu;
inline constexpr DWORD INFINITE = 0xFFFFFFFFu;

inline constexpr DWORD GENERIC_READ = 0x80000000u;
inline constexpr DWORD GENERIC_WRITE = 0x40000000u;
inline constexpr DWORD DELETE = 0x00010000u;
inline constexpr DWORD SYNCHRONIZE = 0x00100000u;
inline constexpr DWORD MUTEX_ALL_ACCESS = 0x001F0001u;

inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;

inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD TRUNCATE_EXISTING = 5;

inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x2;
inline constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x4;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
inline constexpr DWORD FILE_ATTRIBUTE_DEVICE = 0x40;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x100;
inline constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x400;

inline constexpr DWORD FILE_FLAG_SEQUENTIAL_SCAN = 0x08000000u;
inline constexpr DWORD FILE_FLAG_RANDOM_ACCESS = 0x10000000u;
inline constexpr DWORD FILE_FLAG_WRITE_THROUGH = 0x80000000u;

inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;

inline constexpr DWORD MOVEFILE_REPLACE_EXISTING = 0x1;
inline constexpr DWORD MOVEFILE_COPY_ALLOWED = 0x2;
inline constexpr DWORD MOVEFILE_WRITE_THROUGH = 0x8;

inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED = 128;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFFu;

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD NO_ERROR = 0;
inline constexpr DWORD ERROR_INVALID_FUNCTION = 1;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_LOCK_VIOLATION = 33;
inline constexpr DWORD ERROR_HANDLE_EOF = 38;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
inline constexpr DWORD ERROR_BUSY = 170;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_DIRECTORY = 267;
inline constexpr DWORD ERROR_NOT_OWNER = 288;
inline constexpr DWORD ERROR_OPERATION_ABORTED = 995;
inline constexpr DWORD ERROR_IO_PENDING = 997;
inline constexpr DWORD ERROR_INVALID_FLAGS = 1004;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

inline constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_QWORD = 11;

inline constexpr WORD EVENTLOG_SUCCESS = 0;
inline constexpr WORD EVENTLOG_ERROR_TYPE = 1;
inline constexpr WORD EVENTLOG_WARNING_TYPE = 2;
inline constexpr WORD EVENTLOG_INFORMATION_TYPE = 4;

inline constexpr DWORD TIME_ZONE_ID_INVALID = 0xFFFFFFFFu;
inline constexpr DWORD FILE_TYPE_UNKNOWN = 0;
inline constexpr DWORD FILE_TYPE_DISK = 1;
inline constexpr DWORD FILE_TYPE_CHAR = 2;

inline constexpr DWORD TIME_ZONE_ID_UNKNOWN = 0;
inline constexpr DWORD TIME_ZONE_ID_STANDARD = 1;
inline constexpr DWORD TIME_ZONE_ID_DAYLIGHT = 2;

// ---- Errors: one number a thread ----

DWORD GetLastError();
void SetLastError(DWORD error);

// ---- Files. CreateFileA and FindFirstFileA fail with INVALID_HANDLE_VALUE, the others with FALSE. ----

HANDLE CreateFileA(LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags, HANDLE pattern);
BOOL CloseHandle(HANDLE handle);
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED overlapped);
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED overlapped);
DWORD SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD from);
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD from);
BOOL SetEndOfFile(HANDLE file);
BOOL FlushFileBuffers(HANDLE file);
BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size);
DWORD GetFileType(HANDLE file);
BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite);
BOOL SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess, const FILETIME* lastWrite);

DWORD GetFileAttributesA(LPCSTR path);
BOOL DeleteFileA(LPCSTR path);
BOOL CreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES security);
BOOL RemoveDirectoryA(LPCSTR path);
BOOL MoveFileA(LPCSTR from, LPCSTR to);
BOOL MoveFileExA(LPCSTR from, LPCSTR to, DWORD flags);
BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists);

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* found);
BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* found);
BOOL FindClose(HANDLE search);

// ---- Threads, mutexes ----

DWORD TlsAlloc();
BOOL TlsFree(DWORD slot);
LPVOID TlsGetValue(DWORD slot);
BOOL TlsSetValue(DWORD slot, LPVOID value);
DWORD GetCurrentThreadId();
DWORD GetCurrentProcessId();

HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCSTR name);
HANDLE OpenMutexA(DWORD access, BOOL inherit, LPCSTR name);
DWORD WaitForSingleObject(HANDLE handle, DWORD timeoutMs);
BOOL ReleaseMutex(HANDLE mutex);

// ---- Settings, event log, debugger output, modules ----

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD options, REGSAM access, PHKEY opened);
LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);
LSTATUS RegCloseKey(HKEY key);

HANDLE RegisterEventSourceA(LPCSTR server, LPCSTR source);
BOOL ReportEventA(HANDLE log, WORD type, WORD category, DWORD eventId, PSID user, WORD stringCount, DWORD dataSize, LPCSTR* strings,
                  LPVOID data);
BOOL DeregisterEventSource(HANDLE log);
void OutputDebugStringA(LPCSTR text);

HMODULE LoadLibraryA(LPCSTR path);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
BOOL FreeLibrary(HMODULE module);
// With a null module the path of the running program. The path's length; `size` and error 122 when it was cut.
DWORD GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size);

// ---- Time ----

void GetSystemTimeAsFileTime(FILETIME* now);
BOOL FileTimeToDosDateTime(const FILETIME* time, LPWORD dosDate, LPWORD dosTime);
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts);
BOOL SystemTimeToFileTime(const SYSTEMTIME* parts, FILETIME* time);
LONG CompareFileTime(const FILETIME* a, const FILETIME* b);
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone);
void GetLocalTime(SYSTEMTIME* now);
// A date or a time by a picture ("ddd, d MMM yyyy", "HH:mm:ss"), in English: the locale 1033 with flags 0. The number of
// bytes with the zero at the end, 0 on failure; with a `size` of 0 the number that it would be. A null `parts` is now.
int GetDateFormatA(LCID locale, DWORD flags, const SYSTEMTIME* parts, LPCSTR picture, LPSTR text, int size);
int GetTimeFormatA(LCID locale, DWORD flags, const SYSTEMTIME* parts, LPCSTR picture, LPSTR text, int size);

// ---- C library names that only the Windows one has ----

int _mkdir(const char* path);  // 0, or -1 with GetLastError
int _stricmp(const char* a, const char* b);
int _strnicmp(const char* a, const char* b, size_t count);
// From 1970-01-01 to 3000-12-31 UTC; outside of it -1, and EINVAL from the two others, which then fill `parts` with -1.
__time64_t _mktime64(struct tm* parts);
errno_t _localtime64_s(struct tm* parts, const __time64_t* time);
errno_t _gmtime64_s(struct tm* parts, const __time64_t* time);

#endif

#endif
