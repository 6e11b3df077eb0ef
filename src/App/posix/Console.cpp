#include "Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "ForeignText.h"

void complain(const SPW_CString& text) {
    std::fprintf(stderr, "linkometry: %s\n", showableText(text).toAnsi());
}

int printText(const std::string& text) {
    errno = 0;
    const bool isPrinted = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    return isPrinted ? 0 : errno != 0 ? errno : EIO;
}

int outputWidth() {
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}
