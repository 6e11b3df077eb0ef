// Declarations of Windows CE 3.0 for ARM: exactly what the sources below w32/ folders use.
// tests/windows-ce/DeclarationsTest.py compares them with the desktop's and lists those that differ on purpose.
//
// The resource compiler reads this too; it understands the definitions of numbers alone.
#pragma once

// Sources test this to tell the platform from the desktop.
#define UNDER_CE 300

// --- Numbers

#define FALSE 0
#define TRUE 1
#define MAX_PATH 260
#define INFINITE 0xFFFFFFFF

#define NO_ERROR 0
#define ERROR_SUCCESS 0
#define ERROR_ALREADY_EXISTS 183

#define WAIT_OBJECT_0 0
#define WAIT_TIMEOUT 258
#define TIME_ZONE_ID_INVALID 0xFFFFFFFF
#define TLS_OUT_OF_INDEXES 0xFFFFFFFF

#define MEM_RESERVE 0x2000
#define MEM_RELEASE 0x8000
#define PAGE_NOACCESS 1

#define GENERIC_READ 0x80000000
#define GENERIC_WRITE 0x40000000
#define FILE_WRITE_ATTRIBUTES 0x0100
#define FILE_SHARE_READ 1
#define FILE_SHARE_WRITE 2
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2
#define FILE_ATTRIBUTE_READONLY 0x01
#define FILE_ATTRIBUTE_HIDDEN 0x02
#define FILE_ATTRIBUTE_SYSTEM 0x04
#define FILE_ATTRIBUTE_DIRECTORY 0x10
#define FILE_ATTRIBUTE_ARCHIVE 0x20
#define FILE_ATTRIBUTE_NORMAL 0x80
#define INVALID_FILE_SIZE 0xFFFFFFFF
#define INVALID_SET_FILE_POINTER 0xFFFFFFFF
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFF

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x0100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x0200
#define FORMAT_MESSAGE_FROM_SYSTEM 0x1000

#define CP_ACP 0
#define LOCALE_USER_DEFAULT 0x0400
#define DATE_SHORTDATE 1
#define TIME_NOSECONDS 2

#define BN_CLICKED 0
#define BS_PUSHBUTTON 0
#define BS_DEFPUSHBUTTON 1
#define DS_MODALFRAME 0x80
#define EM_SETSEL 0x00B1
#define ES_CENTER 0x0001
#define ES_MULTILINE 0x0004
#define ES_AUTOHSCROLL 0x0080
#define ES_READONLY 0x0800
#define ES_NUMBER 0x2000
#define GW_OWNER 4
#define GWL_STYLE (-16)
#define GWL_EXSTYLE (-20)
#define DWLP_MSGRESULT 0
#define DWLP_USER 8
#define ICON_BIG 1
#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7
#define MB_OK 0
#define MB_OKCANCEL 1
#define MB_ABORTRETRYIGNORE 2
#define MB_RETRYCANCEL 5
#define MB_ICONERROR 0x10
#define MB_ICONEXCLAMATION 0x30
#define MB_ICONINFORMATION 0x40
#define MB_SETFOREGROUND 0x10000
#define MB_TOPMOST 0x40000
#define PM_REMOVE 1
#define SS_LEFTNOWORDWRAP 0x0C
#define SWP_NOSIZE 0x01
#define SWP_NOMOVE 0x02
#define SWP_NOZORDER 0x04
#define SWP_NOACTIVATE 0x10
#define SWP_FRAMECHANGED 0x20
#define WA_INACTIVE 0
#define WM_SIZE 0x0005
#define WM_ACTIVATE 0x0006
#define WM_CLOSE 0x0010
#define WM_GETMINMAXINFO 0x0024
#define WM_NEXTDLGCTL 0x0028
#define WM_NOTIFY 0x004E
#define WM_SETICON 0x0080
#define WM_INITDIALOG 0x0110
#define WM_COMMAND 0x0111
#define WM_TIMER 0x0113
#define WM_USER 0x0400
#define WS_POPUP 0x80000000
#define WS_CHILD 0x40000000
#define WS_VISIBLE 0x10000000
#define WS_CAPTION 0x00C00000
#define WS_BORDER 0x00800000
#define WS_VSCROLL 0x00200000
#define WS_SYSMENU 0x00080000
#define WS_THICKFRAME 0x00040000
// On this platform these two have each other's values.
#define WS_MAXIMIZEBOX 0x00020000
#define WS_MINIMIZEBOX 0x00010000
#define WS_GROUP 0x00020000
#define WS_TABSTOP 0x00010000

