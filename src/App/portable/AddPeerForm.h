#pragma once

#include "PeerTable.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"

// What a peer added by hand is called unless it is given a name, and the most characters that a name may have.
constexpr char16_t kAddedPeerName[] = u"manually added";
constexpr int kPeerNameLimit = 15;

// Returns why the peer at this address cannot be added, for the user to read. Returns an empty text if it can be added.
// Two peers at one address would count into one row, and each would make the other's probes look lost.
// known: what TestEngine::knownAddresses gave, and what was added since.
SPW_CString whyNotAdded(const SPW_CString& address, const SPW_CArray<SPW_CString>& known);

// The form that adds a peer by hand, as its fields stand now. Every front end shows it in its own way.
// The form checks the octets' ranges, the name's length, and that no peer has the address already. 0.0.0.0 and
// 255.255.255.255 are addresses like any other.
struct AddPeerForm {
    // In tab order.
    enum Field { kFirstOctet, kSecondOctet, kThirdOctet, kFourthOctet, kName, kFields };

    SPW_CString texts[kFields] = {u"0", u"0", u"0", u"0", kAddedPeerName};

    // Returns the first field that cannot be accepted, with a message for the user. Returns kFields and no message if
    // all can be accepted. known: as for whyNotAdded.
    Field firstFault(const SPW_CArray<SPW_CString>& known, SPW_CString& message) const;
    // The peer that the fields name. Needs a form without a fault.
    PeerRecord peer() const;
};
