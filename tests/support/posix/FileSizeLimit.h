#pragma once

#include <signal.h>
#include <sys/resource.h>

// No file of this process grows beyond so many bytes as long as the object lives: a write up to there is short, the
// next one fails as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(::signal(SIGXFSZ, SIG_IGN)) {
        (void)::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {bytes, m_before.rlim_max};
        (void)::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        (void)::setrlimit(RLIMIT_FSIZE, &m_before);
        (void)::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*m_handler)(int);
    rlimit m_before{};
};
