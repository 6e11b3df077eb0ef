#include "AddPeerForm.h"

#include "SPW_CIpAddress.h"

namespace {

bool isOctet(const SPW_CString& text) {
    SPW_CIpAddress address;
    return SPW_CIpAddress::parse(text + u".0.0.0", address);
}

}  // namespace

AddPeerForm::Field AddPeerForm::firstFault(SPW_CString& message) const {
    message.clear();
    for (int octet = kFirstOctet; octet <= kFourthOctet; ++octet) {
        if (!isOctet(texts[octet])) {
            message = u"Please enter a whole number from 0 to 255";
            return static_cast<Field>(octet);
        }
    }
    if (texts[kName].length() > kPeerNameLimit) {
        message.format(u"Please enter at most %d characters", kPeerNameLimit);
        return kName;
    }
    return kFields;
}

PeerRecord AddPeerForm::peer() const {
    const SPW_CString dot(u".");
    SPW_CIpAddress address;
    (void)SPW_CIpAddress::parse(
        texts[kFirstOctet] + dot + texts[kSecondOctet] + dot + texts[kThirdOctet] + dot + texts[kFourthOctet], address);
    PeerRecord peer;
    peer.address = address.toText();
    peer.name = texts[kName];
    return peer;
}
