#include <cstdlib>
#include <functional>
#include <new>

// Where the C++ library's headers would throw. A program that breaks their promises ends.

namespace std {

void __throw_bad_alloc() {
    abort();
}
void __throw_bad_array_new_length() {
    abort();
}
void __throw_bad_function_call() {
    abort();
}
void __throw_length_error(const char*) {
    abort();
}
void __throw_out_of_range_fmt(const char*, ...) {
    abort();
}

}  // namespace std
