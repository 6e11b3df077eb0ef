#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

// Converts floating-point numbers to and from decimal text, exactly. It calculates with whole numbers alone, because
// the processor has no floating point.
class Decimal {
public:
    // As "%.*g"; with `alternate`, as "%#.*g".
    static std::string general(double number, int precision, bool alternate = false) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        const std::string sign = bits >> 63 != 0 ? "-" : "";
        const int exponent = static_cast<int>(bits >> 52 & 0x7FF);
        std::uint64_t mantissa = bits & ((std::uint64_t{1} << 52) - 1);
        if (exponent == 0x7FF) {
            return sign + (mantissa != 0 ? "nan" : "inf");
        }
        mantissa |= exponent != 0 ? std::uint64_t{1} << 52 : 0;
        return sign + layOut(mantissa, (exponent != 0 ? exponent : 1) - 1075, precision > 0 ? precision : 1, alternate);
    }

    // Like strtod. If `end` is not null, it is set to the first character that was not read.
    static double parse(const char* text, const char** end) {
        const char* next = text;
        while (*next == ' ' || (*next >= '\t' && *next <= '\r')) {
            ++next;
        }
        const bool isNegative = *next == '-';
        next += *next == '-' || *next == '+' ? 1 : 0;
        Big digits;
        int scale = 0;
        bool hasDigits = false;
        for (bool isFraction = false; isDigit(*next) || (*next == '.' && !isFraction); ++next) {
            if (*next == '.') {
                isFraction = true;
                continue;
            }
            hasDigits = true;
            digits.multiply(10);
            digits.add(static_cast<std::uint32_t>(*next - '0'));
            scale -= isFraction ? 1 : 0;
        }
        if (!hasDigits) {
            next = text;
        } else {
            scale += takeExponent(next);
        }
        if (end != nullptr) {
            *end = next;
        }
        const std::uint64_t bits = toBits(digits, scale) | (isNegative && hasDigits ? std::uint64_t{1} << 63 : 0);
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        return number;
    }

