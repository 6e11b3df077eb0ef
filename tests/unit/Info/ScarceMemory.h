#pragma once

// As long as the object lives, the program gets no more than so many blocks of memory where it can do without one; each
// further request is answered by null. One at a time, one thread.
class ScarceMemory {
public:
    explicit ScarceMemory(int blocks);
    ~ScarceMemory();
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;
};
