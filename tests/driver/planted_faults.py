#!/usr/bin/env python3
"""planted_faults.py BUILD: whether the checking libraries name each fault that is planted into the Windows calls.

BUILD is the folder of a Windows build (build/windows). Each fault is a change of one place in driver/platform: it is made, the
program built, contract_session.txt run, and the change taken back. Prints what named each fault; exits with 1 when one passes.
"""
import contextlib
import io
import pathlib
import subprocess
import sys
import types

import windows_contract
import wine_driver_test

HERE = pathlib.Path(__file__).resolve().parent
PLATFORM = HERE.parent.parent / "driver" / "platform"

# What is planted, where, the text before and after, and what must name it.
FAULTS = [
    ("a wrong cbSize", "setupapi_values.h", "cbSize = sizeof(structure)", "cbSize = sizeof(structure) - 4",
     "SP_DEVINFO_DATA.cbSize is 28, not 32"),
    ("a null file queue", "setupapi_drivers_win.cpp", "FileQueue = queue.get()", "FileQueue = nullptr",
     "DI_NOVCP needs a file queue, which is null"),
    ("a wrong scan notification", "setupapi_drivers_win.cpp", "SPFILENOTIFY_QUEUESCAN_EX", "SPFILENOTIFY_QUEUESCAN",
     "the callback does not take SPFILENOTIFY_QUEUESCAN_EX"),
    ("a lost driver flag", "setupapi_drivers_win.cpp", "(installed ? DI_FLAGSEX_INSTALLEDDRIVER : 0)", "(installed ? 0 : 0)",
     "DI_FLAGSEX_INSTALLEDDRIVER is lost"),
    ("a swapped range", "setupapi_resources_win.cpp", "memory.MD_Alloc_Base, memory.MD_Alloc_End",
     "memory.MD_Alloc_End, memory.MD_Alloc_Base", "(MD_Alloc_End, MD_Alloc_Base)"),
    ("a wrong IRQ field", "setupapi_resources_win.cpp", "IRQD_Alloc_Num", "IRQD_Flags", "(IRQD_Flags)"),
    ("a wrong signer field", "setupapi_store_win.cpp", "signer.DigitalSigner}", "signer.CatalogFile}",
     "Signer: (CatalogFile)"),
    ("re-enumeration of node 0", "system_platform_win.cpp", "CM_Reenumerate_DevNode_Ex(static_cast<DEVINST>(node),",
     "CM_Reenumerate_DevNode_Ex(static_cast<DEVINST>(node) * 0,", "node 0 is not the root"),
    ("a list stored as one text", "system_platform_win.cpp", "name.c_str(), 0, data.type,", "name.c_str(), 0, REG_SZ,",
     "RegSetValueExW: no list of texts"),
    ("a library looked for everywhere", "setupapi_store_win.cpp", "LOAD_LIBRARY_SEARCH_SYSTEM32", "0",
     "LoadLibraryExW: not only the system's folder is searched"),
    ("force and restart swapped", "system_platform_win.cpp", "request.forceApplicationsClosed, request.reboot,",
     "request.reboot, request.forceApplicationsClosed,", "InitiateSystemShutdownExW: programs are closed by force"),
    ("a search closed as a handle", "setupapi_handles.h", "Owner<HANDLE, FindClose>", "Owner<HANDLE, CloseHandle>", "open search"),
    ("a privilege that is not enabled", "system_platform_win.cpp", "Attributes = SE_PRIVILEGE_ENABLED", "Attributes = 0",
     "AdjustTokenPrivileges: not one privilege is enabled"),
    ("inserts of the system's texts", "system_platform_win.cpp", "FORMAT_MESSAGE_IGNORE_INSERTS | ", "",
     "FormatMessageW: inserts of a text that is not the program's"),
]


@contextlib.contextmanager
def planted(file, before, after):
    text = file.read_text(encoding="utf-8")
    if text.count(before) != 1:
        sys.exit(f"{file.name} has not one place to plant a fault in: {before}")
    file.write_text(text.replace(before, after), encoding="utf-8")
    try:
        yield
    finally:
        file.write_text(text, encoding="utf-8")


def build(folder):
    subprocess.run(["cmake", "--build", folder, "--target", "plugboard_driver_program"], check=True, stdout=subprocess.DEVNULL)


def main():
    folder = pathlib.Path(sys.argv[1]).resolve()
    wine = wine_driver_test.Wine(types.SimpleNamespace(programs=folder / "bin", fixtures=folder / "tests" / "driver",
                                                       prefix=folder / "wine-planted"))
    missed = 0
    wine.make_prefix()
    try:
        for fault, file, before, after, name in FAULTS:
            with planted(PLATFORM / file, before, after):
                build(folder)
                contract = windows_contract.Contract(wine)
                with contextlib.redirect_stdout(io.StringIO()) as output:
                    wine_driver_test.run_session(contract.run, HERE / "contract_session.txt")
            told = [line.strip() for line in output.getvalue().splitlines() + contract.problems if name in line]
            missed += not told
            print(f"{fault}: {told[0] if told else 'MISSED'}", flush=True)
    finally:
        wine.end()
        build(folder)
    return 1 if missed else 0


sys.exit(main())
