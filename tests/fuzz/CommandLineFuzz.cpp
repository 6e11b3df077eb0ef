// Tokens that are quoted and joined split into themselves again, and whatever a command line says, what is understood
// of it stays within its ranges and what is said about it is fit to be shown.

#include <cstddef>
#include <cstdint>
#include <string>

#include "AddPeerForm.h"
#include "CommandLine.h"
#include "ForeignText.h"
#include "Require.h"
#include "SPW_CIpAddress.h"

namespace {

typedef SPW_CArray<SPW_CString> Tokens;

void checkTokens(const Tokens& tokens) {
    SPW_CString joined;
    for (int i = 0; i < tokens.numberOfElements(); ++i) {
        require(!tokens[i].isEmpty(), "no token is empty");
        require(tokens[i].find(u'"') < 0, "quotes are dropped");
        joined += u"  \"";
        joined += tokens[i];
        joined += u"\"";
    }
    Tokens again;
    splitCommandLine(joined, again);
    require(again.numberOfElements() == tokens.numberOfElements(), "quoted tokens stay as many");
    for (int i = 0; i < tokens.numberOfElements(); ++i) {
        require(again[i] == tokens[i], "quoted tokens stay what they are");
    }
}

void checkPeer(const PeerRecord& peer) {
    SPW_CIpAddress address;
    require(SPW_CIpAddress::parse(peer.address, address), "a peer has an address");
    require(address.toText() == peer.address, "in the form in which senders are known");
    require(peer.name.length() <= kPeerNameLimit, "a name keeps its limit");
    require(peer.udp && peer.tcp && peer.ping, "a peer is probed by everything");
}

void checkUnderstood(const CommandLine& line) {
    constexpr std::int64_t kLongestMs = 1000000000000;
    require(line.minimumQuality >= 0 && line.minimumQuality <= 100, "a percentage");
    require(line.durationMs >= 0 && line.durationMs <= kLongestMs, "a duration");
    require(line.intervalMs >= 0 && line.intervalMs <= kLongestMs, "an interval");
    require(!line.isUsable() || !line.hasInterval || line.intervalMs > 0, "an interval is longer than nothing");
    for (int i = 0; i < line.peers.numberOfElements(); ++i) {
        checkPeer(line.peers[i]);
    }
    require(showableText(line.error) == line.error, "an error is fit to be shown");
    require(showableText(line.unknownText()) == line.unknownText(), "a warning is fit to be shown");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const std::string text(reinterpret_cast<const char*>(bytes), count);
    Tokens tokens;
    splitCommandLine(SPW_CString(text.c_str()), tokens);
    checkTokens(tokens);
    checkUnderstood(scanArguments(tokens));
    return 0;
}