private:
    // A whole number of any size, its lowest word first.
    struct Big {
        std::vector<std::uint32_t> words;

        void multiply(std::uint32_t factor) {
            std::uint64_t carry = 0;
            for (std::uint32_t& word : words) {
                carry += std::uint64_t{word} * factor;
                word = static_cast<std::uint32_t>(carry);
                carry >>= 32;
            }
            if (carry != 0) {
                words.push_back(static_cast<std::uint32_t>(carry));
            }
        }
        void add(std::uint32_t number) {
            for (std::size_t i = 0; number != 0; ++i) {
                if (i == words.size()) {
                    words.push_back(0);
                }
                words[i] += number;
                number = words[i] < number ? 1 : 0;
            }
        }
        // Returns the remainder.
        std::uint32_t divide(std::uint32_t divisor) {
            std::uint64_t rest = 0;
            for (std::size_t i = words.size(); i-- > 0;) {
                rest = rest << 32 | words[i];
                words[i] = static_cast<std::uint32_t>(rest / divisor);
                rest %= divisor;
            }
            while (!words.empty() && words.back() == 0) {
                words.pop_back();
            }
            return static_cast<std::uint32_t>(rest);
        }
        int bits() const {
            int count = static_cast<int>(words.size()) * 32;
            for (std::uint32_t top = words.empty() ? 1 : words.back(); (top & 0x80000000) == 0 && count > 0;
                 top <<= 1) {
                --count;
            }
            return count;
        }
        bool bit(int place) const {
            return place >= 0 && (words[static_cast<std::size_t>(place) / 32] >> (place % 32) & 1) != 0;
        }
        bool anyBelow(int place) const {
            for (int i = 0; i < place; ++i) {
                if (bit(i)) {
                    return true;
                }
            }
            return false;
        }
    };

    static bool isDigit(char c) { return c >= '0' && c <= '9'; }

    // Reads an exponent such as "e12". Without a digit behind the e nothing is read.
    static int takeExponent(const char*& next) {
        if (*next != 'e' && *next != 'E') {
            return 0;
        }
        const char* digit = next + 1;
        const bool isNegative = *digit == '-';
        digit += *digit == '-' || *digit == '+' ? 1 : 0;
        if (!isDigit(*digit)) {
            return 0;
        }
        constexpr int kFarBeyond = 5000;
        int exponent = 0;
        for (; isDigit(*digit); ++digit) {
            exponent = exponent > kFarBeyond ? exponent : exponent * 10 + (*digit - '0');
        }
        next = digit;
        return isNegative ? -exponent : exponent;
    }

    // The number nearest to digits * 10^scale. If two are equally near, the even one.
    static std::uint64_t toBits(Big digits, int scale) {
        constexpr std::uint64_t kInfinity = std::uint64_t{0x7FF} << 52;
        if (digits.words.empty() || scale < -2000) {
            return 0;
        }
        if (scale > 2000) {
            return kInfinity;
        }
        bool isInexact = false;
        int exponent = 0;
        for (; scale > 0; --scale) {
            digits.multiply(10);
        }
        if (scale < 0) {
            // So many binary places that the quotient has more than 53 bits.
            for (const int wanted = 1100 + 4 * -scale; exponent > -wanted; exponent -= 16) {
                digits.multiply(0x10000);
            }
            for (; scale < 0; ++scale) {
                isInexact = digits.divide(10) != 0 || isInexact;
            }
        }
        const int length = digits.bits();
        if (length == 0) {
            return 0;
        }
        if (length + exponent > 1024) {
            return kInfinity;
        }
        // Numbers below the smallest exponent have fewer bits.
        int lowest = length - 53;
        lowest = lowest + exponent < -1074 ? -1074 - exponent : lowest;
        std::uint64_t mantissa = 0;
        for (int place = length - 1; place >= lowest; --place) {
            mantissa = mantissa << 1 | (digits.bit(place) ? 1 : 0);
        }
        const bool half = lowest > 0 && lowest <= length && digits.bit(lowest - 1);
        const bool more = isInexact || (lowest > 1 && digits.anyBelow(lowest - 1));
        mantissa += half && (more || (mantissa & 1) != 0) ? 1 : 0;
        // A mantissa that has grown by a bit carries into the exponent by itself.
        const int biased = lowest + exponent + 1075;
        const std::uint64_t bits =
            biased <= 1 && mantissa >> 52 == 0 ? mantissa : (static_cast<std::uint64_t>(biased - 1) << 52) + mantissa;
        return bits >= kInfinity ? kInfinity : bits;
    }

    // mantissa * 2^exponent
    static std::string layOut(std::uint64_t mantissa, int exponent, int precision, bool alternate) {
        Big big;
        big.words = {static_cast<std::uint32_t>(mantissa), static_cast<std::uint32_t>(mantissa >> 32)};
        for (int i = 0; i < exponent; ++i) {
            big.multiply(2);
        }
        // m / 2^n is m * 5^n / 10^n.
        for (int i = 0; i < -exponent; ++i) {
            big.multiply(5);
        }
        std::string digits;
        (void)big.divide(1);
        while (!big.words.empty()) {
            digits.insert(digits.begin(), static_cast<char>('0' + big.divide(10)));
        }
        int point = static_cast<int>(digits.size()) - (exponent < 0 ? -exponent : 0);  // digits before the point
        if (digits.empty()) {
            digits = "0";
            point = 1;
        }
        roundTo(digits, point, precision);
        const int power = point - 1;
        const bool isScientific = power < -4 || power >= precision;
        std::string text = digits.substr(0, 1);
        std::string fraction = digits.substr(1);
        if (!isScientific && power < 0) {
            text = "0";
            fraction = std::string(static_cast<std::size_t>(-power - 1), '0') + digits;
        } else if (!isScientific) {
            text = digits.substr(0, static_cast<std::size_t>(point));
            fraction = digits.substr(static_cast<std::size_t>(point));
        }
        while (!alternate && !fraction.empty() && fraction.back() == '0') {
            fraction.pop_back();
        }
        text += fraction.empty() && !alternate ? "" : "." + fraction;
        if (isScientific) {
            const std::string amount = std::to_string(power < 0 ? -power : power);
            text += (power < 0 ? "e-" : "e+") + std::string(amount.size() < 2 ? "0" : "") + amount;
        }
        return text;
    }

    // Rounds to that many digits. If two numbers are equally near, the even one is taken.
    static void roundTo(std::string& digits, int& point, int precision) {
        const std::size_t count = static_cast<std::size_t>(precision);
        if (digits.size() <= count) {
            digits.append(count - digits.size(), '0');
            return;
        }
        const bool isMore = digits[count] > '5' || digits.find_first_not_of('0', count + 1) != std::string::npos;
        const bool up = digits[count] > '5' || (digits[count] == '5' && (isMore || (digits[count - 1] - '0') % 2 != 0));
        digits.resize(count);
        std::size_t i = count;
        while (up && i > 0 && digits[i - 1] == '9') {
            digits[--i] = '0';
        }
        if (up && i > 0) {
            ++digits[i - 1];
        } else if (up) {
            digits.insert(digits.begin(), '1');
            digits.pop_back();
            ++point;
        }
    }
};
