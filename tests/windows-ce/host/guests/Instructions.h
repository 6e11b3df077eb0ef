#pragma once

#include <cstdint>

// Runs the cases that make-instruction-cases writes.

constexpr int kInstructionRegisters = 12;
constexpr int kInstructionMemory = 64;

struct InstructionInput {
    // The registers, and the two numbers that the flags come from.
    std::uint32_t words[kInstructionRegisters + 2];
    // The register that counts from the beginning of the memory, or -1.
    int base;
};

struct InstructionResult {
    std::uint32_t registers[kInstructionRegisters];
    std::uint32_t flags;
    std::uint8_t memory[kInstructionMemory];
};

// The code of the cases depends on this layout.
struct InstructionState {
    InstructionInput input;
    InstructionResult result;
};

extern "C" {

using InstructionCase = void(InstructionState* state);
extern InstructionCase* const instructionCases[];

}  // extern "C"

extern const InstructionInput instructionInputs[];
extern InstructionResult instructionResults[];
extern const int kInstructionCases;

// Fills the results and answers their size in bytes.
unsigned runInstructions();
