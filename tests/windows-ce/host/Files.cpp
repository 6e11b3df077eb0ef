#include "Files.h"

#include <windows.h>

#include <cstring>
#include <cwchar>

#include "Journal.h"
#include "Options.h"

namespace {

// With the option drives a path may have a drive. Tests of the dialogs name files of the desktop.
std::wstring hostPath(Word path) {
    const wchar_t* const text = pointerTo<const wchar_t>(path);
    if (text == nullptr) {
        return L"";
    }
    if (std::wcschr(text, L':') != nullptr) {
        if (Options::has("drives")) {
            return text;
        }
        Journal::write("PATH with a drive: %s", Journal::shown(text).c_str());
    }
    return Options::root() + (*text == L'\\' ? L"" : L"\\") + text;
}

std::uint64_t createFile(Processor&, const Word* a) {
    return addressOf(CreateFileW(hostPath(a[0]).c_str(), a[1], a[2], pointerTo<SECURITY_ATTRIBUTES>(a[3]), a[4], a[5],
                                 pointerTo<void>(a[6])));
}

std::uint64_t attributes(Processor&, const Word* a) {
    return GetFileAttributesW(hostPath(a[0]).c_str());
}

std::uint64_t setAttributes(Processor&, const Word* a) {
    return static_cast<Word>(SetFileAttributesW(hostPath(a[0]).c_str(), a[1]));
}

std::uint64_t createFolder(Processor&, const Word* a) {
    return static_cast<Word>(CreateDirectoryW(hostPath(a[0]).c_str(), nullptr));
}

std::uint64_t removeFolder(Processor&, const Word* a) {
    return static_cast<Word>(RemoveDirectoryW(hostPath(a[0]).c_str()));
}

std::uint64_t deleteFile(Processor&, const Word* a) {
    return static_cast<Word>(DeleteFileW(hostPath(a[0]).c_str()));
}

std::uint64_t moveFile(Processor&, const Word* a) {
    return static_cast<Word>(MoveFileW(hostPath(a[0]).c_str(), hostPath(a[1]).c_str()));
}

std::uint64_t copyFile(Processor&, const Word* a) {
    return static_cast<Word>(CopyFileW(hostPath(a[0]).c_str(), hostPath(a[1]).c_str(), static_cast<BOOL>(a[2])));
}

std::uint64_t temporaryFolder(Processor&, const Word* a) {
    static const wchar_t kFolder[] = L"\\Temp\\";
    constexpr Word kLength = sizeof kFolder / sizeof *kFolder - 1;
    if (a[0] <= kLength) {
        return kLength + 1;
    }
    std::memcpy(pointerTo<void>(a[1]), kFolder, sizeof kFolder);
    return kLength;
}

std::uint64_t temporaryFile(Processor&, const Word* a) {
    wchar_t path[MAX_PATH];
    const UINT number = GetTempFileNameW(hostPath(a[0]).c_str(), pointerTo<const wchar_t>(a[1]), a[2], path);
    if (number != 0) {
        std::wcscpy(pointerTo<wchar_t>(a[3]), path + Options::root().size());
    }
    return number;
}

// The device's record of a file has no short name, but a number of the object.
struct FoundFile {
    DWORD attributes;
    FILETIME created;
    FILETIME read;
    FILETIME written;
    DWORD sizeHigh;
    DWORD sizeLow;
    DWORD object;
    wchar_t name[MAX_PATH];
};
constexpr DWORD kObject = 0x1234;

void answerFound(const WIN32_FIND_DATAW& data, Word place) {
    FoundFile& found = *pointerTo<FoundFile>(place);
    found = {data.dwFileAttributes,
             data.ftCreationTime,
             data.ftLastAccessTime,
             data.ftLastWriteTime,
             data.nFileSizeHigh,
             data.nFileSizeLow,
             kObject,
             {}};
    std::wcscpy(found.name, data.cFileName);
}

// The device's folders have no entries . and .., unlike the desktop's.
bool isDots(const WIN32_FIND_DATAW& data) {
    return std::wcscmp(data.cFileName, L".") == 0 || std::wcscmp(data.cFileName, L"..") == 0;
}

bool findNextReal(HANDLE search, WIN32_FIND_DATAW& data) {
    do {
        if (!FindNextFileW(search, &data)) {
            return false;
        }
    } while (isDots(data));
    return true;
}

std::uint64_t findFirst(Processor&, const Word* a) {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(hostPath(a[0]).c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) {
        return addressOf(search);
    }
    if (isDots(data) && !findNextReal(search, data)) {
        (void)FindClose(search);
        SetLastError(ERROR_NO_MORE_FILES);
        return addressOf(INVALID_HANDLE_VALUE);
    }
    answerFound(data, a[1]);
    return addressOf(search);
}

std::uint64_t findNext(Processor&, const Word* a) {
    WIN32_FIND_DATAW data;
    if (!findNextReal(pointerTo<void>(a[0]), data)) {
        return 0;
    }
    answerFound(data, a[1]);
    return 1;
}

std::uint64_t fileInformation(Processor&, const Word* a) {
    BY_HANDLE_FILE_INFORMATION information;
    if (!GetFileInformationByHandle(pointerTo<void>(a[0]), &information)) {
        return 0;
    }
    std::memcpy(pointerTo<void>(a[1]), &information, sizeof information);
    *pointerTo<DWORD>(a[1] + sizeof information) = kObject;
    return 1;
}

const SystemFunction table[] = {{"CreateFileW", createFile},
                                {"GetFileAttributesW", attributes},
                                {"SetFileAttributesW", setAttributes},
                                {"CreateDirectoryW", createFolder},
                                {"RemoveDirectoryW", removeFolder},
                                {"DeleteFileW", deleteFile},
                                {"MoveFileW", moveFile},
                                {"CopyFileW", copyFile},
                                {"GetTempPathW", temporaryFolder},
                                {"GetTempFileNameW", temporaryFile},
                                {"FindFirstFileW", findFirst},
                                {"FindNextFileW", findNext},
                                {"GetFileInformationByHandle", fileInformation},
                                {nullptr, nullptr}};

}  // namespace

namespace Files {

const SystemFunction* functions() {
    return table;
}

}  // namespace Files
