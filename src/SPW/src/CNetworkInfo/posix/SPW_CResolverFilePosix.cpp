#include "SPW_CResolverFilePosix.h"

#include <arpa/inet.h>

#include <algorithm>

#include "SPW_CAddressTextPosix.h"
#include "SPW_CTextLinesPosix.h"

namespace {

using SPW_CResolverFilePosix::Resolver;

constexpr std::string_view kBlanks = " \t\r\f\v";

// Takes the next word off the line; empty when there is none.
std::string_view takeWord(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
    line.remove_prefix(word.size());
    return word;
}

// The root domain is written "." and is no domain of ours; a dot at the end changes nothing.
std::string domainOf(std::string_view word) {
    if (!word.empty() && word.back() == '.') {
        word.remove_suffix(1);
    }
    return std::string(word);
}

// As the C library reads it, which takes short and octal forms: 127.1 is 127.0.0.1, 010.0.0.1 is 8.0.0.1.
bool parseServer(const std::string& word, std::uint32_t& address) {
    in_addr parsed;
    if (word.find('\0') != std::string::npos || ::inet_aton(word.c_str(), &parsed) == 0) {
        return false;
    }
    address = ntohl(parsed.s_addr);
    return true;
}

// With or without the link that it is on ("fe80::1%eth0").
bool isIpv6(const std::string& word) {
    in6_addr parsed;
    return ::inet_pton(AF_INET6, word.substr(0, word.find('%')).c_str(), &parsed) == 1;
}

void addServer(Resolver& resolver, const std::string& word) {
    std::uint32_t address;
    if (parseServer(word, address)) {
        resolver.servers.push_back(SPW_CAddressTextPosix::text(address));
    } else if (isIpv6(word)) {
        resolver.hasOtherServers = true;
    }
}

// A line without a domain says nothing.
void setDomain(Resolver& resolver, std::string_view word) {
    if (!word.empty()) {
        resolver.domain = domainOf(word);
    }
}

bool isOfResolved(const std::string& server) {
    return server == "127.0.0.53" || server == "127.0.0.54";
}

}  // namespace

Resolver SPW_CResolverFilePosix::parse(std::string_view file) {
    Resolver resolver;
    while (!file.empty()) {
        std::string_view line = SPW_CTextLinesPosix::takeLine(file);
        // Keywords stand at the very beginning of their line.
        const bool isIndented = kBlanks.find(line.empty() ? ' ' : line.front()) != std::string_view::npos;
        const std::string_view keyword = isIndented ? std::string_view() : takeWord(line);
        if (keyword == "nameserver") {
            addServer(resolver, std::string(takeWord(line)));
        } else if (keyword == "domain" || keyword == "search") {
            setDomain(resolver, takeWord(line));
        }
    }
    return resolver;
}

bool SPW_CResolverFilePosix::namesOnlyThisDevice(const Resolver& resolver) {
    return !resolver.hasOtherServers && !resolver.servers.empty() &&
           std::all_of(resolver.servers.begin(), resolver.servers.end(),
                       [](const std::string& server) { return server.compare(0, 4, "127.") == 0; });
}

bool SPW_CResolverFilePosix::namesOnlyResolved(const Resolver& resolver) {
    return namesOnlyThisDevice(resolver) && std::all_of(resolver.servers.begin(), resolver.servers.end(), isOfResolved);
}
