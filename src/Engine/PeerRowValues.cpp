#include "PeerRowValues.h"

SPW_CString PeerRowValues::label() const {
    return hasName ? address + u" (" + name + u")" : address;
}
