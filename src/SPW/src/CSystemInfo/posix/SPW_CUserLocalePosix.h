#pragma once

#include <langinfo.h>
#include <locale.h>

#include <ctime>

#include "SPW_CString.h"

// How the user writes dates and times: the locale that the environment names for them (LC_ALL, LC_TIME or LANG), as it
// is when the object is made. The program's own locale is neither needed nor touched. A locale that is not installed
// is "C". An object belongs to one thread at a time.
class SPW_CUserLocalePosix {
public:
    SPW_CUserLocalePosix();
    ~SPW_CUserLocalePosix();
    SPW_CUserLocalePosix(const SPW_CUserLocalePosix&) = delete;
    SPW_CUserLocalePosix& operator=(const SPW_CUserLocalePosix&) = delete;

    // One of the locale's own texts (D_FMT, T_FMT, T_FMT_AMPM); empty when there is none.
    SPW_CString text(nl_item item) const;
    // The time in a format of strftime. The format may hold any character, whatever the locale's charset.
    SPW_CString formatted(const SPW_CString& format, const std::tm& time) const;

private:
    SPW_CString conversion(const char* format, const std::tm& time) const;
    // From the locale's charset.
    SPW_CString wide(const char* text) const;

    locale_t m_locale;
};
