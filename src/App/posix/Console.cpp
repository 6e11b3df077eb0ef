#include "Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "ForeignText.h"
#include "PatientPoll.h"

namespace {

constexpr int kErrorPatienceMs = 2000;

std::atomic<bool> isErrorStalled{false};

// Waits until the descriptor takes something. Returns false if it does not in that time. -1 waits without limit. A wait
// that the system refuses is short, and only writing then tells.
bool waitForRoom(int descriptor, int timeoutMs) {
    pollfd source = {descriptor, POLLOUT, 0};
    return patientPoll(&source, 1, timeoutMs) != 0;
}

}  // namespace

void complain(const SPW_CString& text) {
    sayOnStandardError(std::string("linkometry: ") + showableText(text).toAnsi() + '\n');
}

void sayOnStandardError(std::string_view text) {
    isErrorStalled = !waitForRoom(STDERR_FILENO, isErrorStalled ? 0 : kErrorPatienceMs);
    if (isErrorStalled) {
        return;
    }
    // If standard error fails too, nobody can be told.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

int writeAll(int descriptor, const std::string& text, const std::function<void(std::size_t)>& progress) {
    const char* bytes = text.data();
    std::size_t left = text.size();
    while (left > 0) {
        const ssize_t written = write(descriptor, bytes, left);
        if (written > 0) {
            bytes += written;
            left -= static_cast<std::size_t>(written);
            progress(static_cast<std::size_t>(written));
        } else if (written < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            (void)waitForRoom(descriptor, -1);
        } else if (written == 0 || errno != EINTR) {
            return written == 0 ? EIO : errno;
        }
    }
    return 0;
}

int printAndTell(const std::string& text) {
    const int failure = writeAll(STDOUT_FILENO, text, [](std::size_t) {});
    if (failure == 0) {
        return EXIT_SUCCESS;
    }
    tellOutputFailure(failure);
    return EXIT_FAILURE;
}

void tellOutputFailure(int failure) {
    if (failure != EPIPE) {
        complain(SPW_CString(u"cannot write to the standard output: ") + std::strerror(failure));
    }
}

int outputWidth() {
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}
