#pragma once

#include <cerrno>

// Repeats a system call that a signal has cut short. The call answers -1 with errno for a failure.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}
