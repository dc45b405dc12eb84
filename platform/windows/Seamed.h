// File, settings and event-log calls of the system with the seams of the library in front of them.
//
// win32.h includes this behind <windows.h>. The library calls the system under its own names; the macros below lead those
// names to functions that ask the file seam first (platform/FileSeam.h), let VELMORA_REGISTRY and VELMORA_USER_REGISTRY
// name settings files, and let VELMORA_EVENTLOG name a file for events. Without any of these they are the system's calls.
#ifndef VELMORA_PLATFORM_WINDOWS_SEAMED_H
#define VELMORA_PLATFORM_WINDOWS_SEAMED_H

HANDLE SeamedCreateFileA(LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                         HANDLE pattern);
BOOL SeamedReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED overlapped);
BOOL SeamedWriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED overlapped);
BOOL SeamedSetEndOfFile(HANDLE file);
BOOL SeamedSetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD from);
DWORD SeamedGetFileAttributesA(LPCSTR path);
BOOL SeamedDeleteFileA(LPCSTR path);
BOOL SeamedCreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES security);
BOOL SeamedRemoveDirectoryA(LPCSTR path);
BOOL SeamedMoveFileA(LPCSTR from, LPCSTR to);
BOOL SeamedMoveFileExA(LPCSTR from, LPCSTR to, DWORD flags);
BOOL SeamedCopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists);
HANDLE SeamedFindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* found);

LSTATUS SeamedRegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD options, REGSAM access, PHKEY opened);
LSTATUS SeamedRegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);
LSTATUS SeamedRegCloseKey(HKEY key);

BOOL SeamedReportEventA(HANDLE log, WORD type, WORD category, DWORD eventId, PSID user, WORD stringCount, DWORD dataSize, LPCSTR* strings,
                        LPVOID data);

int SeamedMkdir(const char* path);

#ifndef VELMORA_PLATFORM_BELOW_THE_SEAM
#define CreateFileA SeamedCreateFileA
#define ReadFile SeamedReadFile
#define WriteFile SeamedWriteFile
#define SetEndOfFile SeamedSetEndOfFile
#define SetFilePointerEx SeamedSetFilePointerEx
#define GetFileAttributesA SeamedGetFileAttributesA
#define DeleteFileA SeamedDeleteFileA
#define CreateDirectoryA SeamedCreateDirectoryA
#define RemoveDirectoryA SeamedRemoveDirectoryA
#define MoveFileA SeamedMoveFileA
#define MoveFileExA SeamedMoveFileExA
#define CopyFileA SeamedCopyFileA
#define FindFirstFileA SeamedFindFirstFileA
#define RegOpenKeyExA SeamedRegOpenKeyExA
#define RegQueryValueExA SeamedRegQueryValueExA
#define RegCloseKey SeamedRegCloseKey
#define ReportEventA SeamedReportEventA
#define _mkdir SeamedMkdir
#endif

#endif
