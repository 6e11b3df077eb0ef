// What a distribution, the kernel and a locale say of themselves: whatever stands there, the name is short and fit to
// be shown, and no time keeps its seconds.
//
// Input: read as a whole by each parser; its first lines also are the three texts of a kernel.

#include <cstdint>
#include <string>
#include <string_view>

#include "Require.h"
#include "SPW_CKernelVersionPosix.h"
#include "SPW_COsReleasePosix.h"
#include "SPW_CTimeFormatPosix.h"

namespace {

void checkName(std::string_view file) {
    const SPW_CString name = SPW_COsReleasePosix::prettyName(file);
    require(name.length() <= SPW_COsReleasePosix::kNameLimit, "a name keeps its limit");
    for (int i = 0; i < name.length(); ++i) {
        require(name.at(i) >= 0x20 && !(name.at(i) >= 0x7F && name.at(i) < 0xA0), "a name has no control characters");
    }
    require(SPW_CString(name.toAnsi()) == name, "a name has no half characters");
}

std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
    return line;
}

void checkKernel(std::string_view text) {
    const std::string_view release = takeLine(text);
    const std::string_view build = takeLine(text);
    SPW_CKernelVersionPosix::Version version;
    if (!SPW_CKernelVersionPosix::parse(release, build, text, version)) {
        return;
    }
    SPW_CKernelVersionPosix::Version plain;
    require(SPW_CKernelVersionPosix::parse(release, "", "", plain), "the release alone is enough");
    require(plain.major == version.major && plain.minor == version.minor, "the series is the release's");
}

void checkFormat(const SPW_CString& format) {
    const SPW_CString shortened = SPW_CTimeFormatPosix::withoutSeconds(format, format);
    require(!shortened.isEmpty(), "something is shown");
    for (const SPW_CTimeFormatPosix::Piece& piece : SPW_CTimeFormatPosix::cut(shortened)) {
        require(!piece.text.isEmpty(), "no piece is empty");
        require(piece.conversion != u'S' && piece.conversion != u'Z' && piece.conversion != u'z',
                "neither seconds nor a zone");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    // Of exactly this size, which lets the sanitizer see a read beyond it.
    const std::string text(reinterpret_cast<const char*>(bytes), count);
    checkName(text);
    checkKernel(text);
    checkFormat(SPW_CString(text.c_str()));
    return 0;
}