#define VOS__WINDOWS32 4
#define VFT_APP 1
#define VS_VERSION_INFO 1

#ifndef RC_INVOKED

#include <stdarg.h>
#include <stddef.h>

#define WINAPI
#define CALLBACK

// --- Types

typedef int BOOL;
typedef unsigned char BYTE;
typedef unsigned short WORD;
typedef unsigned long DWORD;
typedef unsigned int UINT;
typedef long LONG;
typedef unsigned long ULONG;
typedef int INT_PTR;
typedef unsigned int UINT_PTR;
typedef long LONG_PTR;
typedef unsigned long ULONG_PTR;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef wchar_t* LPWSTR;
typedef const wchar_t* LPCWSTR;
typedef DWORD LCID;

typedef void* HANDLE;
typedef HANDLE HGLOBAL;

#define SPW_DECLARE_HANDLE(name) \
    struct name##__ {            \
        int unused;              \
    };                           \
    typedef struct name##__* name
SPW_DECLARE_HANDLE(HINSTANCE);
SPW_DECLARE_HANDLE(HRSRC);
SPW_DECLARE_HANDLE(HKEY);
SPW_DECLARE_HANDLE(HWND);
SPW_DECLARE_HANDLE(HICON);
SPW_DECLARE_HANDLE(HMENU);
#undef SPW_DECLARE_HANDLE
typedef HINSTANCE HMODULE;

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(-1))
#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(0x80000000))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(0x80000001))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(0x80000002))

#define LOWORD(number) (static_cast<WORD>((number)&0xFFFF))
#define HIWORD(number) (static_cast<WORD>((number) >> 16 & 0xFFFF))
#define MAKEWORD(low, high) (static_cast<WORD>((low) | (high) << 8))
#define MAKELPARAM(low, high) \
    (static_cast<LPARAM>(static_cast<WORD>(low) | static_cast<DWORD>(static_cast<WORD>(high)) << 16))
#define RT_DIALOG (reinterpret_cast<LPCWSTR>(5))

