#include <cstdlib>
#include <string>

// Parts of the standard library that it keeps compiled, and of the compiler's own library. The tests' own texts and
// sorted lists need them; the program needs none of them.

template class std::basic_string<char>;

namespace std {

void __throw_logic_error(const char*) {
    abort();
}
void __throw_invalid_argument(const char*) {
    abort();
}
void __throw_out_of_range(const char*) {
    abort();
}

}  // namespace std

// The number of zero bits above the highest bit of a number that is not 0: this processor has no instruction for it.
extern "C" int __clzsi2(unsigned value) {
    int zeros = 0;
    for (unsigned bit = 0x80000000; (value & bit) == 0; bit >>= 1) {
        ++zeros;
    }
    return zeros;
}
