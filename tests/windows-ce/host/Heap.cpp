#include "Heap.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <set>

#include "Journal.h"
#include "Lock.h"
#include "Options.h"
#include "Space.h"
#include "Watch.h"

namespace {

constexpr Word kAlive = 0xA11FEA11;
constexpr Word kDead = 0xDEADB10C;
constexpr std::uint8_t kFresh = 0xCD;
constexpr std::uint8_t kFreed = 0xDD;
constexpr std::uint8_t kBehind = 0xFE;
constexpr std::size_t kBehindSize = 8;
constexpr std::size_t kMostKept = 4000;

// Stands before the guest's part of a block.
struct Block {
    Word size;
    Word mark;

    std::uint8_t* bytes() { return reinterpret_cast<std::uint8_t*>(this + 1); }
};

// The device's heap aligns blocks to 8 bytes.
static_assert(sizeof(Block) == 8, "the guest's memory is aligned as the host's");

Lock lock;
std::set<Block*> alive;
std::deque<Block*> kept;
long allocations = 0;
Word liveBytes = 0;
Word mostBytes = 0;

Block* blockOf(Word memory) {
    return pointerTo<Block>(memory) - 1;
}

void checkBehind(Processor& cpu, Block& block) {
    for (std::size_t i = 0; i < kBehindSize; ++i) {
        if (block.bytes()[block.size + i] != kBehind) {
            Watch::fault(cpu, "HEAP was written behind a block of %u bytes at +%u", block.size,
                         block.size + static_cast<Word>(i));
        }
    }
}

void checkFreed(Processor& cpu, Block& block) {
    for (Word i = 0; i < block.size; ++i) {
        if (block.bytes()[i] != kFreed) {
            Watch::fault(cpu, "HEAP was written in a freed block of %u bytes at +%u", block.size, i);
        }
    }
}

void checkAlive(Processor& cpu, Block& block, const char* use) {
    if (alive.count(&block) != 0 && block.mark == kAlive) {
        checkBehind(cpu, block);
        return;
    }
    const bool isFreed = std::find(kept.begin(), kept.end(), &block) != kept.end();
    const char* const what = isFreed ? "is freed" : alive.count(&block) != 0 ? "was written before" : "is no block";
    Watch::fault(cpu, "HEAP %s of memory that %s", use, what);
}

Word take(Word size, std::uint8_t fill) {
    const Guard guard(lock);
    if (Options::isRefused(++allocations)) {
        Journal::write("HEAP allocation %ld of %u bytes refused", allocations, size);
        return 0;
    }
    if (!Space::take(size)) {
        Journal::write("HEAP allocation %ld of %u bytes refused: no addresses are left", allocations, size);
        return 0;
    }
    Block* const block = static_cast<Block*>(std::malloc(sizeof(Block) + size + kBehindSize));
    if (block == nullptr) {
        Space::give(size);
        return 0;
    }
    block->size = size;
    block->mark = kAlive;
    std::memset(block->bytes(), fill, size);
    std::memset(block->bytes() + size, kBehind, kBehindSize);
    (void)alive.insert(block);
    liveBytes += size;
    mostBytes = std::max(mostBytes, liveBytes);
    return addressOf(block->bytes());
}

void give(Processor& cpu, Word memory, const char* use) {
    if (memory == 0) {
        return;
    }
    const Guard guard(lock);
    Block& block = *blockOf(memory);
    checkAlive(cpu, block, use);
    (void)alive.erase(&block);
    block.mark = kDead;
    std::memset(block.bytes(), kFreed, block.size);
    liveBytes -= block.size;
    Space::give(block.size);
    kept.push_back(&block);
    if (kept.size() > kMostKept) {
        checkFreed(cpu, *kept.front());
        std::free(kept.front());
        kept.pop_front();
    }
}

std::uint64_t allocate(Processor&, const Word* a) {
    return take(a[0], kFresh);
}

std::uint64_t allocateCleared(Processor&, const Word* a) {
    const std::uint64_t size = static_cast<std::uint64_t>(a[0]) * a[1];
    constexpr std::uint64_t kMost = 0x7FFFFFFF;
    return size > kMost ? 0 : take(static_cast<Word>(size), 0);
}

std::uint64_t release(Processor& cpu, const Word* a) {
    give(cpu, a[0], "release");
    return 0;
}

std::uint64_t reallocate(Processor& cpu, const Word* a) {
    if (a[0] != 0) {
        const Guard guard(lock);
        checkAlive(cpu, *blockOf(a[0]), "enlargement");
    }
    const Word memory = take(a[1], kFresh);
    if (memory != 0 && a[0] != 0) {
        std::memcpy(pointerTo<void>(memory), pointerTo<void>(a[0]), std::min(blockOf(a[0])->size, a[1]));
        give(cpu, a[0], "enlargement");
    }
    return memory;
}

const SystemFunction table[] = {
    {"malloc", allocate}, {"calloc", allocateCleared}, {"realloc", reallocate}, {"free", release}, {nullptr, nullptr}};

}  // namespace

namespace Heap {

void finish(Processor& cpu) {
    const Guard guard(lock);
    for (Block* block : alive) {
        checkAlive(cpu, *block, "keeping");
    }
    for (Block* block : kept) {
        checkFreed(cpu, *block);
    }
    Journal::write("HEAP %ld allocations, %u blocks of %u bytes not freed, at most %u bytes at a time", allocations,
                   static_cast<unsigned>(alive.size()), liveBytes, mostBytes);
}

const SystemFunction* functions() {
    return table;
}

}  // namespace Heap
