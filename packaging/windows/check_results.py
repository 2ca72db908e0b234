#!/usr/bin/env python3
"""Judges a ctest run of the Windows programs.

usage: check_results.py JUNIT_FILE LIST_OF_TESTS_NOT_RUN NAMES_OF_ALL_SUITES

Prints each fault, then "suites N passed, N failed", and exits with 1 when anything failed. A suite that ctest did not run, one
that ended without the totals of a test run, and a test function that was skipped are faults unless the list names them with a
reason; so is an entry of the list that names nothing or something that does run.
"""
import re
import sys
import xml.etree.ElementTree as ElementTree


def excused_tests(path):
    """Reason of each entry, by (suite, function); "function(row)" for one row of it, None for a whole suite."""
    entries = {}
    for line in open(path, encoding="utf-8"):
        line = line.strip()
        if not line or line.startswith("#"):
            continue
        name, colon, reason = line.partition(": ")
        suite, _, function = name.partition(" ")
        if not colon or not reason.strip():
            sys.exit(f"{path}: an entry without a reason: {line}")
        entries[suite, function or None] = reason
    return entries


def judge(suite, case, excused, used):
    """Faults of one suite; empty when it ran whole and passed."""
    output = case.findtext("system-out") or ""
    if case.get("status") != "run" or case.find("skipped") is not None:
        if case.get("status") == "fail" or case.find("failure") is not None:
            return ["failed"] + [line for line in output.splitlines() if line.startswith("not ok")][:20]
        if (suite, None) in excused:
            used.add((suite, None))
            return []
        return ["did not run"]
    if (suite, None) in excused:
        return ["runs, but stands on the list of tests that cannot"]
    if not re.search(r"^# pass [1-9]\d*\r?\n# fail 0\r?$", output, re.MULTILINE):
        return ["ended without the totals of a test run"]
    faults = []
    for function, row in re.findall(r"^ok \d+ - (\w+)\((.*?)\) # SKIP", output, re.MULTILINE):
        entry = next((entry for entry in ((suite, f"{function}({row})"), (suite, function)) if entry in excused), None)
        if entry:
            used.add(entry)
        else:
            faults.append(f"{function}({row}) was skipped")
    return faults


def main():
    junit, listed, names = sys.argv[1:]
    excused, used = excused_tests(listed), set()
    passed = failed = 0
    for case in ElementTree.parse(junit).getroot().iter("testcase"):
        suite = case.get("name")
        before = len(used)
        faults = judge(suite, case, excused, used)
        if faults:
            failed += 1
            print(f"{suite}: " + "\n    ".join(faults))
        elif (suite, None) in used and len(used) > before:
            print(f"{suite}: not run: {excused[suite, None]}")
        else:
            passed += 1
    known = open(names, encoding="utf-8").read().split()
    for suite, function in sorted(set(excused) - used, key=str):
        if function is None and suite in known:
            print(f"{suite}: not run: {excused[suite, None]}")
            continue
        failed += 1
        print(f"{suite} {function or ''}: on the list of tests that cannot run, but there is no such test, or it ran")
    if passed == 0:
        failed += 1
        print("no test ran")
    print(f"suites {passed} passed, {failed} failed")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
