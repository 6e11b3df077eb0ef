#include "SPW_CResolverFilePosix.h"

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
    if (!word.empty() && word.back() == '.')
        word.remove_suffix(1);
    return std::string(word);
}

void addServer(Resolver& resolver, std::string_view word) {
    std::uint32_t address;
    if (SPW_CAddressTextPosix::parse(word, address))
        resolver.servers.push_back(SPW_CAddressTextPosix::text(address));
    else if (!word.empty())
        resolver.hasOtherServers = true;
}

}  // namespace

Resolver SPW_CResolverFilePosix::parse(std::string_view file) {
    Resolver resolver;
    while (!file.empty()) {
        std::string_view line = SPW_CTextLinesPosix::takeLine(file);
        // Keywords stand at the very beginning of their line.
        const bool isIndented = kBlanks.find(line.empty() ? ' ' : line.front()) != std::string_view::npos;
        const std::string_view keyword = isIndented ? std::string_view() : takeWord(line);
        if (keyword == "nameserver")
            addServer(resolver, takeWord(line));
        else if (keyword == "domain" || keyword == "search")
            resolver.domain = domainOf(takeWord(line));
    }
    return resolver;
}

bool SPW_CResolverFilePosix::namesOnlyThisDevice(const Resolver& resolver) {
    return !resolver.hasOtherServers && !resolver.servers.empty() &&
           std::all_of(resolver.servers.begin(), resolver.servers.end(),
                       [](const std::string& server) { return server.compare(0, 4, "127.") == 0; });
}
