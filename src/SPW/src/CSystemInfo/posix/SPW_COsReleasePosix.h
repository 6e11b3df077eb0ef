#pragma once

#include <string_view>

#include "SPW_CString.h"

// Reads os-release files, in which a distribution names itself. A pure function over bytes that may hold anything; any
// thread.
//
// The file is a list of assignments in the manner of the shell, one a line: NAME=value, the value bare, in single
// quotes or in double quotes with \", \\, \$ and \` inside. Lines that are no assignment, or leave a quote open, count
// as not there. The last of several assignments to one name counts. Deliberately no value spans lines: one open quote
// does not swallow the rest of the file.
namespace SPW_COsReleasePosix {

// Characters of a name at most: what a service-pack text has room for.
constexpr int kNameLimit = 127;

// The distribution's own name with its version, the value of PRETTY_NAME ("Debian GNU/Linux 12 (bookworm)"); empty when
// there is none. Control characters are shown as "?", what is no UTF-8 as U+FFFD; what is too long is cut.
SPW_CString prettyName(std::string_view file);

}  // namespace SPW_COsReleasePosix
