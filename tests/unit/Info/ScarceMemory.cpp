#include "ScarceMemory.h"

#include <atomic>
#include <cstring>
#include <new>

namespace {

constexpr int kPlenty = -1;

std::atomic<int> blocksLeft{kPlenty};

bool isUsedUp() {
    const int left = blocksLeft;
    if (left > 0) {
        blocksLeft = left - 1;
    }
    return left == 0;
}

}  // namespace

ScarceMemory::ScarceMemory(int blocks) {
    blocksLeft = blocks;
}

ScarceMemory::~ScarceMemory() {
    blocksLeft = kPlenty;
}

// The program asks for memory in this form where it can do without. What it gets has never been clean.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return isUsedUp() ? nullptr : std::memset(::operator new(size), 'x', size);
}
