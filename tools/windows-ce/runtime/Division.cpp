#include "Division.h"

// The functions that the compiler calls for division.

using namespace WindowsCeRuntime;

extern "C" {

unsigned __udivsi3(unsigned dividend, unsigned divisor) {
    return divide(dividend, divisor).quotient;
}

unsigned __umodsi3(unsigned dividend, unsigned divisor) {
    return divide(dividend, divisor).remainder;
}

int __divsi3(int dividend, int divisor) {
    return signedQuotient(dividend, divisor);
}

int __modsi3(int dividend, int divisor) {
    return signedRemainder(dividend, divisor);
}

unsigned long long __udivdi3(unsigned long long dividend, unsigned long long divisor) {
    return divide(dividend, divisor).quotient;
}

unsigned long long __umoddi3(unsigned long long dividend, unsigned long long divisor) {
    return divide(dividend, divisor).remainder;
}

long long __divdi3(long long dividend, long long divisor) {
    return signedQuotient(dividend, divisor);
}

long long __moddi3(long long dividend, long long divisor) {
    return signedRemainder(dividend, divisor);
}

}  // extern "C"
