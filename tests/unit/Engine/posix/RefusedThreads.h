#pragma once

// A machine that has no thread left, as long as the object lives.
class RefusedThreads {
public:
    // admitted: how many more threads there are before that.
    explicit RefusedThreads(int admitted = 0);
    ~RefusedThreads();
    RefusedThreads(const RefusedThreads&) = delete;
    RefusedThreads& operator=(const RefusedThreads&) = delete;
};
