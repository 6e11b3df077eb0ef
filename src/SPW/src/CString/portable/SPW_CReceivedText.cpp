#include "SPW_CReceivedText.h"

#include <cstring>
#include <vector>

#include "SPW_CStringSys.h"

SPW_CString SPW_receivedText(const char* text) {
    const int length = static_cast<int>(std::strlen(text));
    std::vector<char16_t> room(static_cast<std::size_t>(length) + 1);
    (void)SPW_CStringSys::receivedToWide(text, length, room.data(), length + 1);
    return SPW_CString(room.data());
}
