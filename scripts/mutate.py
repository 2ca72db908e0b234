#!/usr/bin/env python3
"""mutate.py [--sites N] [--seed S] [--minutes M] FOLDER...: what share of small faults in a folder its tests catch.

Changes one place of the folder's code at a time in a copy of the last commit below build/, builds the tests of that
folder and runs them. A change that no test notices is printed with its line, for a reader to judge: it may change
nothing that matters. The same seed gives the same places as long as the code stays the same.
"""
import argparse
import pathlib
import random
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
COPY = ROOT / "build" / "mutation"
BUILD = COPY / "build" / "release"
# What does not run where the tests run.
OTHER_SYSTEM = re.compile(r"_win\.cpp$|/windows/")
SWAPS = {
    "==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "+", "/": "*", "%": "/", "+=": "-=", "-=": "+=", "<<=": ">>=", "|": "&", "&": "|",
}
TEXT_OR_COMMENT = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|(?<![0-9A-Fa-f])\'(?:\\.|[^\'\\\n])+\'', re.S)
OPERATOR = re.compile(r"(?<= )(" + "|".join(sorted(map(re.escape, SWAPS), key=len, reverse=True)) + r")(?= )")
CONSTANT = re.compile(r"(?<![\w.])(?:true|false|0x[0-9A-Fa-f]+|\d+)(?![\w.'])")
CONDITION = re.compile(r"^ +(?:\} else )?(?:if|while) \((.*)\)(?: \{)?$", re.M)
DECLARATION = re.compile(r";|[^=!<>]=[^=]")
# A whole line that is a call whose value nobody uses.
CALL = re.compile(r"^ {4,}(?!return\b|throw\b|delete\b|co_|emit\b|case\b|connect\()[\w:>.\-]+\([^;{}\n]*\);$", re.M)


def blanked(code):
    """The code with blanks in place of texts, comments and preprocessor lines, so that positions stay."""
    code = TEXT_OR_COMMENT.sub(lambda match: re.sub(r"[^\n]", "_" if match[0][0] in "\"'" else " ", match[0]), code)
    return re.sub(r"^#.*$", lambda match: " " * len(match[0]), code, flags=re.M)


def other_constant(text):
    if text in ("true", "false"):
        return "false" if text == "true" else "true"
    return hex(int(text, 16) + 1) if text.startswith("0x") else str(int(text) + 1)


def places_of(path):
    """(kind, path, begin, end, new text) for each place that can be changed."""
    code = path.read_text()
    blank = blanked(code)
    for match in OPERATOR.finditer(blank):
        yield "operator", path, match.start(), match.end(), SWAPS[match[0]]
    for match in CONSTANT.finditer(blank):
        yield "constant", path, match.start(), match.end(), other_constant(match[0])
    for match in CONDITION.finditer(blank):
        if not DECLARATION.search(match[1]) and match[1].count("(") == match[1].count(")"):
            yield "condition", path, match.start(1), match.end(1), f"!({code[match.start(1):match.end(1)]})"
    for match in CALL.finditer(blank):
        yield "call", path, match.start(), match.end(), ";"


def drawn(folders, seed):
    """All places in random order, the four kinds in turn."""
    kinds = {}
    for folder in folders:
        for path in sorted((COPY / folder).rglob("*.cpp")):
            if not OTHER_SYSTEM.search(path.as_posix()):
                for place in places_of(path):
                    kinds.setdefault(place[0], []).append(place)
    chance = random.Random(seed)
    for kind in sorted(kinds):
        chance.shuffle(kinds[kind])
    while any(kinds.values()):
        for kind in sorted(kinds):
            if kinds[kind]:
                yield kinds[kind].pop()


def succeeds(command, seconds=None):
    try:
        return subprocess.run(command, cwd=COPY, timeout=seconds, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def build(suites):
    return succeeds(["cmake", "--build", str(BUILD), "--parallel", "2", "--target", *(f"{name}_tests" for name in suites)])


def tests_pass(suites, seconds):
    pattern = "^(" + "|".join(suites) + ")/"
    return succeeds(["ctest", "--test-dir", str(BUILD), "-R", pattern, "--stop-on-failure", "--timeout", str(seconds),
                     "--parallel", "2"])


def copy_of_commit(suites):
    COPY.mkdir(parents=True, exist_ok=True)
    for old in COPY.iterdir():
        if old.name != "build":
            subprocess.run(["rm", "-rf", str(old)], check=True)
    subprocess.run(f"git archive HEAD | tar x -C '{COPY}'", shell=True, cwd=ROOT, check=True)
    if not succeeds(["cmake", "--preset", "release"]) or not build(suites):
        sys.exit("The last commit does not build.")
    begin = time.monotonic()
    if not tests_pass(suites, 300):
        sys.exit("The tests of the last commit fail, so they cannot judge changes.")
    return time.monotonic() - begin


def outcome(place, suites, limit):
    """caught, survived, or does not build; the file is afterwards as it was."""
    _, path, begin, end, new = place
    code = path.read_text()
    path.write_text(code[:begin] + new + code[end:])
    try:
        if not build(suites):
            return "does not build"
        return "survived" if tests_pass(suites, limit) else "caught"
    finally:
        path.write_text(code)


def described(place):
    kind, path, begin, end, new = place
    code = path.read_text()
    line = code.count("\n", 0, begin) + 1
    return f"{kind:9} {path.relative_to(COPY)}:{line}: {' '.join(code[begin:end].split())} -> {new}"


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    arguments.add_argument("--sites", type=int, default=20)
    arguments.add_argument("--seed", type=int, default=1)
    arguments.add_argument("--minutes", type=float, default=25)
    arguments.add_argument("folders", nargs="+")
    chosen = arguments.parse_args()
    suites = sorted({folder.split("/")[0] for folder in chosen.folders})
    taken = copy_of_commit(suites)
    end = time.monotonic() + 60 * chosen.minutes
    limit = int(60 + 2 * taken)  # a fault may hang a suite
    counts = {"caught": 0, "survived": 0, "does not build": 0}
    for place in drawn(chosen.folders, chosen.seed):
        if counts["caught"] + counts["survived"] == chosen.sites or time.monotonic() > end:
            break
        text = described(place)
        own_suite = place[1].relative_to(COPY).parts[0]  # only the folder's own tests are measured
        result = outcome(place, [own_suite], limit)
        counts[result] += 1
        print(f"{result:14} {text}", flush=True)
    print(f"{counts['caught']} of {counts['caught'] + counts['survived']} caught; "
          f"{counts['does not build']} others did not build")


if __name__ == "__main__":
    main()
