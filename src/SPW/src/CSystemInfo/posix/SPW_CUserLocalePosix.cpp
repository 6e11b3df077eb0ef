#include "SPW_CUserLocalePosix.h"

#include <iconv.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "SPW_CTimeFormatPosix.h"

namespace {

// The charset is that of the locale for times. LC_CTYPE may have another one: the locale for times is taken for both.
const char* nameOfTimeLocale() {
    for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* const name = std::getenv(variable);
        if (name != nullptr && *name != 0) {
            return name;
        }
    }
    return "C";
}

locale_t openLocale(const char* name) {
    return ::newlocale(LC_TIME_MASK | LC_CTYPE_MASK, name, nullptr);
}

// False when the text is not of that charset, or no converter is installed.
bool toUtf8(const char* charset, const char* text, std::string& utf8) {
    const iconv_t converter = ::iconv_open("UTF-8", charset);
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        return false;
    }
    std::string input(text);
    utf8.resize(4 * input.size());  // no character of one byte needs more
    char* from = input.data();
    std::size_t left = input.size();
    char* to = utf8.data();
    std::size_t room = utf8.size();
    const bool isConverted = ::iconv(converter, &from, &left, &to, &room) != static_cast<std::size_t>(-1);
    (void)::iconv_close(converter);
    utf8.resize(utf8.size() - room);
    return isConverted;
}

}  // namespace

SPW_CUserLocalePosix::SPW_CUserLocalePosix() : m_locale(openLocale(nameOfTimeLocale())) {
    if (m_locale == locale_t()) {
        m_locale = openLocale("C");
    }
}

SPW_CUserLocalePosix::~SPW_CUserLocalePosix() {
    if (m_locale != locale_t()) {
        ::freelocale(m_locale);
    }
}

SPW_CString SPW_CUserLocalePosix::text(nl_item item) const {
    return m_locale == locale_t() ? SPW_CString() : wide(::nl_langinfo_l(item, m_locale));
}

SPW_CString SPW_CUserLocalePosix::formatted(const SPW_CString& format, const std::tm& time) const {
    SPW_CString text;
    for (const SPW_CTimeFormatPosix::Piece& piece : SPW_CTimeFormatPosix::cut(format)) {
        text += piece.conversion == 0 ? piece.text : conversion(piece.text.toAnsi(), time);
    }
    return text;
}

SPW_CString SPW_CUserLocalePosix::conversion(const char* format, const std::tm& time) const {
    if (m_locale == locale_t()) {
        return SPW_CString();
    }
    char text[1024];
    // 0 for an empty text as well, such as the half of the day in a locale that has none. The buffer is undefined then.
    return ::strftime_l(text, sizeof text, format, &time, m_locale) == 0 ? SPW_CString() : wide(text);
}

SPW_CString SPW_CUserLocalePosix::wide(const char* text) const {
    const char* const charset = ::nl_langinfo_l(CODESET, m_locale);
    std::string utf8;
    if (std::strcmp(charset, "UTF-8") != 0 && toUtf8(charset, text, utf8)) {
        return SPW_CString(utf8.c_str());
    }
    return SPW_CString(text);
}
