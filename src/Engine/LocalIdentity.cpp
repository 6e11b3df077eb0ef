#include "LocalIdentity.h"

#include "CompanionSettings.h"
#include "ForeignText.h"
#include "SPW_CArraySearch.h"
#include "SPW_CSocket.h"

namespace {

// Addresses that say nothing about where a device can be reached: none, itself, and its cradle.
bool isReachableAddress(const SPW_CIpAddress& address) {
    return address != SPW_CIpAddress(0, 0, 0, 0) && address != SPW_CIpAddress(127, 0, 0, 1) &&
           address != SPW_CIpAddress(192, 168, 55, 101);
}

SPW_CString chooseDisplayName(const LocalIdentity& identity, const SPW_CString& source) {
    SPW_CString chosen;
    if (source.compareNoCase(u"Quillon Name") == 0) {
        chosen = identity.quillonName;
    } else if (source.compareNoCase(u"Login Name") == 0 || source.compareNoCase(u"Owner Name") == 0) {
        chosen = identity.ownerName;  // on purpose for both
    }
    return chosen.isEmpty() ? identity.hostName : chosen;
}

}  // namespace

LocalIdentity LocalIdentity::read(const SPW_CString& displayNameSource) {
    LocalIdentity identity;
    if (!SPW_CSocket::instance->hostName(identity.hostName)) {
        identity.hostName.clear();
    }
    identity.localAddresses = reachableAddressesOf(identity.hostName);
    identity.ownerName = readOwnerName();
    identity.quillonName = readFriendlyName();
    identity.displayName = chooseDisplayName(identity, displayNameSource);
    return identity;
}

bool LocalIdentity::hasAddress(const SPW_CString& address) const {
    return contains(localAddresses, address);
}

SPW_CString LocalIdentity::title() const {
    SPW_CString title;
    for (int i = 0; i < localAddresses.numberOfElements(); ++i) {
        title += localAddresses[i];
        title += u" ";
    }
    title += u" (";
    title += displayName;
    title += u")";
    return showableText(title);
}

SPW_CArray<SPW_CString> reachableAddressesOf(const SPW_CString& host) {
    SPW_CArray<SPW_CString> reachable;
    SPW_CArray<SPW_CIpAddress> addresses;
    if (SPW_CSocket::instance->resolve(host, addresses)) {
        for (int i = 0; i < addresses.numberOfElements(); ++i) {
            if (isReachableAddress(addresses[i])) {
                reachable.append(addresses[i].toText());
            }
        }
    }
    return reachable;
}
