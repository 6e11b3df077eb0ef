#pragma once

// The order in which a program's namespace-scope objects are made and unmade.
namespace WindowsCeRuntime {

using Function = void (*)();

// The linker puts a word before the functions that a list is of, and a null behind them.
inline void runForward(const Function* list) {
    for (const Function* function = list + 1; *function != nullptr; ++function) {
        (*function)();
    }
}

inline void runBackward(const Function* list) {
    const Function* end = list + 1;
    while (*end != nullptr) {
        ++end;
    }
    while (--end != list) {
        (*end)();
    }
}

}  // namespace WindowsCeRuntime
