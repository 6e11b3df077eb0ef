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

void checkPeer(const PeerRecord& peer, CommandLine::Style style) {
    SPW_CIpAddress address;
    if (SPW_CIpAddress::parse(peer.address, address)) {
        require(address.toText() == peer.address, "an address has the form in which senders are known");
    } else {
        require(style == CommandLine::kUnixStyle, "on Windows a peer has an address");
        require(!peer.address.isEmpty() && showableText(peer.address) == peer.address, "elsewhere a host's name");
    }
    require(peer.name.length() <= kPeerNameLimit, "a name keeps its limit");
    require(peer.udp && peer.tcp && peer.ping, "a peer is probed by everything");
}

void checkUnderstood(const CommandLine& line, CommandLine::Style style) {
    constexpr std::int64_t kLongestMs = 1000000000000;
    require(line.minimumQuality >= 0 && line.minimumQuality <= 100, "a percentage");
    require(line.durationMs >= 0 && line.durationMs <= kLongestMs, "a duration");
    require(line.intervalMs >= 0 && line.intervalMs <= kLongestMs, "an interval");
    require(!line.isUsable() || !line.hasInterval || line.intervalMs > 0, "an interval is longer than nothing");
    for (int i = 0; i < line.peers.numberOfElements(); ++i) {
        checkPeer(line.peers[i], style);
    }
    require(showableText(line.error) == line.error, "an error is fit to be shown");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const std::string text(reinterpret_cast<const char*>(bytes), count);
    Tokens tokens;
    splitCommandLine(SPW_CString(text.c_str()), tokens);
    checkTokens(tokens);
    for (const CommandLine::Style style : {CommandLine::kWindowsStyle, CommandLine::kUnixStyle}) {
        checkUnderstood(scanArguments(tokens, style), style);
    }
    return 0;
}
