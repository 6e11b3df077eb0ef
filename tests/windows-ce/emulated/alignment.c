// A plug-in of the emulator. It ends the program at the first access to memory that the device's processor would
// refuse. The emulated processor would let such an access pass. The emulator's packages have no header for plug-ins;
// the declarations below are the parts of its interface, version 1, that are used here.

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

struct qemu_plugin_tb;
struct qemu_plugin_insn;
struct qemu_info;
typedef uint32_t qemu_plugin_meminfo_t;
typedef uint64_t qemu_plugin_id_t;

enum { WITHOUT_REGISTERS = 0, LOADS_AND_STORES = 3 };

typedef void TranslationCallback(qemu_plugin_id_t id, struct qemu_plugin_tb* block);
typedef void AccessCallback(unsigned processor, qemu_plugin_meminfo_t access, uint64_t address, void* data);

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id, TranslationCallback* callback);
void qemu_plugin_register_vcpu_mem_cb(struct qemu_plugin_insn* instruction, AccessCallback* callback, int flags,
                                      int accesses, void* data);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
struct qemu_plugin_insn* qemu_plugin_tb_get_insn(const struct qemu_plugin_tb* block, size_t index);
uint64_t qemu_plugin_insn_vaddr(const struct qemu_plugin_insn* instruction);
unsigned qemu_plugin_mem_size_shift(qemu_plugin_meminfo_t access);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static void onAccess(unsigned processor, qemu_plugin_meminfo_t access, uint64_t address, void* instruction) {
    (void)processor;
    const unsigned size = 1u << qemu_plugin_mem_size_shift(access);
    // Eight bytes are two words to this processor.
    const unsigned alignment = size < 4 ? size : 4;
    if (address % alignment != 0) {
        fprintf(stderr, "unaligned access: %u bytes at 0x%llx by the instruction at 0x%llx\n", size,
                (unsigned long long)address, (unsigned long long)(uintptr_t)instruction);
        _Exit(99);
    }
}

static void onTranslation(qemu_plugin_id_t id, struct qemu_plugin_tb* block) {
    (void)id;
    for (size_t i = 0; i < qemu_plugin_tb_n_insns(block); ++i) {
        struct qemu_plugin_insn* const instruction = qemu_plugin_tb_get_insn(block, i);
        qemu_plugin_register_vcpu_mem_cb(instruction, onAccess, WITHOUT_REGISTERS, LOADS_AND_STORES,
                                         (void*)(uintptr_t)qemu_plugin_insn_vaddr(instruction));
    }
}

__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t id, const struct qemu_info* info,
                                                               int count, char** arguments) {
    (void)info;
    (void)count;
    (void)arguments;
    qemu_plugin_register_vcpu_tb_trans_cb(id, onTranslation);
    return 0;
}
