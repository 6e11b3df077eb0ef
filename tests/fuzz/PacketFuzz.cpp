#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ProbePacket.h"

static void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// What was accepted is in order, and a packet made of it is read as the same.
static void checkAccepted(const std::vector<char>& chunk, int count, const ProbePacket::Received& packet) {
    const char* const end = chunk.data() + count;
    require(packet.name > chunk.data() + ProbePacket::kTagLength && packet.name < end);
    require(packet.name + std::strlen(packet.name) <= end);

    const ProbePacket::Bytes bytes(ProbePacket::compose(packet.sequence, SPW_CString(packet.name)));
    std::vector<char> copy(bytes.data(), bytes.data() + bytes.length());
    copy.push_back('x');
    ProbePacket::Received again;
    require(ProbePacket::parse(copy.data(), bytes.length(), again));
    require(again.sequence == packet.sequence);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > ProbePacket::kReceiveSize) {
        return 0;
    }
    const int count = static_cast<int>(size);
    // No NUL behind what was received.
    std::vector<char> chunk(data, data + size);
    chunk.push_back('x');
    ProbePacket::Received packet;
    if (ProbePacket::parse(chunk.data(), count, packet)) {
        checkAccepted(chunk, count, packet);
    }
    return 0;
}
