"""What the Windows program's main window does on a handheld alone: with a shell that gives it the whole of a small screen,
and a system that says that it is Windows CE.
"""

import os
import shutil

import lab
import windows
from windows import INFO, LOCAL_INFO, PEERS, START


class HandheldTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.windows = windows.WindowsDevice(self.lab.device("pocket1"), handheld="full")
        self.addCleanup(self.windows.close)
        if not self.windows.build.is_handheld:
            shutil.copy2(os.path.join(windows.build_folder(), "tests", "system", "aygshell.dll"),
                         self.windows.path("windows/system32/aygshell.dll"))
        self.program = self.windows.start()
        self.dialog = self.windows.window("10.77.0.1  (pocket1)")

    def test_the_window_fills_the_screen_and_the_list_what_the_buttons_leave(self):
        self.windows.picture("handheld")
        self.assertEqual(self.dialog.place(), (0, 0, 240, 320))
        margin = self.dialog.place(START)[0]
        left, top, width, height = self.dialog.place(PEERS)
        self.assertEqual(left, margin)
        # The window's frame and caption take the rest; its template is larger than its screen in one direction and smaller
        # in the other.
        self.assertIn(240 - (left + width + margin), range(21))
        self.assertIn(320 - (top + height + margin), range(51))

    def test_enter_in_the_list_closes_as_the_ok_of_the_caption_does(self):
        self.dialog.ask("focus", PEERS)
        self.dialog.key(windows.RETURN)
        self.assertEqual(self.program.exit_status(), 0)

    def test_the_information_tells_of_a_handheld(self):
        self.dialog.press(INFO)
        self.assertIn("Microsoft Pocket PC version 3.0 ", self.windows.window().text(LOCAL_INFO))
