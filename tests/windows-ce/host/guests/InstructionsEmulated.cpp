#include "Instructions.h"
#include "Kernel.h"

int main() {
    const int size = static_cast<int>(runInstructions());
    return Kernel::write(1, instructionResults, static_cast<std::size_t>(size)) == size ? 0 : 1;
}