typedef struct {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME;

typedef struct {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME;

typedef struct {
    LONG Bias;
    wchar_t StandardName[32];
    SYSTEMTIME StandardDate;
    LONG StandardBias;
    wchar_t DaylightName[32];
    SYSTEMTIME DaylightDate;
    LONG DaylightBias;
} TIME_ZONE_INFORMATION;

typedef struct {
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    wchar_t szCSDVersion[128];
} OSVERSIONINFOW;

typedef struct {
    DWORD dwSignature;
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;
    DWORD dwFileVersionLS;
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
} VS_FIXEDFILEINFO;

// Shorter on this platform: it has an object's number in place of two reserved fields, and no short name.
typedef struct {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwOID;
    wchar_t cFileName[MAX_PATH];
} WIN32_FIND_DATAW;

// Longer on this platform by the object's number.
typedef struct {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD dwVolumeSerialNumber;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD nNumberOfLinks;
    DWORD nFileIndexHigh;
    DWORD nFileIndexLow;
    DWORD dwOID;
} BY_HANDLE_FILE_INFORMATION;

// The system's own; it is told only where one is. Larger than any version of it.
typedef struct {
    DWORD reserved[8];
} CRITICAL_SECTION;

typedef struct {
    LONG x;
    LONG y;
} POINT;

typedef struct {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECT;

typedef struct {
    LONG cx;
    LONG cy;
} SIZE;

typedef struct {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
} MSG;

typedef struct {
    POINT ptReserved;
    POINT ptMaxSize;
    POINT ptMaxPosition;
    POINT ptMinTrackSize;
    POINT ptMaxTrackSize;
} MINMAXINFO;

typedef struct {
    HWND hwndFrom;
    UINT_PTR idFrom;
    UINT code;
} NMHDR;

typedef struct DLGTEMPLATE DLGTEMPLATE;
typedef INT_PTR(CALLBACK* DLGPROC)(HWND, UINT, WPARAM, LPARAM);
typedef void(CALLBACK* TIMERPROC)(HWND, UINT, UINT, DWORD);
typedef BOOL(CALLBACK* WNDENUMPROC)(HWND, LPARAM);
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(void*);
typedef INT_PTR(WINAPI* FARPROC)();

// The program's own function, which the start-up object calls.
extern "C" int WINAPI wWinMain(HINSTANCE program, HINSTANCE previous, wchar_t* commandLine, int show);

// --- Functions of coredll.dll

extern "C" {

DWORD GetLastError();
void SetLastError(DWORD code);

BOOL CloseHandle(HANDLE object);
HANDLE CreateThread(void* security, DWORD stackSize, LPTHREAD_START_ROUTINE start, void* argument, DWORD flags,
                    DWORD* id);
BOOL TerminateProcess(HANDLE process, DWORD code);
void Sleep(DWORD milliseconds);
DWORD GetTickCount();
HANDLE CreateEventW(void* security, BOOL manualReset, BOOL initialState, const wchar_t* name);
BOOL EventModify(HANDLE event, DWORD function);
HANDLE CreateSemaphoreW(void* security, LONG initial, LONG maximum, const wchar_t* name);
BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous);
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all, DWORD milliseconds);
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
DWORD MsgWaitForMultipleObjectsEx(DWORD count, HANDLE* objects, DWORD milliseconds, DWORD wakeMask, DWORD flags);
void* VirtualAlloc(void* address, DWORD size, DWORD kind, DWORD protection);
BOOL VirtualFree(void* address, DWORD size, DWORD kind);

void InitializeCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
LONG InterlockedTestExchange(LONG* target, LONG oldValue, LONG newValue);
DWORD TlsCall(DWORD function, DWORD slot);
void* TlsGetValue(DWORD slot);
BOOL TlsSetValue(DWORD slot, void* value);

BOOL FreeLibrary(HMODULE module);
HMODULE LoadLibraryW(const wchar_t* name);
FARPROC GetProcAddressA(HMODULE module, const char* name);
HMODULE GetModuleHandleW(const wchar_t* name);
DWORD GetModuleFileNameW(HMODULE module, wchar_t* path, DWORD size);
HRSRC FindResourceW(HMODULE module, const wchar_t* name, const wchar_t* type);
HGLOBAL LoadResource(HMODULE module, HRSRC place);
BOOL GetVersionExW(OSVERSIONINFOW* version);
DWORD GetFileVersionInfoSizeW(wchar_t* path, DWORD* unused);
BOOL GetFileVersionInfoW(wchar_t* path, DWORD unused, DWORD size, void* information);
BOOL VerQueryValueW(const void* information, const wchar_t* path, void** value, UINT* size);
DWORD FormatMessageW(DWORD flags, const void* source, DWORD code, DWORD language, wchar_t* text, DWORD size,
                     va_list* arguments);
void* LocalFree(void* memory);
void OutputDebugStringW(const wchar_t* text);

HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD share, void* security, DWORD creation, DWORD attributes,
                   HANDLE like);
BOOL ReadFile(HANDLE file, void* buffer, DWORD size, DWORD* count, void* overlapped);
BOOL WriteFile(HANDLE file, const void* buffer, DWORD size, DWORD* count, void* overlapped);
BOOL FlushFileBuffers(HANDLE file);
DWORD GetFileSize(HANDLE file, DWORD* high);
BOOL SetEndOfFile(HANDLE file);
DWORD SetFilePointer(HANDLE file, LONG distance, LONG* high, DWORD method);
BOOL SetFileTime(HANDLE file, const FILETIME* created, const FILETIME* accessed, const FILETIME* written);
BOOL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* information);
UINT GetTempFileNameW(const wchar_t* folder, const wchar_t* prefix, UINT unique, wchar_t* path);
DWORD GetTempPathW(DWORD size, wchar_t* path);
DWORD GetFileAttributesW(const wchar_t* path);
BOOL SetFileAttributesW(const wchar_t* path, DWORD attributes);
BOOL CreateDirectoryW(const wchar_t* path, void* security);
BOOL RemoveDirectoryW(const wchar_t* path);
BOOL DeleteFileW(const wchar_t* path);
BOOL MoveFileW(const wchar_t* from, const wchar_t* to);
BOOL CopyFileW(const wchar_t* from, const wchar_t* to, BOOL failIfExists);
HANDLE FindFirstFileW(const wchar_t* pattern, WIN32_FIND_DATAW* data);
BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* data);
BOOL FindClose(HANDLE search);

void GetSystemTime(SYSTEMTIME* time);
BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime);
void GetLocalTime(SYSTEMTIME* time);
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone);
int GetDateFormatW(LCID locale, DWORD flags, const SYSTEMTIME* time, const wchar_t* format, wchar_t* text, int size);
int GetTimeFormatW(LCID locale, DWORD flags, const SYSTEMTIME* time, const wchar_t* format, wchar_t* text, int size);
int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* text, int length, char* buffer, int size,
                        const char* fallback, BOOL* usedFallback);
int MultiByteToWideChar(UINT codePage, DWORD flags, const char* text, int length, wchar_t* buffer, int size);

