#include "SPW_CHiveRights.h"

// Hives are no files of the user's.
bool SPW_CHiveRights::limit(const SPW_CString&) {
    return true;
}
