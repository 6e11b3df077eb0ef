#include "SPW_CHiveRights.h"

// Hives are not files that the user owns.
bool SPW_CHiveRights::limit(const SPW_CString&) {
    return true;
}
