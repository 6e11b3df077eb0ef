#pragma once

#include "PeerTable.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"

// What a peer added by hand is called unless it is given a name, and the most characters that a name may have.
constexpr char16_t kAddedPeerName[] = u"manually added";
constexpr int kPeerNameLimit = 15;

// Why the peer at this address cannot be added, for the user to read; empty when it can. Two peers at one address would
// count into one row, so that each makes the other's probes look lost.
// known: what TestEngine::knownAddresses gave, and what was added since.
SPW_CString whyNotAdded(const SPW_CString& address, const SPW_CArray<SPW_CString>& known);

// The form that adds a peer by hand, as its fields stand now. Every front end shows it in its own way.
// Checked are the octets' ranges, the name's length, and that the address is not a peer's already: 0.0.0.0 and
// 255.255.255.255 are addresses like any other.
struct AddPeerForm {
    // In tab order.
    enum Field { kFirstOctet, kSecondOctet, kThirdOctet, kFourthOctet, kName, kFields };

    SPW_CString texts[kFields] = {u"0", u"0", u"0", u"0", kAddedPeerName};

    // The first field that cannot be accepted, with a message for the user; kFields, and no message, when all can.
    // known: as for whyNotAdded.
    Field firstFault(const SPW_CArray<SPW_CString>& known, SPW_CString& message) const;
    // The peer that the fields name. Needs a form without a fault.
    PeerRecord peer() const;
};
