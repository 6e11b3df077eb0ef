#include "SPW_CDhcpLeasePosix.h"
#include "SPW_CDhcpNumbersPosix.h"

namespace {

// Where things stand in a packet (RFC 2131).
constexpr std::size_t kYourAddress = 16;
constexpr std::size_t kServerName = 44;
constexpr std::size_t kBootFile = 108;
constexpr std::size_t kCookie = 236;
constexpr std::size_t kOptions = 240;
constexpr std::string_view kMagic = "\x63\x82\x53\x63";
constexpr char kReply = 2;

enum Option : unsigned char { kPad = 0, kLeaseTime = 51, kOverload = 52, kServerIdentifier = 54, kEnd = 255 };

std::uint32_t numberAt(std::string_view bytes, std::size_t position) {
    std::uint32_t number = 0;
    for (std::size_t i = position; i < position + 4; ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return number;
}

struct Options {
    std::uint32_t leaseTime = 0;
    std::uint32_t server = 0;
    unsigned char overload = 0;  // 1: options go on in the boot file's place, 2: in the server name's, 3: in both
};

// Options are a code, a length and so many bytes each; one that runs behind the end of the field ends it.
void readOptions(std::string_view field, Options& options) {
    while (!field.empty()) {
        const unsigned char code = static_cast<unsigned char>(field[0]);
        if (code == kEnd) {
            return;
        }
        if (code == kPad) {
            field.remove_prefix(1);
            continue;
        }
        if (field.size() < 2) {
            return;
        }
        const std::size_t length = static_cast<unsigned char>(field[1]);
        if (field.size() < 2 + length) {
            return;
        }
        const std::string_view value = field.substr(2, length);
        if (code == kLeaseTime && length == 4) {
            options.leaseTime = numberAt(value, 0);
        } else if (code == kServerIdentifier && length == 4) {
            options.server = numberAt(value, 0);
        } else if (code == kOverload && length == 1) {
            options.overload = static_cast<unsigned char>(value[0]);
        }
        field.remove_prefix(2 + length);
    }
}

}  // namespace

bool SPW_CDhcpLeasePosix::parsePacket(std::string_view packet, std::int64_t written, SPW_CDhcpLease& lease) {
    if (packet.size() < kOptions || packet[0] != kReply || packet.substr(kCookie, kMagic.size()) != kMagic ||
        numberAt(packet, kYourAddress) == 0) {
        return false;
    }
    Options options;
    readOptions(packet.substr(kOptions), options);
    const unsigned char overload = options.overload;
    if ((overload & 1) != 0) {
        readOptions(packet.substr(kBootFile, kCookie - kBootFile), options);
    }
    if ((overload & 2) != 0) {
        readOptions(packet.substr(kServerName, kBootFile - kServerName), options);
    }
    lease = SPW_CDhcpLease();
    lease.address = numberAt(packet, kYourAddress);
    lease.server = options.server;
    lease.obtained = written;
    if (options.leaseTime != 0 && options.leaseTime != SPW_CDhcpNumbersPosix::kForEver) {
        lease.expires = written + options.leaseTime;
    }
    return true;
}
