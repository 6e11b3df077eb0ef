#include "SPW_CFindPattern.h"

bool SPW_MatchesFindPattern(const SPW_CString& name, const SPW_CString& pattern) {
    if (pattern == u"*.*") {
        return true;
    }
    const char16_t* n = name.text();
    const char16_t* p = pattern.text();
    const char16_t* afterStar = nullptr;
    const char16_t* starTakesTo = nullptr;
    while (*n != 0) {
        if (*p == u'*') {
            afterStar = ++p;
            starTakesTo = n;
        } else if (*p == u'?' || *p == *n) {
            ++p;
            ++n;
        } else if (afterStar != nullptr) {
            // The latest star takes one character more. Earlier stars need no second try: what they
            // could take, the latest one can.
            p = afterStar;
            n = ++starTakesTo;
        } else {
            return false;
        }
    }
    while (*p == u'*') {
        ++p;
    }
    return *p == 0;
}