LONG RegCreateKeyExW(HKEY parent, const wchar_t* path, DWORD reserved, wchar_t* className, DWORD options, DWORD access,
                     void* security, HKEY* key, DWORD* disposition);
LONG RegOpenKeyExW(HKEY parent, const wchar_t* path, DWORD options, DWORD access, HKEY* key);
LONG RegCloseKey(HKEY key);
LONG RegDeleteKeyW(HKEY parent, const wchar_t* name);
LONG RegDeleteValueW(HKEY key, const wchar_t* name);
LONG RegEnumKeyExW(HKEY key, DWORD index, wchar_t* name, DWORD* nameSize, DWORD* reserved, wchar_t* className,
                   DWORD* classSize, FILETIME* written);
LONG RegEnumValueW(HKEY key, DWORD index, wchar_t* name, DWORD* nameSize, DWORD* reserved, DWORD* type, BYTE* data,
                   DWORD* size);
LONG RegQueryInfoKeyW(HKEY key, wchar_t* className, DWORD* classSize, DWORD* reserved, DWORD* subKeys,
                      DWORD* longestKey, DWORD* longestClass, DWORD* values, DWORD* longestValue, DWORD* longestData,
                      DWORD* security, FILETIME* written);
LONG RegQueryValueExW(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);
LONG RegSetValueExW(HKEY key, const wchar_t* name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);

BOOL AdjustWindowRectEx(RECT* rectangle, DWORD style, BOOL menu, DWORD extendedStyle);
INT_PTR DialogBoxIndirectParamW(HINSTANCE program, const DLGTEMPLATE* dialogTemplate, HWND parent, DLGPROC procedure,
                                LPARAM parameter);
LRESULT DispatchMessageW(const MSG* message);
BOOL EnableWindow(HWND window, BOOL on);
BOOL EndDialog(HWND dialog, INT_PTR result);
BOOL EnumWindows(WNDENUMPROC visit, LPARAM parameter);
HWND GetActiveWindow();
BOOL GetClientRect(HWND window, RECT* rectangle);
HWND GetDlgItem(HWND dialog, int id);
HWND GetFocus();
HWND GetNextDlgTabItem(HWND dialog, HWND control, BOOL previous);
HWND GetWindow(HWND window, UINT relation);
LONG GetWindowLongW(HWND window, int index);
BOOL GetWindowRect(HWND window, RECT* rectangle);
int GetWindowTextLengthW(HWND window);
int GetWindowTextW(HWND window, wchar_t* text, int size);
DWORD GetWindowThreadProcessId(HWND window, DWORD* process);
BOOL IsWindow(HWND window);
BOOL IsWindowEnabled(HWND window);
BOOL IsWindowVisible(HWND window);
BOOL KillTimer(HWND window, UINT id);
HICON LoadIconW(HINSTANCE program, const wchar_t* name);
BOOL MapDialogRect(HWND dialog, RECT* rectangle);
int MapWindowPoints(HWND from, HWND to, POINT* points, UINT count);
int MessageBoxW(HWND owner, const wchar_t* text, const wchar_t* caption, UINT type);
BOOL MoveWindow(HWND window, int left, int top, int width, int height, BOOL repaint);
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT flags);
BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
UINT RegisterWindowMessageW(const wchar_t* name);
LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
UINT SetTimer(HWND window, UINT id, UINT milliseconds, TIMERPROC procedure);
LONG SetWindowLongW(HWND window, int index, LONG value);
BOOL SetWindowPos(HWND window, HWND after, int left, int top, int width, int height, UINT flags);
BOOL SetWindowTextW(HWND window, const wchar_t* text);

}  // extern "C"

// --- What a desktop exports and this platform's headers have always had inline

inline BOOL ResetEvent(HANDLE event) {
    return EventModify(event, 2);
}
inline BOOL SetEvent(HANDLE event) {
    return EventModify(event, 3);
}

inline DWORD TlsAlloc() {
    return TlsCall(0, 0);
}
inline BOOL TlsFree(DWORD slot) {
    return static_cast<BOOL>(TlsCall(1, slot));
}

// The kernel shows every process a page with the handles of what runs: the thread's is the second, and is its id too.
inline DWORD GetCurrentThreadId() {
    return *reinterpret_cast<volatile const DWORD*>(0xFFFFC808);
}
// A number that stands for the process or thread that asks.
inline HANDLE GetCurrentProcess() {
    return reinterpret_cast<HANDLE>(66);
}

inline LONG_PTR GetWindowLongPtrW(HWND window, int index) {
    return GetWindowLongW(window, index);
}
inline LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
    return SetWindowLongW(window, index, value);
}

#endif
