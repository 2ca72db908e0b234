"""host_test.py: what the host tests share."""
import os
import pathlib
import time
import unittest

from kernel_log import unusual

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
IMAGE = pathlib.Path(os.environ.get("PLUGBOARD_HOST_MACHINE", PROJECT / "build/host/machine"))
PROGRAMS = pathlib.Path(os.environ.get("PLUGBOARD_HOST_PROGRAMS", PROJECT / "build/release/bin"))
WINDOWS_PROGRAMS = PROJECT / "build/windows/bin"


class HostTest(unittest.TestCase):
    """`notes` are what a test found out; run.py prints them behind its name."""

    longMessage = True
    maxDiff = None

    def setUp(self):
        self.notes = []

    def note(self, text):
        self.notes.append(text)

    def wait_for(self, condition, what, seconds=60):
        end = time.monotonic() + seconds
        while not condition():
            self.assertLess(time.monotonic(), end, f"{what} did not come")
            time.sleep(0.05)

    def assert_quiet(self, guest, also=()):
        """The kernel said nothing since the last call but what it usually says, or what fits `also`."""
        lines = guest.kernel_log()
        self.assertEqual([], unusual(lines, also), "lines of the kernel's log that are not usual")
        return lines
