#include "Instructions.h"

#include <cstddef>

static_assert(offsetof(InstructionState, result) == 60, "make-instruction-cases counts on it");

unsigned runInstructions() {
    for (int i = 0; i < kInstructionCases; ++i) {
        InstructionState state = {instructionInputs[i], {}};
        InstructionResult& result = state.result;
        for (unsigned k = 0; k < kInstructionMemory; ++k) {
            result.memory[k] = static_cast<std::uint8_t>(k * 37 + 128);
        }
        const int base = state.input.base;
        const std::uint32_t memory = reinterpret_cast<std::uintptr_t>(result.memory);
        if (base >= 0) {
            state.input.words[base] += memory;
        }
        instructionCases[i](&state);
        if (base >= 0) {
            result.registers[base] -= memory;
        }
        instructionResults[i] = result;
    }
    return static_cast<unsigned>(kInstructionCases) * sizeof(InstructionResult);
}
