#!/usr/bin/env python3
"""run.py [--windows | --long] [NAME...]: runs the host tests of the native programs, or with --windows those of the Windows
programs, or with --long those that take as long as PLUGBOARD_HOST_SECONDS says (600), two files at a time; all, or those whose name contains one of the NAMEs. Prints a line for each, with its time
and what it found out, and for each file the processor time that it took, which does not depend on what else the machine
does; the last line is "N passed, N failed"."""
import concurrent.futures
import os
import pathlib
import re
import resource
import subprocess
import sys
import time
import unittest

HERE = pathlib.Path(__file__).resolve().parent
AT_ONCE = 2
LONG = ["camera_test", "lifetime_test", "browser_test"] # begun first, so that no core waits for one of them at the end


class Result(unittest.TestResult):
    passed = 0

    def startTest(self, test):
        super().startTest(test)
        self.started = time.monotonic()

    def tell(self, verdict, test, text=""):
        notes = "; ".join(getattr(test, "notes", []))
        seconds = time.monotonic() - self.started
        print(f"{verdict} {seconds:5.1f} s  {test.id()}{': ' if notes else ''}{notes}{text}", flush=True)

    def addSuccess(self, test):
        self.passed += 1
        self.tell("passed", test)

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self.tell("FAILED", test, "\n" + self.failures[-1][1])

    def addError(self, test, err):
        super().addError(test, err)
        if not hasattr(self, "started"): # what a class sets up for its tests
            self.started = time.monotonic()
        self.tell("FAILED", test, "\n" + self.errors[-1][1])


def tests_of(suite):
    for each in suite:
        if isinstance(each, unittest.TestSuite):
            yield from tests_of(each)
        else:
            yield each


def chosen_of(name, wanted):
    """The tests of one file whose name contains a word of `wanted`; all where that is empty."""
    tests = tests_of(unittest.defaultTestLoader.loadTestsFromName(name))
    return [test for test in tests if not wanted or any(word in test.id() for word in wanted)]


def run_file(name, wanted):
    """The tests of one file, in this process."""
    result = Result()
    unittest.TestSuite(chosen_of(name, wanted)).run(result)
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    print(f"{name}: {used.ru_utime + used.ru_stime:.0f} s of processor time")
    print(f"{result.passed} passed, {len(result.failures) + len(result.errors) + len(result.skipped)} failed")


def main():
    sys.path.insert(0, str(HERE))
    if sys.argv[1:2] == ["--file"]:
        run_file(sys.argv[2], sys.argv[3:])
        return 0
    windows = sys.argv[1:2] == ["--windows"]
    is_long = sys.argv[1:2] == ["--long"]
    wanted = sys.argv[2 if windows or is_long else 1:]
    names = sorted(path.stem for path in HERE.glob("*_long.py" if is_long else "*_test.py")
                   if path.stem != "host_test" and path.stem.startswith("windows_") == windows)
    names = [name for name in names if chosen_of(name, wanted)]
    names.sort(key=lambda name: LONG.index(name) if name in LONG else len(LONG))
    passed = failed = 0

    def run(name):
        return subprocess.run([sys.executable, __file__, "--file", name, *wanted], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, env=dict(os.environ, PYTHONDONTWRITEBYTECODE="1"))

    with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
        for name, done in zip(names, pool.map(run, names)):
            lines = done.stdout.splitlines()
            counts = re.fullmatch(r"(\d+) passed, (\d+) failed", lines[-1]) if lines and not done.returncode else None
            print("\n".join(lines[:-1] if counts else [f"FAILED: {name} broke off:", *lines]), flush=True)
            passed += int(counts[1]) if counts else 0
            failed += int(counts[2]) if counts else 1
    if passed + failed == 0:
        print("FAILED: no test ran")
        failed = 1
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
