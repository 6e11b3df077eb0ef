"""What runs the handheld's program in these tests: each instruction does what it does on a processor, and whatever a device
would not forgive ends the program.
"""

import os
import subprocess

import lab
import windows

BUILD = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", "..", "build"))
GUESTS = os.path.join("tests", "windows-ce", "host", "guests")
CASES = os.path.join(os.path.dirname(__file__), "..", "windows-ce", "host", "guests", "make-instruction-cases")
RESULT = 13 * 4 + 64

FAULT = 99
# What Misdeeds.cpp does, and what the journal then has.
MISDEEDS = {
    "readWord": "FAULT UNALIGNED word read", "writeWord": "FAULT UNALIGNED word write",
    "readHalf": "FAULT UNALIGNED halfword read", "readSignedHalf": "FAULT UNALIGNED halfword read",
    "writeHalf": "FAULT UNALIGNED halfword write", "swapWord": "FAULT UNALIGNED swap",
    "readMany": "FAULT UNALIGNED word read", "writeMany": "FAULT UNALIGNED word write",
    "exchange": "FAULT UNALIGNED interlocked access", "moveStack": "FAULT UNALIGNED stack pointer",
    "countZeros": "FAULT UNKNOWN to ARMv4: e16f0f10", "changeSet": "FAULT UNKNOWN to ARMv4: e12fff1e",
    "readTwoWords": "FAULT UNKNOWN to ARMv4: e1c000d0", "prefetch": "FAULT UNKNOWN to ARMv4: f5d0f000",
    "useCoprocessor": "FAULT UNKNOWN to ARMv4: ee000110", "interrupt": "FAULT UNKNOWN to ARMv4: ef000000",
    "multiplyIntoFactor": "FAULT UNPREDICTABLE mul", "loadBase": "FAULT UNPREDICTABLE ldm",
    "returnFromInterrupt": "FAULT PRIVILEGED return",
    "writeConstant": "FAULT ACCESS to", "writeCode": "FAULT ACCESS to", "readNull": "FAULT ACCESS to 00000000, a read",
    "writeNull": "FAULT ACCESS to 00000000, a write", "readKernelPage": "FAULT KERNEL read",
    "jumpOut": "FAULT JUMP out of the program, to 00001000", "jumpBeside": "FAULT JUMP to",
    "overflowStack": "FAULT STACK overflow",
    "writeBehind": "FAULT HEAP was written behind a block of 100 bytes at +100",
    "writeBefore": "FAULT HEAP release of memory that was written before",
    "writeFreed": "FAULT HEAP was written in a freed block of 100 bytes at +3",
    "freeTwice": "FAULT HEAP release of memory that is freed", "freeNoBlock": "FAULT HEAP release of memory that is no block",
    "keepNothing": "FAULT REGISTER r4 was not kept",
}
# These end by themselves, but the journal has a line that fails a test.
REMARKS = {"printNewLength": "FORMAT unknown to the device in sprintf: %lld", "useDrive": "PATH with a drive: C:\\file"}


class HandheldHostTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device = windows.WindowsDevice(self.lab.device("pocket1"), handheld="")
        self.addCleanup(self.device.close)

    def guest(self, name, *arguments):
        path = os.path.join(BUILD, "windows-ce-arm", GUESTS, name + ".exe")
        return self.device.start(*arguments, CE_PROGRAM="Z:" + path)

    def test_every_instruction_does_what_it_does_on_a_processor(self):
        self.assertEqual(self.guest("instructions").exit_status(), 0)
        with open(self.device.path("results"), "rb") as file:
            ours = file.read()
        emulated = os.path.join(BUILD, "windows-ce-emulated", GUESTS, "instructions.exe")
        theirs = subprocess.run(["qemu-arm", "-cpu", "sa1110", emulated], stdout=subprocess.PIPE, check=True).stdout
        cases = subprocess.run([CASES], stdout=subprocess.PIPE, text=True, check=True).stdout.splitlines()
        self.assertGreater(len(cases), 1000)
        self.assertEqual(len(theirs), len(cases) * RESULT)
        self.assertEqual(len(ours), len(theirs))
        wrong = [f"{case}: {ours[at:at + RESULT].hex()} and not {theirs[at:at + RESULT].hex()}"
                 for at, case in zip(range(0, len(ours), RESULT), cases)
                 if ours[at:at + RESULT] != theirs[at:at + RESULT]]
        self.assertEqual(wrong, [], f"{len(wrong)} of {len(cases)} cases")

    def test_what_a_device_would_not_forgive_ends_the_program(self):
        for deed, expected in MISDEEDS.items():
            with self.subTest(deed):
                program = self.guest("misdeeds", deed)
                self.assertEqual(program.exit_status(), FAULT)
                self.assertIn(expected, "\n".join(program.take_journal()))

    def test_what_a_device_may_do_otherwise_is_told(self):
        for deed, expected in REMARKS.items():
            with self.subTest(deed):
                program = self.guest("misdeeds", deed)
                self.assertEqual(program.exit_status(), 0)
                self.assertTrue(program.defects())
                self.assertIn(expected, "\n".join(program.take_journal()))

    def test_memory_and_registers_hold_nothing_that_a_program_could_count_on(self):
        for deed, status in (("countOnZeros", 0xFFFFFFCD), ("keepRegister", 0), ("doNothingWrong", 7)):
            with self.subTest(deed):
                program = self.guest("misdeeds", deed)
                self.assertEqual(program.exit_status() & 0xFFFFFFFF, status)
                self.assertEqual(program.defects(), [])
