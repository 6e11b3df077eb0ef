#pragma once

#include <string>
#include <string_view>
#include <vector>

// Reads resolver configurations (resolv.conf and the files in its form that local resolver services keep). Pure
// functions over bytes that may hold anything; any thread.
namespace SPW_CResolverFilePosix {

struct Resolver {
    // The local domain; empty when the file names none.
    std::string domain;
    // The IPv4 name servers as dotted quads, in the order in which they are asked; all of them, although the C library
    // asks only three: a service that reads the same file may ask more.
    std::vector<std::string> servers;
    // There is an IPv6 server, too. What is no address at all counts as not there.
    bool hasOtherServers = false;
};

// A line is a keyword and its values, separated by blanks or tabs; "#" and ";" at its beginning make it a comment.
// "domain" and "search" replace one another, the last line counts; of several domains to search the first is ours.
Resolver parse(std::string_view file);

// Whether all that the file names is a service on this device (127.x.x.x), which asks others on our behalf.
bool namesOnlyThisDevice(const Resolver& resolver);

// Whether that service is systemd-resolved (127.0.0.53 or 127.0.0.54).
bool namesOnlyResolved(const Resolver& resolver);

}  // namespace SPW_CResolverFilePosix
