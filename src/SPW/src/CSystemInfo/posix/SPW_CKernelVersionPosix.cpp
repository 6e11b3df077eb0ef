#include "SPW_CKernelVersionPosix.h"

#include <charconv>

namespace {

using SPW_CKernelVersionPosix::Version;

bool takeNumber(std::string_view& text, std::uint32_t& number) {
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return true;
}

bool takePoint(std::string_view& text) {
    if (text.empty() || text.front() != '.') {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

// Reads "6.1" or "6.1.55", whatever follows; hasPatch tells which.
bool readVersion(std::string_view text, Version& version, bool& hasPatch) {
    if (!takeNumber(text, version.major) || !takePoint(text) || !takeNumber(text, version.minor)) {
        return false;
    }
    hasPatch = takePoint(text) && takeNumber(text, version.patch);
    if (!hasPatch) {
        version.patch = 0;
    }
    return true;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}

// Takes the next word off the text; empty when there is none.
std::string_view takeWord(std::string_view& text) {
    std::size_t begin = 0;
    while (begin < text.size() && isBlank(text[begin])) {
        ++begin;
    }
    std::size_t end = begin;
    while (end < text.size() && !isBlank(text[end])) {
        ++end;
    }
    const std::string_view word = text.substr(begin, end - begin);
    text.remove_prefix(end);
    return word;
}

// A package version may begin with its epoch: "1:6.1.63-1+rpt1".
std::string_view withoutEpoch(std::string_view word) {
    std::string_view rest = word;
    std::uint32_t epoch = 0;
    if (!takeNumber(rest, epoch) || rest.empty() || rest.front() != ':') {
        return word;
    }
    return rest.substr(1);
}

bool isOfSeries(std::string_view word, Version& version) {
    Version found;
    bool hasPatch = false;
    if (!readVersion(withoutEpoch(word), found, hasPatch) || !hasPatch || found.major != version.major ||
        found.minor != version.minor) {
        return false;
    }
    version.patch = found.patch;
    return true;
}

// In the signature the last word is the version; in a build's text at most one word is one.
bool takePatchOf(std::string_view text, bool onlyLast, Version& version) {
    for (std::string_view word = takeWord(text); !word.empty(); word = takeWord(text)) {
        const bool isLast = text.find_first_not_of(" \t\n") == std::string_view::npos;
        if ((isLast || !onlyLast) && isOfSeries(word, version)) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool SPW_CKernelVersionPosix::parse(std::string_view release, std::string_view build, std::string_view signature,
                                    Version& version) {
    Version found;
    bool hasPatch = false;
    if (!readVersion(release, found, hasPatch)) {
        return false;
    }
    if (!takePatchOf(signature, true, found)) {
        (void)takePatchOf(build, false, found);  // else the release's own stays
    }
    version = found;
    return true;
}
