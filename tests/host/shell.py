#!/usr/bin/env python3
"""shell.py FILE: runs a shell script in a guest of its own, beside this build's programs; exits with its status."""
import pathlib
import sys

from host_test import IMAGE, PROGRAMS
from plugboard_in_guest import PlugboardInGuest

SECONDS = 600

with PlugboardInGuest(IMAGE, PROGRAMS) as guest:
    status, output = guest.run(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"), SECONDS)
    sys.stdout.write(output)
sys.exit(status)
