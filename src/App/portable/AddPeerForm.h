#pragma once

#include "PeerTable.h"
#include "SPW_CString.h"

// What a peer added by hand is called unless it is given a name, and the most characters that a name may have.
constexpr char16_t kAddedPeerName[] = u"manually added";
constexpr int kPeerNameLimit = 15;

// The form that adds a peer by hand, as its fields stand now. Every front end shows it in its own way.
// Only the octets' ranges and the name's length are checked: 0.0.0.0 and 255.255.255.255 are addresses like any other.
struct AddPeerForm {
    // In tab order.
    enum Field { kFirstOctet, kSecondOctet, kThirdOctet, kFourthOctet, kName, kFields };

    SPW_CString texts[kFields] = {u"0", u"0", u"0", u"0", kAddedPeerName};

    // The first field that cannot be accepted, with a message for the user; kFields, and no message, when all can.
    Field firstFault(SPW_CString& message) const;
    // The peer that the fields name. Needs a form without a fault.
    PeerRecord peer() const;
};
