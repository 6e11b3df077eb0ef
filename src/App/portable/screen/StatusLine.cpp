#include "StatusLine.h"

#include <initializer_list>

#include "DisplayWidth.h"

namespace {

const char16_t kGap[] = u"  ";

const char16_t* stateText(StatusLine::State state) {
    static constexpr const char16_t* kTexts[] = {u"stopped", u"starting", u"running", u"stopping"};
    return kTexts[state];
}

SPW_CString joined(const SPW_CString& left, const SPW_CString& right) {
    return right.isEmpty() ? left : left + kGap + right;
}

SPW_CString fileName(const SPW_CString& path) {
    const SPW_CString name = path.afterLast(u"/");
    return name.isEmpty() ? path : name;
}

}  // namespace

SPW_CString elapsedText(std::uint32_t seconds) {
    SPW_CString text;
    text.format(u"%u:%02u:%02u", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return text;
}

SPW_CString StatusLine::text(int width) const {
    SPW_CString beginning(stateText(state));
    if (testNumber > 0) {
        beginning += SPW_CString(kGap) + u"test " + testNumber;
        beginning += SPW_CString(kGap) + elapsedText(elapsedSeconds);
    }
    beginning = joined(beginning, filter);
    for (const SPW_CString& log : {logFile, fileName(logFile)}) {
        const SPW_CString whole =
            joined(log.isEmpty() ? beginning : joined(beginning, SPW_CString(u"log ") + log), event);
        if (displayWidth(whole) <= width) {
            return whole;
        }
    }
    return joined(beginning, event);
}
