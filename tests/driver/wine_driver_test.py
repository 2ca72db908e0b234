#!/usr/bin/env python3
"""wine_driver_test.py PROGRAMS [--fixtures FOLDER] [--prefix FOLDER] [--accept]: the Windows plugboard-driver under Wine.

PROGRAMS is the folder of plugboard-driver.exe with the DLLs that it needs, FOLDER that of bus-interface.exe (PROGRAMS
by default). First every session of cases/ runs on the simulated system: the Windows program must print what the others
do, with CR LF line ends. Then wine_session.txt runs on the device tree of a Wine prefix that is made anew, and every Windows call
is judged (windows_contract.py). Prints each difference, a table of the calls and, last, "N passed, N failed". --accept writes
what the programs answer into wine_session.txt and contract_session.txt instead of comparing it.
"""
import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import windows_contract

HERE = pathlib.Path(__file__).resolve().parent
SAMPLE = HERE.parent.parent / "driver" / "sample"


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Wine:
    def __init__(self, options):
        self.programs = pathlib.Path(options.programs).resolve()
        self.fixtures = fixtures = pathlib.Path(options.fixtures or options.programs).resolve()
        self.paths = {"$": self.programs / "plugboard-driver.exe", "%": fixtures / "bus-interface.exe"}
        for path in self.paths.values():
            if not path.exists():
                sys.exit(f"{path} is missing.")
        if not shutil.which("wine"):
            sys.exit("Wine is missing.")
        self.prefix = pathlib.Path(options.prefix or self.programs.parent / "wine-driver").resolve()
        self.environment = dict(os.environ, WINEPREFIX=str(self.prefix), WINEDEBUG="-all", WINEARCH="win64",
                                WINEPATH=windows_path(self.programs),
                                WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe=;winedbg.exe=")
        self.environment.pop("DISPLAY", None)

    def make_prefix(self):
        shutil.rmtree(self.prefix, ignore_errors=True)
        self.prefix.mkdir(parents=True)
        # One server for all: a program that starts just when the last one's server ends fails now and then.
        subprocess.run(["wineserver", "-p"], env=self.environment, check=True)
        self.call("wineboot", "--init")

    def call(self, *command):
        subprocess.run(["wine", *command], env=self.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       timeout=300, check=True)

    def end(self):
        subprocess.run(["wineserver", "-k"], env=self.environment, stderr=subprocess.DEVNULL)

    windows_path = staticmethod(windows_path)

    def run(self, line, tree=None, environment=None, folder=None):
        """The transcript of one line of a session: what it prints and its result. `folder` has other copies of the programs."""
        words = [a if a or not b else b for a, b in re.findall(r'"([^"]*)"|(\S+)', line[1:])]
        environment = dict(self.environment, **(environment or {}))
        if tree:
            environment["PLUGBOARD_DEVICE_TREE"] = windows_path(tree)
        program = self.paths[line[0]]
        done = subprocess.run(["wine", str(folder / program.name if folder else program)] + [filled_in(word) for word in words],
                              env=environment, capture_output=True, timeout=120)
        missing = re.search(rb"unimplemented function (\S+?),", done.stderr)
        if missing:
            output = without_folders(done.stdout.decode("utf-8", "replace"))
            return output.replace("\r\n", "\n") + f"= unimplemented {missing[1].decode()}\n"
        output, error = (text_of(stream) for stream in (done.stdout, done.stderr))
        return output + "".join(f"! {each}\n" for each in error.splitlines()) + f"= {done.returncode}\n"


def text_of(stream):
    """UTF-8 with CR LF line ends, and nothing else, as text."""
    text = stream.decode("utf-8")
    if re.search("(?<!\r)\n|\r(?!\n)", text) or text.startswith("\ufeff"):
        raise ValueError(f"wrong line ends or a mark: {text!r}")
    return without_folders(text.replace("\r\n", "\n").replace("plugboard-driver.exe", "plugboard-driver"))


def filled_in(word):
    return (word.replace("{data}", windows_path(HERE)).replace("{sample}", windows_path(SAMPLE))
            .replace("{long}", windows_path(HERE) + "\\" + "l" * 260).replace("{257}", "i" * 257))


def without_folders(text):
    for folder, name in ((HERE, "{data}"), (SAMPLE, "{sample}")):
        pattern = re.escape(windows_path(folder)) + r"([\\/][\w.\\/]+)"
        text = re.sub(pattern, lambda found: name + found[1].replace("\\", "/"), text, flags=re.IGNORECASE)
    return text


def commands(lines):
    """Each command line of a session with what it answers: the lines below it, or those below the command after it."""
    result = []
    for line in lines:
        if line[:1] in ("$", "%"):
            result.append((line, []))
        elif result and not line.startswith("#") and (line or result[-1][1][-1:] and result[-1][1][-1][:2] != "= "):
            result[-1][1].append(line)
    for (_, own), (_, following) in reversed(list(zip(result, result[1:]))):
        own.extend([] if own else following)
    return result


def in_streams(lines):
    """The lines of each stream in order: between the streams, a pipe for each keeps none."""
    return [line for line in lines if not line.startswith("! ")], [line for line in lines if line.startswith("! ")]


def agrees(expected, actual):
    wanted = [line[2:] for line in expected if line.startswith("~ ")]
    if not wanted:
        return in_streams(expected) == in_streams(actual)
    return all(line in actual for line in wanted) and expected[-1] == actual[-1]


def run_session(run, file):
    failed = 0
    for line, expected in commands(file.read_text(encoding="utf-8").splitlines()):
        try:
            actual = run(line).splitlines()
        except (ValueError, subprocess.TimeoutExpired) as fault:
            actual = [str(fault)]
        if not agrees(expected, actual):
            failed += 1
            print(f"{file.name}: {line}\n  expected:\n    " + "\n    ".join(expected) + "\n  is:\n    " +
                  "\n    ".join(windows_contract.with_fields(each) for each in actual), flush=True)
    return failed


def accept(run, file):
    result, answer = "", ""
    lines = file.read_text(encoding="utf-8").splitlines()
    before = iter(commands(lines))
    for line in lines:
        if line[:1] in ("$", "%"):
            expected, own = next(before)[1], run(line)
            if any(each.startswith("~ ") for each in expected) and agrees(expected, own.splitlines()):
                own = "\n".join(expected) + "\n"
            result, answer = result + ("" if own == answer else answer) + line + "\n", own
        elif line.startswith("#") or not (line or answer):
            result, answer = result + answer + ("\n" if answer else "") + line + "\n", ""
    file.write_text(result + answer, encoding="utf-8")


def judge_calls(contract, session):
    """Runs the session, then every function's failures; prints what is wrong and the table of calls."""
    faults = run_session(contract.run, session)
    names = windows_contract.functions(HERE / "windows" / "contract")
    contract.fail_each(names)
    rows, whole = contract.table(names)
    print("\n".join(rows + contract.problems), flush=True)
    if not whole:
        print("A function was not called, or not made to fail.")
    return faults + len(contract.problems) + (not whole)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs")
    parser.add_argument("--fixtures")
    parser.add_argument("--prefix")
    parser.add_argument("--accept", action="store_true")
    options = parser.parse_args()
    wine = Wine(options)
    session, contract_session = HERE / "wine_session.txt", HERE / "contract_session.txt"
    passed = failed = 0
    try:
        wine.make_prefix()
        if options.accept:
            accept(wine.run, session)
            return accept(windows_contract.Contract(wine).run, contract_session)
        with tempfile.TemporaryDirectory() as folder:
            for case in sorted((HERE / "cases").glob("*.txt")):
                tree = pathlib.Path(folder) / f"{case.stem}.json"
                name = re.search("^tree: (.*)$", case.read_text(encoding="utf-8"), re.MULTILINE)[1]
                shutil.copyfile(HERE / "trees" / f"{name}.json", tree)
                faults = run_session(lambda line: wine.run(line, tree), case)
                passed, failed = passed + (faults == 0), failed + (faults > 0)
        faults = run_session(wine.run, session)
        passed, failed = passed + (faults == 0), failed + (faults > 0)
        faults = judge_calls(windows_contract.Contract(wine), contract_session)
        passed, failed = passed + (faults == 0), failed + (faults > 0)
    finally:
        wine.end()
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
