#pragma once

#include <cstdint>
#include <string_view>

// Finds out which kernel runs from what the kernel says of itself. A pure function; any thread.
//
// A release that counts for the names of modules need not be the version of the sources: Debian calls every build of
// its 6.1 series 6.1.0-<number>-amd64, Ubuntu its 5.15 series 5.15.0-<number>-generic. Both tell the true one
// elsewhere.
namespace SPW_CKernelVersionPosix {

struct Version {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t patch = 0;
};

// release: as uname -r prints it. build: as uname -v prints it ("#1 SMP ... Debian 6.1.55-1 (2023-09-29)").
// signature: the content of /proc/version_signature ("Ubuntu 5.15.0-25.25-generic 5.15.30"), or nothing.
// The true patch level is the signature's, else the one in build, else the release's, where only numbers of the
// release's own series count; 0 without any. False, and version untouched, when release does not begin with two
// numbers.
bool parse(std::string_view release, std::string_view build, std::string_view signature, Version& version);

}  // namespace SPW_CKernelVersionPosix
