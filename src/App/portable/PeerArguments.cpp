#include "PeerArguments.h"

#include "AddPeerForm.h"
#include "ForeignText.h"
#include "SPW_CSocket.h"
#include "SPW_CSysError.h"

PeerAdded addPeer(TestEngine& engine, const PeerRecord& argument, SPW_CString& why) {
    why.clear();
    SPW_CArray<SPW_CIpAddress> addresses;
    if (!SPW_CSocket::instance->resolve(argument.address, addresses) || addresses.numberOfElements() == 0) {
        why = SPW_CString(u"cannot find the peer ") + showableText(argument.address) + u": " +
              SPW_CSysError::instance->text(SPW_CSocket::instance->lastError());
        return PeerAdded::kNotFound;
    }
    PeerRecord peer = argument;
    peer.address = addresses[0].toText();
    SPW_CArray<SPW_CString> known;
    engine.knownAddresses(known);
    why = whyNotAdded(peer.address, known);
    if (!why.isEmpty()) {
        why += u"; it is taken once";
        return PeerAdded::kKnown;
    }
    engine.addPeer(peer);
    return PeerAdded::kYes;
}
