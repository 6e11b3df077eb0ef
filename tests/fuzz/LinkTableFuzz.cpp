// The kernel's tables of links, addresses and routes, damaged in whatever way.
//
// Input: two lengths of two bytes each, then the answers to the three requests, of which they are the first two's.

#include <cstdint>
#include <string>
#include <string_view>

#include "Require.h"
#include "SPW_CInterfaceTypePosix.h"
#include "SPW_CLinkTablePosix.h"
#include "SPW_CNetlinkAnswerPosix.h"

namespace {

std::string take(std::string_view& bytes, std::size_t count) {
    const std::string taken(bytes.substr(0, count));
    bytes.remove_prefix(taken.size());
    return taken;
}

std::size_t takeLength(std::string_view& bytes) {
    std::size_t length = 0;
    for (const char byte : take(bytes, 2)) {
        length = length << 8 | static_cast<unsigned char>(byte);
    }
    return length;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::size_t linkBytes = takeLength(bytes);
    const std::size_t addressBytes = takeLength(bytes);
    const std::string links = take(bytes, linkBytes);
    const std::string addresses = take(bytes, addressBytes);
    for (const std::string& table : {links, addresses}) {
        const SPW_CNetlinkAnswerPosix::Answer answer = SPW_CNetlinkAnswerPosix::examine(table);
        require((answer.error != 0) == (answer.progress == SPW_CNetlinkAnswerPosix::kRefused),
                "a refusal has a reason");
    }
    std::uint32_t last = 0;
    for (const SPW_CLinkTablePosix::Link& link : SPW_CLinkTablePosix::read(links, addresses, std::string(bytes))) {
        require(link.index > last, "links are in the order of their index, each once");
        last = link.index;
        require(link.hardwareAddress.size() <= SPW_CLinkTablePosix::kLongestHardwareAddress,
                "a hardware address fits into its record");
        require(SPW_InterfaceTypePosix(link, "") != 0, "a link has a type");
        for (std::size_t i = 1; i < link.gateways.size(); ++i) {
            require(link.gateways[i - 1].metric <= link.gateways[i].metric, "the most preferred gateway is first");
        }
    }
    return 0;
}
