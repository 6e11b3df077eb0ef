#pragma once

#include <limits>
#include <type_traits>

// Division of whole numbers for a processor that has no such instruction. It shifts and subtracts, one bit at a time,
// which is slow and small.
namespace WindowsCeRuntime {

template <typename Unsigned>
struct Quotient {
    Unsigned quotient;
    Unsigned remainder;
};

// The program never divides by 0. The algorithm's quotient would have all bits set.
template <typename Unsigned>
constexpr Quotient<Unsigned> divide(Unsigned dividend, Unsigned divisor) {
    constexpr int kBits = std::numeric_limits<Unsigned>::digits;
    constexpr Unsigned kTop = Unsigned{1} << (kBits - 1);
    Quotient<Unsigned> result = {0, 0};
    for (int bit = 0; bit < kBits; ++bit) {
        // The remainder is below the divisor. If a bit leaves it on the left, it is larger than any divisor.
        const bool overflows = (result.remainder & kTop) != 0;
        result.remainder = static_cast<Unsigned>(result.remainder << 1 | dividend >> (kBits - 1));
        dividend = static_cast<Unsigned>(dividend << 1);
        result.quotient = static_cast<Unsigned>(result.quotient << 1);
        if (overflows || result.remainder >= divisor) {
            result.remainder = static_cast<Unsigned>(result.remainder - divisor);
            result.quotient |= 1;
        }
    }
    return result;
}

// The absolute value of a number, also of the smallest one.
template <typename Signed>
constexpr std::make_unsigned_t<Signed> amountOf(Signed number) {
    using Unsigned = std::make_unsigned_t<Signed>;
    const Unsigned bits = static_cast<Unsigned>(number);
    return number < 0 ? static_cast<Unsigned>(0 - bits) : bits;
}

template <typename Signed>
constexpr Signed withSign(std::make_unsigned_t<Signed> amount, bool isNegative) {
    using Unsigned = std::make_unsigned_t<Signed>;
    return static_cast<Signed>(isNegative ? static_cast<Unsigned>(0 - amount) : amount);
}

// Rounds towards zero, as the language wants it.
template <typename Signed>
constexpr Signed signedQuotient(Signed dividend, Signed divisor) {
    return withSign<Signed>(divide(amountOf(dividend), amountOf(divisor)).quotient, (dividend < 0) != (divisor < 0));
}

// The remainder has the dividend's sign.
template <typename Signed>
constexpr Signed signedRemainder(Signed dividend, Signed divisor) {
    return withSign<Signed>(divide(amountOf(dividend), amountOf(divisor)).remainder, dividend < 0);
}

}  // namespace WindowsCeRuntime
