// A resolver's file, whatever stands in it: each server is a dotted quad, and reading what was read gives the same.

#include <cstdint>
#include <string>

#include "Require.h"
#include "SPW_CAddressTextPosix.h"
#include "SPW_CResolverFilePosix.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    // Of exactly this size, which lets the sanitizer see a read beyond it.
    const std::string file(reinterpret_cast<const char*>(bytes), count);
    const SPW_CResolverFilePosix::Resolver resolver = SPW_CResolverFilePosix::parse(file);
    std::string again = "domain " + resolver.domain + "\n";
    for (const std::string& server : resolver.servers) {
        std::uint32_t address = 0;
        require(SPW_CAddressTextPosix::parse(server, address), "a server is an address");
        require(SPW_CAddressTextPosix::text(address) == server, "in its plain form");
        again += "nameserver " + server + "\n";
    }
    require(SPW_CResolverFilePosix::parse(again).servers == resolver.servers, "what was read can be read");
    require(
        !SPW_CResolverFilePosix::namesOnlyResolved(resolver) || SPW_CResolverFilePosix::namesOnlyThisDevice(resolver),
        "systemd-resolved is a service on this device");
    require(!SPW_CResolverFilePosix::namesOnlyThisDevice(resolver) || !resolver.hasOtherServers,
            "a server that is not understood is not this device");
    return 0;
}
