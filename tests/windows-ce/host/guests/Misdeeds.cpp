#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// A program that does one thing that a device would not forgive. Its command line names the thing. The host has to
// notice it.

namespace {

using Deed = int();

// The compiler must not know where this points.
template <typename Type>
volatile Type* hidden(const volatile void* place) {
    __asm__ volatile("" : "+r"(place));
    return static_cast<volatile Type*>(const_cast<volatile void*>(place));
}

template <typename Type>
volatile Type* oddPlace() {
    static std::uint32_t words[4] = {};
    return hidden<Type>(reinterpret_cast<char*>(words) + 1);
}

// --- Alignment

int readWord() {
    return static_cast<int>(*oddPlace<std::uint32_t>());
}
int writeWord() {
    *oddPlace<std::uint32_t>() = 1;
    return 0;
}
int readHalf() {
    return *oddPlace<std::uint16_t>();
}
int readSignedHalf() {
    return *oddPlace<std::int16_t>();
}
int writeHalf() {
    *oddPlace<std::uint16_t>() = 1;
    return 0;
}
int swapWord() {
    __asm__ volatile("swp r1, r1, [%0]" : : "r"(oddPlace<std::uint32_t>()) : "r1", "memory");
    return 0;
}
int readMany() {
    __asm__ volatile("ldmia %0, {r1, r2}" : : "r"(oddPlace<std::uint32_t>()) : "r1", "r2");
    return 0;
}
int writeMany() {
    __asm__ volatile("stmia %0, {r1, r2}" : : "r"(oddPlace<std::uint32_t>()) : "memory");
    return 0;
}
int exchange() {
    return static_cast<int>(
        InterlockedTestExchange(reinterpret_cast<LONG*>(const_cast<std::uint32_t*>(oddPlace<std::uint32_t>())), 0, 1));
}
int moveStack() {
    __asm__ volatile("sub sp, sp, #2\n\tmov lr, pc\n\tmov pc, %0" : : "r"(&GetTickCount) : "r0", "r3", "r12", "lr");
    return 0;
}

// --- Instructions

int countZeros() {
    __asm__ volatile(".word 0xe16f0f10" : : : "r0");  // clz r0, r0
    return 0;
}
int changeSet() {
    __asm__ volatile(".word 0xe12fff1e");  // bx lr
    return 0;
}
int readTwoWords() {
    __asm__ volatile(".word 0xe1c000d0" : : : "r0", "r1");  // ldrd r0, [r0]
    return 0;
}
int prefetch() {
    __asm__ volatile(".word 0xf5d0f000");  // pld [r0]
    return 0;
}
int useCoprocessor() {
    __asm__ volatile(".word 0xee000110");
    return 0;
}
int interrupt() {
    __asm__ volatile("swi 0");
    return 0;
}
int multiplyIntoFactor() {
    __asm__ volatile(".word 0xe0000190" : : : "r0");  // mul r0, r0, r1
    return 0;
}
int loadBase() {
    __asm__ volatile(".word 0xe8bd2000");  // ldmia sp!, {sp}
    return 0;
}
int returnFromInterrupt() {
    __asm__ volatile(".word 0xe1b0f00e");  // movs pc, lr
    return 0;
}

// --- Memory and jumps

int writeConstant() {
    static const std::uint32_t constant = 1;
    *hidden<std::uint32_t>(&constant) = 2;
    return 0;
}
int writeCode() {
    *hidden<std::uint32_t>(reinterpret_cast<const void*>(&writeConstant)) = 0;
    return 0;
}
int readNull() {
    return static_cast<int>(*hidden<std::uint32_t>(nullptr));
}
int writeNull() {
    *hidden<std::uint32_t>(nullptr) = 1;
    return 0;
}
int readKernelPage() {
    return static_cast<int>(*hidden<std::uint32_t>(reinterpret_cast<const void*>(0xFFFFC804U)));
}
int jumpOut() {
    reinterpret_cast<Deed*>(0x00001000U)();
    return 0;
}
int jumpBeside() {
    reinterpret_cast<Deed*>(reinterpret_cast<std::uintptr_t>(&readNull) + 2)();
    return 0;
}
__attribute__((noinline)) int recurse(int depth) {
    volatile char room[256];
    room[0] = static_cast<char>(depth);
    return recurse(depth + 1) + room[0];
}
int overflowStack() {
    return recurse(0);
}

// --- The heap

volatile char* block() {
    return hidden<char>(std::malloc(100));
}
int writeBehind() {
    volatile char* const memory = block();
    memory[100] = 0;
    std::free(const_cast<char*>(memory));
    return 0;
}
int writeBefore() {
    volatile char* const memory = block();
    memory[-1] = 0;
    std::free(const_cast<char*>(memory));
    return 0;
}
int writeFreed() {
    volatile char* const memory = block();
    std::free(const_cast<char*>(memory));
    memory[3] = 0;
    return 0;
}
int freeTwice() {
    volatile char* const memory = block();
    std::free(const_cast<char*>(memory));
    std::free(const_cast<char*>(hidden<char>(memory)));
    return 0;
}
int freeNoBlock() {
    static char memory[64];
    std::free(const_cast<char*>(hidden<char>(memory + 32)));
    return 0;
}
int countOnZeros() {
    return *block();
}

// --- Calls

// Answers 1 if a call has kept a register that it may change.
int keepRegister() {
    int result = 0;
    __asm__ volatile("mov r3, #1\n\tmov lr, pc\n\tmov pc, %1\n\tcmp r3, #1\n\tmoveq %0, #1\n\tmovne %0, #0"
                     : "=&r"(result)
                     : "r"(&GetTickCount)
                     : "r0", "r1", "r2", "r3", "r12", "lr", "cc");
    return result;
}
int printNewLength() {
    char room[64];
    (void)std::sprintf(room, "%lld", 1LL);
    return 0;
}

INT_PTR CALLBACK spoilRegister(HWND, UINT, WPARAM, LPARAM) {
    __asm__ volatile("mov r4, #1\n\tmov pc, lr");
    return 0;
}
int keepNothing() {
    // A window without a control: its style, extended style, number of controls, place, menu, class and caption.
    constexpr DWORD kPopup = 0x80000000;
    alignas(4) static const WORD shape[] = {0, kPopup >> 16, 0, 0, 0, 0, 0, 10, 10, 0, 0, 0};
    return static_cast<int>(DialogBoxIndirectParamW(
        GetModuleHandleW(nullptr), reinterpret_cast<const DLGTEMPLATE*>(shape), nullptr, spoilRegister, 0));
}

int useDrive() {
    return GetFileAttributesW(L"C:\\file") == 0 ? 1 : 0;
}
int doNothingWrong() {
    volatile char* const memory = block();
    memory[0] = memory[99] = 1;
    std::free(const_cast<char*>(memory));
    return 7;
}

struct Named {
    const wchar_t* name;
    Deed* deed;
};
const Named kDeeds[] = {
    {L"readWord", readWord},
    {L"writeWord", writeWord},
    {L"readHalf", readHalf},
    {L"readSignedHalf", readSignedHalf},
    {L"writeHalf", writeHalf},
    {L"swapWord", swapWord},
    {L"readMany", readMany},
    {L"writeMany", writeMany},
    {L"exchange", exchange},
    {L"moveStack", moveStack},
    {L"countZeros", countZeros},
    {L"changeSet", changeSet},
    {L"readTwoWords", readTwoWords},
    {L"prefetch", prefetch},
    {L"useCoprocessor", useCoprocessor},
    {L"interrupt", interrupt},
    {L"multiplyIntoFactor", multiplyIntoFactor},
    {L"loadBase", loadBase},
    {L"returnFromInterrupt", returnFromInterrupt},
    {L"writeConstant", writeConstant},
    {L"writeCode", writeCode},
    {L"readNull", readNull},
    {L"writeNull", writeNull},
    {L"readKernelPage", readKernelPage},
    {L"jumpOut", jumpOut},
    {L"jumpBeside", jumpBeside},
    {L"overflowStack", overflowStack},
    {L"writeBehind", writeBehind},
    {L"writeBefore", writeBefore},
    {L"writeFreed", writeFreed},
    {L"freeTwice", freeTwice},
    {L"freeNoBlock", freeNoBlock},
    {L"countOnZeros", countOnZeros},
    {L"keepRegister", keepRegister},
    {L"printNewLength", printNewLength},
    {L"keepNothing", keepNothing},
    {L"useDrive", useDrive},
    {L"doNothingWrong", doNothingWrong},
};

bool isSame(const wchar_t* a, const wchar_t* b) {
    while (*a != 0 && *a == *b) {
        ++a;
        ++b;
    }
    return *a == *b;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t* commandLine, int) {
    for (const Named& each : kDeeds) {
        if (isSame(each.name, commandLine)) {
            return each.deed();
        }
    }
    return -1;
}
