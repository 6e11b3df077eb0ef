#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Decimal.h"
#include "Kernel.h"

// The part of the device's system library that is the C library, as far as the tests call it. Memory is never given
// back, because a run of the tests is short.

namespace {

// The size of a block stands before it in 8 bytes. That keeps the block aligned as on the device.
constexpr std::size_t kHeader = 8;
constexpr std::size_t kChunk = 1 << 20;

char* freeMemory = nullptr;
std::size_t freeBytes = 0;

std::size_t sizeOf(const void* block) {
    std::size_t size = 0;
    std::memcpy(&size, static_cast<const char*>(block) - kHeader, sizeof size);
    return size;
}

// A conversion of printf.
struct Form {
    bool left = false;
    bool zero = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    int width = 0;
    int precision = -1;
};

std::string digitsOf(unsigned long number, unsigned base, bool capital) {
    std::string digits;
    do {
        const unsigned digit = static_cast<unsigned>(number % base);
        digits.insert(digits.begin(), static_cast<char>(digit < 10 ? '0' + digit : (capital ? 'A' : 'a') + digit - 10));
        number /= base;
    } while (number != 0);
    return digits;
}

std::string padded(const Form& form, const std::string& prefix, const std::string& body, bool mayZero) {
    const std::size_t width = static_cast<std::size_t>(form.width);
    const std::size_t length = prefix.size() + body.size();
    const std::size_t missing = width > length ? width - length : 0;
    if (form.left) {
        return prefix + body + std::string(missing, ' ');
    }
    return mayZero && form.zero ? prefix + std::string(missing, '0') + body : std::string(missing, ' ') + prefix + body;
}

std::string signOf(const Form& form, bool isNegative) {
    return isNegative ? "-" : form.plus ? "+" : form.blank ? " " : "";
}

std::string whole(const Form& form, const std::string& prefix, std::string digits) {
    if (form.precision == 0 && digits == "0") {
        digits.clear();
    }
    if (form.precision > static_cast<int>(digits.size())) {
        digits.insert(0, static_cast<std::size_t>(form.precision) - digits.size(), '0');
    }
    return padded(form, prefix, digits, form.precision < 0);
}

std::string floating(const Form& form, double number) {
    std::string text = Decimal::general(number, form.precision < 0 ? 6 : form.precision, form.alternate);
    const bool isNegative = text[0] == '-';
    const bool isNumber = text.find_first_of("in") == std::string::npos;
    return padded(form, signOf(form, isNegative), text.substr(isNegative ? 1 : 0), isNumber);
}

int number(const char*& form) {
    int result = 0;
    for (; *form >= '0' && *form <= '9'; ++form) {
        result = result * 10 + (*form - '0');
    }
    return result;
}

Form takeForm(const char*& next, va_list& arguments) {
    Form form;
    for (;; ++next) {
        if (*next == '-') {
            form.left = true;
        } else if (*next == '0') {
            form.zero = true;
        } else if (*next == '+') {
            form.plus = true;
        } else if (*next == ' ') {
            form.blank = true;
        } else if (*next == '#') {
            form.alternate = true;
        } else {
            break;
        }
    }
    form.width = number(next);
    if (*next == '.') {
        ++next;
        const bool isArgument = *next == '*';
        next += isArgument ? 1 : 0;
        form.precision = isArgument ? va_arg(arguments, int) : number(next);
    }
    return form;
}

std::string formatted(const char* next, va_list& arguments) {
    std::string text;
    for (; *next != 0; ++next) {
        if (*next != '%') {
            text.push_back(*next);
            continue;
        }
        ++next;
        const Form form = takeForm(next, arguments);
        next += *next == 'l' ? 1 : 0;  // as long as an int here
        switch (*next) {
            case 'd':
            case 'i': {
                const long value = va_arg(arguments, long);
                const unsigned long bits = static_cast<unsigned long>(value);
                text += whole(form, signOf(form, value < 0), digitsOf(value < 0 ? 0 - bits : bits, 10, false));
                break;
            }
            case 'u':
                text += whole(form, "", digitsOf(va_arg(arguments, unsigned long), 10, false));
                break;
            case 'x':
            case 'X': {
                const unsigned long value = va_arg(arguments, unsigned long);
                const bool isCapital = *next == 'X';
                text += whole(form, form.alternate && value != 0 ? (isCapital ? "0X" : "0x") : "",
                              digitsOf(value, 16, isCapital));
                break;
            }
            case 'g':
                text += floating(form, va_arg(arguments, double));
                break;
            case '%':
                text.push_back('%');
                break;
            default:
                std::abort();
        }
    }
    return text;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    const std::size_t needed = (size + kHeader + 7) & ~std::size_t{7};
    if (needed < size) {
        return nullptr;
    }
    if (needed > freeBytes) {
        const std::size_t chunk = needed > kChunk ? needed : kChunk;
        char* const memory = static_cast<char*>(Kernel::map(nullptr, chunk));
        if (memory == nullptr) {
            return nullptr;
        }
        freeMemory = memory;
        freeBytes = chunk;
    }
    char* const block = freeMemory + kHeader;
    std::memcpy(freeMemory, &size, sizeof size);
    freeMemory += needed;
    freeBytes -= needed;
    return block;
}

void free(void*) {}

void* calloc(std::size_t count, std::size_t size) {
    if (size != 0 && count > SIZE_MAX / size) {
        return nullptr;
    }
    return malloc(count * size);  // new memory is zero
}

void* realloc(void* block, std::size_t size) {
    void* const larger = malloc(size);
    if (larger != nullptr && block != nullptr) {
        const std::size_t old = sizeOf(block);
        (void)std::memcpy(larger, block, old < size ? old : size);
    }
    return larger;
}

// These loops are written in a way in which the compiler does not replace them by calls of the functions that they
// implement.

void* memcpy(void* target, const void* source, std::size_t size) {
    volatile char* to = static_cast<char*>(target);
    const char* from = static_cast<const char*>(source);
    while (size-- > 0) {
        *to++ = *from++;
    }
    return target;
}

void* memmove(void* target, const void* source, std::size_t size) {
    if (reinterpret_cast<std::uintptr_t>(target) <= reinterpret_cast<std::uintptr_t>(source)) {
        return memcpy(target, source, size);
    }
    volatile char* to = static_cast<char*>(target);
    const char* from = static_cast<const char*>(source);
    while (size-- > 0) {
        to[size] = from[size];
    }
    return target;
}

void* memset(void* target, int byte, std::size_t size) {
    volatile char* to = static_cast<char*>(target);
    while (size-- > 0) {
        *to++ = static_cast<char>(byte);
    }
    return target;
}

int memcmp(const void* left, const void* right, std::size_t size) {
    const unsigned char* a = static_cast<const unsigned char*>(left);
    const unsigned char* b = static_cast<const unsigned char*>(right);
    for (; size > 0; --size, ++a, ++b) {
        if (*a != *b) {
            return *a - *b;
        }
    }
    return 0;
}

void* memchr(const void* memory, int byte, std::size_t size) {
    const unsigned char* next = static_cast<const unsigned char*>(memory);
    for (; size > 0; --size, ++next) {
        if (*next == static_cast<unsigned char>(byte)) {
            return const_cast<unsigned char*>(next);
        }
    }
    return nullptr;
}

std::size_t strlen(const char* text) {
    const volatile char* end = text;
    while (*end != 0) {
        ++end;
    }
    return static_cast<std::size_t>(end - text);
}

int strcmp(const char* left, const char* right) {
    while (*left != 0 && *left == *right) {
        ++left;
        ++right;
    }
    return static_cast<unsigned char>(*left) - static_cast<unsigned char>(*right);
}

char* strcpy(char* target, const char* source) {
    (void)memcpy(target, source, strlen(source) + 1);
    return target;
}

char* strchr(const char* text, int byte) {
    for (; *text != static_cast<char>(byte); ++text) {
        if (*text == 0) {
            return nullptr;
        }
    }
    return const_cast<char*>(text);
}

std::size_t strspn(const char* text, const char* set) {
    std::size_t count = 0;
    while (text[count] != 0 && strchr(set, text[count]) != nullptr) {
        ++count;
    }
    return count;
}

std::size_t strcspn(const char* text, const char* set) {
    std::size_t count = 0;
    while (text[count] != 0 && strchr(set, text[count]) == nullptr) {
        ++count;
    }
    return count;
}

unsigned long strtoul(const char* text, char** end, int base) {
    const char* next = text;
    while (*next == ' ') {
        ++next;
    }
    const bool isNegative = *next == '-';
    next += *next == '-' || *next == '+' ? 1 : 0;
    unsigned long result = 0;
    for (;; ++next) {
        const int digit = *next >= '0' && *next <= '9'   ? *next - '0'
                          : *next >= 'a' && *next <= 'z' ? *next - 'a' + 10
                          : *next >= 'A' && *next <= 'Z' ? *next - 'A' + 10
                                                         : base;
        if (digit >= base) {
            break;
        }
        result = result * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
    }
    if (end != nullptr) {
        *end = const_cast<char*>(next);
    }
    return isNegative ? 0 - result : result;
}

long strtol(const char* text, char** end, int base) {
    return static_cast<long>(strtoul(text, end, base));
}

int atoi(const char* text) {
    return static_cast<int>(strtol(text, nullptr, 10));
}

double strtod(const char* text, char** end) {
    const char* behind = nullptr;
    const double result = Decimal::parse(text, &behind);
    if (end != nullptr) {
        *end = const_cast<char*>(behind);
    }
    return result;
}

int vsnprintf(char* buffer, std::size_t size, const char* form, va_list arguments) {
    const std::string text = formatted(form, arguments);
    if (size > 0) {
        const std::size_t count = text.size() < size ? text.size() : size - 1;
        (void)std::memcpy(buffer, text.data(), count);
        buffer[count] = 0;
    }
    return static_cast<int>(text.size());
}

int snprintf(char* buffer, std::size_t size, const char* form, ...) {
    va_list arguments;
    va_start(arguments, form);
    const int length = vsnprintf(buffer, size, form, arguments);
    va_end(arguments);
    return length;
}

int sprintf(char* buffer, const char* form, ...) {
    va_list arguments;
    va_start(arguments, form);
    const int length = vsnprintf(buffer, SIZE_MAX, form, arguments);
    va_end(arguments);
    return length;
}

FILE* _getstdfilex(int number) {
    return reinterpret_cast<FILE*>(static_cast<std::intptr_t>(number) + 1);
}

std::size_t fwrite(const void* bytes, std::size_t size, std::size_t count, FILE* file) {
    (void)Kernel::write(static_cast<int>(reinterpret_cast<std::intptr_t>(file)) - 1, bytes, size * count);
    return count;
}

int fflush(FILE*) {
    return 0;
}

// This is the only one.
char* setlocale(int, const char*) {
    static char name[] = "C";
    return name;
}

int* __errno() {
    static int number = 0;
    return &number;
}

// Compares two floating-point numbers, and answers 0 if they are equal. The compiler calls this for ==.
int __eqdf2(double left, double right) {
    std::uint64_t a = 0;
    std::uint64_t b = 0;
    (void)std::memcpy(&a, &left, sizeof a);
    (void)std::memcpy(&b, &right, sizeof b);
    const bool areZero = ((a | b) << 1) == 0;
    constexpr std::uint64_t kInfinity = std::uint64_t{0x7FF} << 52;
    const bool isNumber = (a & ~(std::uint64_t{1} << 63)) <= kInfinity;
    return areZero || (a == b && isNumber) ? 0 : 1;
}

}  // extern "C"
