#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ProbePacket.h"
#include "Require.h"

// The rules once more, with the standard library's own tokeniser and number reader.
static bool parseByTheBook(std::vector<char> chunk, std::int32_t& sequence, std::string& name) {
    const std::size_t count = chunk.size();
    if (count <= 19 || std::memcmp(chunk.data(), "Vantiro Diagnostic", 18) != 0) {
        return false;
    }
    chunk.push_back('\0');
    const char* const token = std::strtok(chunk.data() + 19, "|");
    if (token == nullptr || count <= std::strlen(token) + 20) {
        return false;
    }
    const long long number = std::strtoll(token, nullptr, 10);
    sequence = static_cast<std::int32_t>(std::clamp<long long>(number, INT32_MIN, INT32_MAX));
    name = chunk.data() + 19 + std::strlen(token) + 1;
    return true;
}

// What was accepted is in order, and a packet made of it is read as the same.
static void checkAccepted(const std::vector<char>& chunk, int count, const ProbePacket::Received& packet) {
    const char* const end = chunk.data() + count;
    require(packet.name > chunk.data() + ProbePacket::kTagLength && packet.name < end, "the name is in the chunk");
    require(packet.name + std::strlen(packet.name) <= end, "the name ends in the chunk");

    const ProbePacket::Bytes bytes(ProbePacket::compose(packet.sequence, SPW_CString(packet.name)));
    std::vector<char> copy(bytes.data(), bytes.data() + bytes.length());
    copy.push_back('x');
    ProbePacket::Received again;
    require(ProbePacket::parse(copy.data(), bytes.length(), again), "a packet that was made is read");
    require(again.sequence == packet.sequence, "its number is the one it was made with");
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
    std::int32_t sequence = 0;
    std::string name;
    const bool expected = parseByTheBook(std::vector<char>(data, data + size), sequence, name);
    const bool accepted = ProbePacket::parse(chunk.data(), count, packet);
    require(accepted == expected, "what is accepted is what the rules accept");
    if (accepted) {
        require(packet.sequence == sequence && name == packet.name, "number and name are those of the rules");
        checkAccepted(chunk, count, packet);
    }
    return 0;
}
