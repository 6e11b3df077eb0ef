#include <cstdlib>
#include <string>

// Parts of the standard library that it keeps compiled and that the tests' own texts need. The program needs none of
// them.

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
