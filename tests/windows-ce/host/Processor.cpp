#include "Processor.h"

#include <windows.h>

#include "Calls.h"
#include "Image.h"
#include "Watch.h"

// The fields have the names of the processor's manual: rn is the first operand or the base, rd the destination, rm the
// second operand, rs the amount of a shift.

namespace {

constexpr unsigned kPc = 15;
constexpr unsigned kLr = 14;
constexpr unsigned kSp = 13;
constexpr Word kSetsFlags = 0x00100000;  // of arithmetic
constexpr Word kLoads = 0x00100000;      // of transfers
constexpr Word kWritesBack = 0x00200000;
constexpr Word kIsByte = 0x00400000;
constexpr Word kGoesUp = 0x00800000;
constexpr Word kIsIndexedBefore = 0x01000000;

// --- Memory

// The system's kernel shows each program these data at a fixed address.
Word readKernelPage(Processor& cpu, Word address) {
    constexpr Word kThread = 0xFFFFC808;
    constexpr Word kProcess = 0xFFFFC80C;
    if (address == kThread) {
        return GetCurrentThreadId();
    }
    if (address == kProcess) {
        return GetCurrentProcessId();
    }
    Watch::fault(cpu, "KERNEL read of its page at %08x", address);
}

Word loadWord(Processor& cpu, Word address) {
    constexpr Word kKernelPage = 0xFFFFC000;
    Watch::checkAligned(cpu, address, 4, "word read");
    return address >= kKernelPage ? readKernelPage(cpu, address) : *pointerTo<volatile Word>(address);
}

void storeWord(Processor& cpu, Word address, Word value) {
    Watch::checkAligned(cpu, address, 4, "word write");
    *pointerTo<volatile Word>(address) = value;
}

void checkStack(Processor& cpu, Word pc) {
    const Word sp = cpu.r[kSp];
    if (sp < cpu.lowestStack) {
        cpu.lowestStack = sp;
        cpu.lowestAt = pc;
        if (sp < cpu.stackLow) {
            Watch::fault(cpu, "STACK overflow, sp %08x", sp);
        }
    }
}

Word jumpTarget(Processor& cpu, Word target) {
    if ((target & 3) != 0) {
        Watch::fault(cpu, "JUMP to %08x, which is no instruction's place", target);
    }
    cpu.trail[cpu.trailAt++ % Processor::kTrail] = target;
    return target;
}

// --- Conditions and operands

bool holds(const Processor& cpu, unsigned condition) {
    bool result = true;
    switch (condition >> 1) {
        case 0:
            result = cpu.z;
            break;
        case 1:
            result = cpu.c;
            break;
        case 2:
            result = cpu.n;
            break;
        case 3:
            result = cpu.v;
            break;
        case 4:
            result = cpu.c && !cpu.z;
            break;
        case 5:
            result = cpu.n == cpu.v;
            break;
        case 6:
            result = !cpu.z && cpu.n == cpu.v;
            break;
        default:
            break;
    }
    return (condition & 1) != 0 ? !result : result;
}

struct Shifted {
    Word value;
    bool carry;
};

bool bit(Word value, unsigned number) {
    return (value >> number & 1) != 0;
}

Shifted shiftLeft(Word value, unsigned amount, bool carry) {
    if (amount == 0) {
        return {value, carry};
    }
    if (amount < 32) {
        return {value << amount, bit(value, 32 - amount)};
    }
    return {0, amount == 32 && bit(value, 0)};
}

Shifted shiftRight(Word value, unsigned amount) {
    if (amount < 32) {
        return {value >> amount, bit(value, amount - 1)};
    }
    return {0, amount == 32 && bit(value, 31)};
}

Word copiesOfSign(Word value, unsigned amount) {
    return static_cast<Word>(static_cast<std::int32_t>(value) >> amount);
}

Shifted shiftArithmetically(Word value, unsigned amount) {
    if (amount < 32) {
        return {copiesOfSign(value, amount), bit(value, amount - 1)};
    }
    return {copiesOfSign(value, 31), bit(value, 31)};
}

Shifted rotate(Word value, unsigned amount) {
    amount &= 31;
    if (amount == 0) {
        return {value, bit(value, 31)};
    }
    return {value >> amount | value << (32 - amount), bit(value, amount - 1)};
}

Shifted shiftBy(Word value, unsigned type, unsigned amount, bool carry) {
    switch (type) {
        case 0:
            return shiftLeft(value, amount, carry);
        case 1:
            return shiftRight(value, amount);
        case 2:
            return shiftArithmetically(value, amount);
        default:
            return rotate(value, amount);
    }
}

// The amount is in the instruction. An amount of 0 there means 32 for a shift to the right, and one step through the
// carry for a rotation.
Shifted shiftByNumber(const Processor& cpu, Word in) {
    const Word value = cpu.r[in & 15];
    const unsigned type = in >> 5 & 3;
    const unsigned amount = in >> 7 & 31;
    if (amount == 0 && type == 3) {
        return {value >> 1 | static_cast<Word>(cpu.c) << 31, bit(value, 0)};
    }
    return shiftBy(value, type, amount == 0 && type != 0 ? 32 : amount, cpu.c);
}

// The amount is in a register. An amount of 0 there changes nothing.
Shifted shiftByRegister(const Processor& cpu, Word in) {
    const Word value = cpu.r[in & 15];
    const unsigned amount = cpu.r[in >> 8 & 15] & 255;
    return amount == 0 ? Shifted{value, cpu.c} : shiftBy(value, in >> 5 & 3, amount, cpu.c);
}

Shifted immediate(const Processor& cpu, Word in) {
    const unsigned rotation = in >> 7 & 30;
    return rotation == 0 ? Shifted{in & 255, cpu.c} : rotate(in & 255, rotation);
}

// --- One instruction of each class; each answers where the next one is.

void multiply(Processor& cpu, Word in) {
    Word* const r = cpu.r;
    const unsigned rd = in >> 16 & 15;
    const unsigned rm = in & 15;
    if (rd == rm) {
        Watch::fault(cpu, "UNPREDICTABLE mul %08x, its result and first factor are one register", in);
    }
    r[rd] = r[rm] * r[in >> 8 & 15] + ((in & 0x00200000) != 0 ? r[in >> 12 & 15] : 0);
    if ((in & kSetsFlags) != 0) {
        cpu.n = bit(r[rd], 31);
        cpu.z = r[rd] == 0;
    }
}

void multiplyLong(Processor& cpu, Word in) {
    Word* const r = cpu.r;
    const unsigned high = in >> 16 & 15;
    const unsigned low = in >> 12 & 15;
    const unsigned rm = in & 15;
    const unsigned rs = in >> 8 & 15;
    if (high == rm || low == rm || high == low) {
        Watch::fault(cpu, "UNPREDICTABLE long mul %08x, two of its registers are one", in);
    }
    constexpr Word kIsSigned = 0x00400000;
    constexpr Word kAdds = 0x00200000;
    std::uint64_t result = 0;
    if ((in & kIsSigned) != 0) {
        const std::int64_t factor = static_cast<std::int32_t>(r[rm]);
        result = static_cast<std::uint64_t>(factor * static_cast<std::int32_t>(r[rs]));
    } else {
        result = static_cast<std::uint64_t>(r[rm]) * r[rs];
    }
    if ((in & kAdds) != 0) {
        result += static_cast<std::uint64_t>(r[high]) << 32 | r[low];
    }
    r[low] = static_cast<Word>(result);
    r[high] = static_cast<Word>(result >> 32);
    if ((in & kSetsFlags) != 0) {
        cpu.n = bit(r[high], 31);
        cpu.z = result == 0;
    }
}

void swap(Processor& cpu, Word in) {
    const Word address = cpu.r[in >> 16 & 15];
    const Word value = cpu.r[in & 15];
    Word& destination = cpu.r[in >> 12 & 15];
    if ((in & kIsByte) != 0) {
        destination =
            __atomic_exchange_n(pointerTo<std::uint8_t>(address), static_cast<std::uint8_t>(value), __ATOMIC_SEQ_CST);
    } else {
        Watch::checkAligned(cpu, address, 4, "swap");
        destination = __atomic_exchange_n(pointerTo<Word>(address), value, __ATOMIC_SEQ_CST);
    }
}

[[noreturn]] void unknown(Processor& cpu, Word in) {
    Watch::fault(cpu, "UNKNOWN to ARMv4: %08x", in);
}

// Halfwords and signed bytes.
void transferHalf(Processor& cpu, Word in) {
    Word* const r = cpu.r;
    const unsigned rn = in >> 16 & 15;
    const unsigned rd = in >> 12 & 15;
    const unsigned kind = in >> 5 & 3;
    constexpr unsigned kHalf = 1;
    constexpr unsigned kSignedByte = 2;
    constexpr Word kHasNumber = 0x00400000;
    const Word offset = (in & kHasNumber) != 0 ? (in >> 4 & 0xF0) | (in & 15) : r[in & 15];
    const Word moved = (in & kGoesUp) != 0 ? r[rn] + offset : r[rn] - offset;
    const bool isBefore = (in & kIsIndexedBefore) != 0;
    const Word address = isBefore ? moved : r[rn];
    const bool writesBack = !isBefore || (in & kWritesBack) != 0;
    if ((in & kLoads) == 0) {
        if (kind != kHalf) {
            unknown(cpu, in);  // two words at a time
        }
        Watch::checkAligned(cpu, address, 2, "halfword write");
        *pointerTo<volatile std::uint16_t>(address) = static_cast<std::uint16_t>(r[rd]);
        r[rn] = writesBack ? moved : r[rn];
        return;
    }
    if (rd == kPc) {
        unknown(cpu, in);
    }
    Word value = 0;
    if (kind == kSignedByte) {
        value = static_cast<Word>(static_cast<std::int32_t>(*pointerTo<volatile std::int8_t>(address)));
    } else {
        Watch::checkAligned(cpu, address, 2, "halfword read");
        value = *pointerTo<volatile std::uint16_t>(address);
        if (kind != kHalf) {
            value = static_cast<Word>(static_cast<std::int32_t>(static_cast<std::int16_t>(value)));
        }
    }
    r[rn] = writesBack ? moved : r[rn];
    r[rd] = value;
}

// Multiplications, swaps and halfwords. They share the encodings of arithmetic with a register.
void executeExtension(Processor& cpu, Word in) {
    if ((in & 0x60) != 0) {
        transferHalf(cpu, in);
    } else if ((in & 0x0FC00000) == 0) {
        multiply(cpu, in);
    } else if ((in & 0x0F800000) == 0x00800000) {
        multiplyLong(cpu, in);
    } else if ((in & 0x0FB00F00) == 0x01000000) {
        swap(cpu, in);
    } else {
        unknown(cpu, in);
    }
}

struct Sum {
    Word value;
    bool carry;
    bool overflow;
};

Sum add(Word x, Word y, bool carry) {
    const std::uint64_t wide = static_cast<std::uint64_t>(x) + y + (carry ? 1 : 0);
    const Word value = static_cast<Word>(wide);
    return {value, (wide >> 32) != 0, bit((x ^ value) & (y ^ value), 31)};
}

Word executeArithmetic(Processor& cpu, Word in, Word next) {
    enum Operation { kAnd, kEor, kSub, kRsb, kAdd, kAdc, kSbc, kRsc, kTst, kTeq, kCmp, kCmn, kOrr, kMov, kBic, kMvn };
    const unsigned operation = in >> 21 & 15;
    const bool setsFlags = (in & kSetsFlags) != 0;
    const bool isTest = operation >= kTst && operation <= kCmn;
    if (isTest && !setsFlags) {
        unknown(cpu, in);  // bx, clz, the status register
    }
    const unsigned rd = in >> 12 & 15;
    const Word a = cpu.r[in >> 16 & 15];
    Shifted b = {};
    constexpr Word kHasImmediate = 0x02000000;
    constexpr Word kShiftsByRegister = 0x10;
    if ((in & kHasImmediate) != 0) {
        b = immediate(cpu, in);
    } else if ((in & kShiftsByRegister) != 0) {
        if ((in >> 16 & 15) == kPc || (in & 15) == kPc || (in >> 8 & 15) == kPc || rd == kPc) {
            Watch::fault(cpu, "UNPREDICTABLE pc with a shift by a register: %08x", in);
        }
        b = shiftByRegister(cpu, in);
    } else {
        b = shiftByNumber(cpu, in);
    }
    // An operation other than a sum leaves the overflow flag alone. Its carry is that of the shift.
    Sum result = {0, b.carry, cpu.v};
    switch (operation) {
        case kAnd:
        case kTst:
            result.value = a & b.value;
            break;
        case kEor:
        case kTeq:
            result.value = a ^ b.value;
            break;
        case kSub:
        case kCmp:
            result = add(a, ~b.value, true);
            break;
        case kRsb:
            result = add(b.value, ~a, true);
            break;
        case kAdd:
        case kCmn:
            result = add(a, b.value, false);
            break;
        case kAdc:
            result = add(a, b.value, cpu.c);
            break;
        case kSbc:
            result = add(a, ~b.value, cpu.c);
            break;
        case kRsc:
            result = add(b.value, ~a, cpu.c);
            break;
        case kOrr:
            result.value = a | b.value;
            break;
        case kMov:
            result.value = b.value;
            break;
        case kBic:
            result.value = a & ~b.value;
            break;
        default:
            result.value = ~b.value;
            break;
    }
    if (!isTest && rd == kPc) {
        if (setsFlags) {
            Watch::fault(cpu, "PRIVILEGED return %08x", in);
        }
        return jumpTarget(cpu, result.value);
    }
    if (!isTest) {
        cpu.r[rd] = result.value;
        if (rd == kSp) {
            checkStack(cpu, next - 4);
        }
    }
    if (setsFlags) {
        cpu.n = bit(result.value, 31);
        cpu.z = result.value == 0;
        cpu.c = result.carry;
        cpu.v = result.overflow;
    }
    return next;
}

// Words and unsigned bytes.
Word executeTransfer(Processor& cpu, Word in, Word next) {
    Word* const r = cpu.r;
    const unsigned rn = in >> 16 & 15;
    const unsigned rd = in >> 12 & 15;
    constexpr Word kHasRegister = 0x02000000;
    const Word offset = (in & kHasRegister) != 0 ? shiftByNumber(cpu, in).value : in & 0xFFF;
    const Word moved = (in & kGoesUp) != 0 ? r[rn] + offset : r[rn] - offset;
    const bool isBefore = (in & kIsIndexedBefore) != 0;
    const Word address = isBefore ? moved : r[rn];
    const bool isByte = (in & kIsByte) != 0;
    if (!isBefore && (in & kWritesBack) != 0) {
        Watch::fault(cpu, "PRIVILEGED transfer %08x", in);
    }
    const bool writesBack = !isBefore || (in & kWritesBack) != 0;
    if ((in & kLoads) != 0) {
        const Word value = isByte ? *pointerTo<volatile std::uint8_t>(address) : loadWord(cpu, address);
        r[rn] = writesBack ? moved : r[rn];
        if (rd == kPc) {
            next = jumpTarget(cpu, value);
        } else {
            r[rd] = value;
        }
    } else {
        const Word value = rd == kPc ? r[kPc] + 4 : r[rd];
        if (isByte) {
            *pointerTo<volatile std::uint8_t>(address) = static_cast<std::uint8_t>(value);
        } else {
            storeWord(cpu, address, value);
        }
        r[rn] = writesBack ? moved : r[rn];
    }
    checkStack(cpu, next - 4);
    return next;
}

// Many words at once.
Word executeMultiple(Processor& cpu, Word in, Word next) {
    Word* const r = cpu.r;
    const unsigned rn = in >> 16 & 15;
    const Word list = in & 0xFFFF;
    constexpr Word kOtherBank = 0x00400000;
    if ((in & kOtherBank) != 0 || list == 0 || rn == kPc) {
        Watch::fault(cpu, "PRIVILEGED or UNPREDICTABLE transfer %08x", in);
    }
    const Word bytes = 4 * static_cast<Word>(__builtin_popcount(list));
    const bool isBefore = (in & kIsIndexedBefore) != 0;
    const bool goesUp = (in & kGoesUp) != 0;
    const bool writesBack = (in & kWritesBack) != 0;
    const bool hasBase = bit(list, rn);
    const Word moved = goesUp ? r[rn] + bytes : r[rn] - bytes;
    // The lowest register is at the lowest address, whether the base moves up or down.
    Word address = (goesUp ? r[rn] : moved) + (isBefore == goesUp ? 4 : 0);
    if ((in & kLoads) != 0) {
        if (hasBase && writesBack) {
            Watch::fault(cpu, "UNPREDICTABLE ldm %08x, its base is in its list", in);
        }
        r[rn] = writesBack ? moved : r[rn];
        for (unsigned i = 0; i < 16; ++i) {
            if (bit(list, i)) {
                const Word value = loadWord(cpu, address);
                address += 4;
                if (i == kPc) {
                    next = jumpTarget(cpu, value);
                } else {
                    r[i] = value;
                }
            }
        }
    } else {
        const bool isBaseFirst = hasBase && (list & ((1U << rn) - 1)) == 0;
        if (hasBase && writesBack && !isBaseFirst) {
            Watch::fault(cpu, "UNPREDICTABLE stm %08x, its base is in its list", in);
        }
        for (unsigned i = 0; i < 16; ++i) {
            if (bit(list, i)) {
                storeWord(cpu, address, i == kPc ? r[kPc] + 4 : r[i]);
                address += 4;
            }
        }
        r[rn] = writesBack ? moved : r[rn];
    }
    checkStack(cpu, next - 4);
    return next;
}

Word executeBranch(Processor& cpu, Word in, Word next) {
    constexpr Word kLinks = 0x01000000;
    const Word distance = copiesOfSign(in << 8, 6);
    if ((in & kLinks) != 0) {
        cpu.r[kLr] = next;
    }
    return jumpTarget(cpu, next + 4 + distance);
}

Word execute(Processor& cpu, Word in, Word next) {
    switch (in >> 25 & 7) {
        case 0:
            if ((in & 0x90) == 0x90) {
                executeExtension(cpu, in);
                return next;
            }
            return executeArithmetic(cpu, in, next);
        case 1:
            return executeArithmetic(cpu, in, next);
        case 2:
            return executeTransfer(cpu, in, next);
        case 3:
            if ((in & 0x10) != 0) {
                unknown(cpu, in);
            }
            return executeTransfer(cpu, in, next);
        case 4:
            return executeMultiple(cpu, in, next);
        case 5:
            return executeBranch(cpu, in, next);
        default:
            unknown(cpu, in);  // coprocessors and software interrupts
    }
}

}  // namespace

void run(Processor& cpu, Word pc) {
    constexpr unsigned kAlways = 14;
    constexpr unsigned kLaterProcessors = 15;
    for (;;) {
        if (pc >= kReturnAddress) {
            cpu.r[kPc] = pc + 8;
            if (pc == kReturnAddress) {
                return;
            }
            const Word back = cpu.r[kLr];
            enterCall(cpu, pc);
            pc = jumpTarget(cpu, back);
            continue;
        }
        cpu.r[kPc] = pc + 8;
        if (!Image::holds(pc)) {
            Watch::fault(cpu, "JUMP out of the program, to %08x", pc);
        }
        const Word in = *pointerTo<const Word>(pc);
        ++cpu.instructions;
        const unsigned condition = in >> 28;
        if (condition == kLaterProcessors) {
            unknown(cpu, in);
        }
        pc = condition == kAlways || holds(cpu, condition) ? execute(cpu, in, pc + 4) : pc + 4;
    }
}
