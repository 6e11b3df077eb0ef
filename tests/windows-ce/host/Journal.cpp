#include "Journal.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>

#include "Lock.h"
#include "Options.h"

namespace {

std::FILE* file = stderr;
DWORD beginning = 0;
Lock lock;

}  // namespace

namespace Journal {

void open() {
    beginning = GetTickCount();
    if (!Options::journal().empty()) {
        std::FILE* const opened = std::fopen(Options::journal().c_str(), "w");
        file = opened != nullptr ? opened : stderr;
    }
}

void write(const char* form, ...) {
    const DWORD error = GetLastError();
    {
        const Guard guard(lock);
        std::fprintf(file, "[%7lu %04lx] ", GetTickCount() - beginning, GetCurrentThreadId());
        va_list arguments;
        va_start(arguments, form);
        std::vfprintf(file, form, arguments);
        va_end(arguments);
        std::fputc('\n', file);
        std::fflush(file);
    }
    SetLastError(error);
}

std::string shown(const wchar_t* text) {
    constexpr std::size_t kMost = 200;
    std::string result;
    for (; text != nullptr && *text != 0 && result.size() < kMost; ++text) {
        result += *text < 128 ? static_cast<char>(*text) : '?';
    }
    return result;
}

std::string shown(Word text) {
    return shown(pointerTo<const wchar_t>(text));
}

}  // namespace Journal
