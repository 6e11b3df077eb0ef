#include "AddPeerForm.h"

#include "SPW_CArraySearch.h"
#include "SPW_CIpAddress.h"

namespace {

constexpr int kLargestOctet = 255;

// A whole number from 0 to 255, with as many zeros before it as its user likes.
bool readOctet(const SPW_CString& text, std::uint8_t& octet) {
    int value = 0;
    for (int i = 0; i < text.length(); ++i) {
        const char16_t digit = text.at(i);
        if (digit < u'0' || digit > u'9') {
            return false;
        }
        value = value * 10 + (digit - u'0');
        if (value > kLargestOctet) {
            return false;
        }
    }
    octet = static_cast<std::uint8_t>(value);
    return !text.isEmpty();
}

}  // namespace

SPW_CString whyNotAdded(const SPW_CString& address, const SPW_CArray<SPW_CString>& known) {
    return contains(known, address) ? address + u" is a peer already" : SPW_CString();
}

AddPeerForm::Field AddPeerForm::firstFault(const SPW_CArray<SPW_CString>& known, SPW_CString& message) const {
    message.clear();
    for (int octet = kFirstOctet; octet <= kFourthOctet; ++octet) {
        std::uint8_t value = 0;
        if (!readOctet(texts[octet], value)) {
            message = u"Please enter a whole number from 0 to 255";
            return static_cast<Field>(octet);
        }
    }
    message = whyNotAdded(peer().address, known);
    if (!message.isEmpty()) {
        return kFourthOctet;
    }
    if (texts[kName].length() > kPeerNameLimit) {
        message.format(u"Please enter at most %d characters", kPeerNameLimit);
        return kName;
    }
    return kFields;
}

PeerRecord AddPeerForm::peer() const {
    std::uint8_t octets[kName] = {};
    for (int i = kFirstOctet; i <= kFourthOctet; ++i) {
        (void)readOctet(texts[i], octets[i]);
    }
    PeerRecord peer;
    peer.address = SPW_CIpAddress(octets[0], octets[1], octets[2], octets[3]).toText();
    peer.name = texts[kName];
    return peer;
}
