#!/usr/bin/python3
"""What tools/windows-ce/elf_to_coff.py makes of the compiler's assembly, directive by directive."""

import os
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "windows-ce"))
import elf_to_coff  # noqa: E402


def translate(*lines):
    return [line.strip().replace("\t", " ") for line in elf_to_coff.translate("\n".join(lines)).split("\n") if line.strip()]


class ElfToCoffTest(unittest.TestCase):
    def test_instructions_labels_and_common_directives_pass(self):
        lines = [".text", ".align 2", ".global f", "f:", "mov r0, #1", "mov pc, lr", ".LC0:", ".word 7", '.ascii "a.b"']
        self.assertEqual(translate(*lines), lines)

    def test_a_section_of_a_function_stays_its_own(self):
        self.assertEqual(translate('.section .text.f,"ax",%progbits'), ['.section .text$f,"x"'])

    def test_constants_are_read_only(self):
        self.assertEqual(translate('.section .rodata'), ['.section .rdata,"dr"'])
        self.assertEqual(translate('.section .rodata.str1.4,"aMS",%progbits,1'), ['.section .rdata$str1.4,"dr"'])

    def test_a_group_is_kept_once(self):
        self.assertEqual(translate('.section .text._Z1fv,"axG",%progbits,_Z1fv,comdat'),
                         ['.section .text$_Z1fv,"x"', '.linkonce discard'])

    def test_zeroed_data_of_a_group_has_contents(self):
        self.assertEqual(translate('.section .bss._ZZ1fvE1x,"awG",%nobits,_ZZ1fvE1x,comdat'),
                         ['.section .data$_ZZ1fvE1x,"w"', '.linkonce discard'])

    def test_constructors_and_destructors_go_to_the_lists(self):
        self.assertEqual(translate('.section .init_array,"aw"', '.word _GLOBAL__sub_I_x(target1)'),
                         ['.section .ctors,"w"', '.word _GLOBAL__sub_I_x'])
        self.assertEqual(translate('.section .ctors,"aw",%progbits'), ['.section .ctors,"w"'])
        self.assertEqual(translate('.section .fini_array,"aw"'), ['.section .dtors,"w"'])
        self.assertEqual(translate('.section .dtors,"aw",%progbits'), ['.section .dtors,"w"'])

    def test_constructors_with_an_order_of_their_own_are_refused(self):
        with self.assertRaises(elf_to_coff.Unknown):
            translate('.section .init_array.00100,"aw"')

    def test_a_weak_symbol_becomes_an_ordinary_one(self):
        self.assertEqual(translate(".weak f"), [".global f"])

    def test_a_static_variable_is_placed_and_its_section_left_again(self):
        self.assertEqual(translate('.section .text.f,"ax"', ".local x", ".comm x,8,4", "mov r0, #0"),
                         ['.section .text$f,"x"', ".bss", ".balign 4", "x:", ".space 8", '.section .text$f,"x"', "mov r0, #0"])

    def test_a_common_variable_is_refused(self):
        with self.assertRaises(elf_to_coff.Unknown):
            translate(".comm x,4,4")

    def test_what_only_elf_has_is_left_out(self):
        self.assertEqual(translate(".type f, %function", ".size f, .-f", ".hidden f", ".eabi_attribute 30, 4", ".fpu softvfp",
                                   '.ident "GCC"'), [])

    def test_a_section_that_the_linker_would_drop_is_left_out_with_what_it_holds(self):
        self.assertEqual(translate('.section .note.GNU-stack,"",%progbits', ".word 1", "x:", ".text", "nop"), [".text", "nop"])

    def test_an_unknown_section_or_directive_is_refused(self):
        for line in ('.section .tdata,"awT"', ".cfi_startproc", ".thumb_func"):
            with self.subTest(line), self.assertRaises(elf_to_coff.Unknown):
                translate(line)


if __name__ == "__main__":
    unittest.main()
