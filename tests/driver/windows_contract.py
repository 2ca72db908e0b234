"""windows_contract.py: every Windows call of the driver engine, against libraries that check it.

The program runs under Wine with setupapi.dll, cfgmgr32.dll and newdev.dll of windows/contract in place of Wine's; its calls of
other libraries (registry, services, tokens, files, texts) pass through the first of them too. They write down each breach of
what the functions' documentation asks for, and make a function fail when they are told to. What Wine has of setup classes, INF
files and file queues they ask Wine for; the rest they answer themselves, with two devices. That is
- sets, devices, driver lists and the configuration manager's nodes: Wine has no states, resources, class installers' removals
  and state changes or installed drivers, and no node of its own sets can have them;
- SetupQueryInfOriginalFileInformationW: Wine's gives the stored name, so that a wrong field would not show;
- SetupScanFileQueueW, whose paths must come to the callback, while nothing of Wine's fills a queue;
- SetupCopyOEMInfW, SetupUninstallOEMInfW, UpdateDriverForPlugAndPlayDevicesW and a restart, which would leave another system to
  the next command (wine_session.txt runs the first three on Wine's own);
- SetupSetNonInteractiveMode, SetupVerifyInfFileW and functions for another machine, which Wine has not.
contract_session.txt says what the program prints; its values name the fields that they
come from. Then each function fails in turn with each of its errors: the program must say so, breach nothing and leave
nothing open.
"""
import os
import re
import shutil
import subprocess

LIBRARIES = ("setupapi.dll", "cfgmgr32.dll", "newdev.dll")

# Errors that the documentation names for a function, or access denied. 1 to 59 are the configuration manager's own. One with a
# minus is how the function says that there is nothing (more) of what was asked for, of which nobody is told.
SETUP_ERRORS = {
    "SetupDiClassGuidsFromNameExW": [0xE0000220],
    "SetupDiBuildClassInfoListExW": [0xE0000220],
    "SetupDiClassNameFromGuidExW": [-0xE0000206, 5],
    "SetupDiGetClassDescriptionExW": [-0xE0000206, 5],
    "SetupDiOpenClassRegKeyExW": [0xE0000206, 5],
    "SetupDiGetClassDevsExW": [0xE0000220, 87],
    "SetupDiCreateDeviceInfoListExW": [0xE0000220],
    "SetupDiOpenDeviceInfoW": [0xE0000205, -0xE000020B],
    "SetupDiEnumDeviceInfo": [-259, 6],
    "SetupDiCreateDeviceInfoW": [0xE0000205, 0xE0000207],
    "SetupDiGetDeviceRegistryPropertyW": [-13, 0xE000020C],
    "SetupDiCallClassInstaller": [5, 0xE000020E, 0xE0000231],
    "SetupDiEnumDriverInfoW": [-259, 5],
    "SetupDiBuildDriverInfoList": [5, 1223],
    "SetupDiGetINFClassW": [2, 0xE0000100],
    "SetupCopyOEMInfW": [2, 5, 80],
    "SetupOpenInfFileW": [2, 0xE0000100],
    "SetupFindFirstLineW": [-0xE0000102],
    "SetupGetInfInformationW": [2],
    "SetupGetStringFieldW": [-87, 13],
    "SetupUninstallOEMInfW": [5, 0xE000023C, 0xE000023D],
    "SetupVerifyInfFileW": [2, -0xE000022F, -0xE0000241, -0xE0000242],
    "UpdateDriverForPlugAndPlayDevicesW": [2, 259, 1004, 0xE000020B],
    "CM_Get_Device_IDW": [5, 26],
    "CM_Get_Device_ID_ExW": [5, 26],
    "CM_Get_DevNode_Status": [5, -13, -37],
    "CM_Get_DevNode_Status_Ex": [5, -13, -37],
    "CM_Get_First_Log_Conf": [5, -14],
    "CM_Get_First_Log_Conf_Ex": [5, -14],
    "CM_Get_Next_Res_Des_Ex": [6, -15],
    "CM_Get_Res_Des_Data_Size_Ex": [6],
    "CM_Get_Res_Des_Data_Ex": [6, 26],
    "CM_Connect_MachineW": [47, 49, 51, 52],
    "CM_Locate_DevNode_ExW": [13, 51],
    "CM_Reenumerate_DevNode_Ex": [5, 51],
    "RegQueryValueExW": [-2, 5],
    "RegDeleteValueW": [-2, 5],
    "OpenSCManagerW": [5, 1722],
    "OpenServiceW": [5, 1060],
    "LookupPrivilegeValueW": [1313],
    "AdjustTokenPrivileges": [5, 1300],
    "InitiateSystemShutdownExW": [5, 1115],
    "LoadLibraryExW": [126, 5],
    "GetProcAddress": [127],
    "GetFullPathNameW": [123, 5],
    "GetFileAttributesW": [2, 5],
    "FindFirstFileW": [-2, 3, 5],
    "FindNextFileW": [-18, 5],
    "FormatMessageW": [-317],
    "LoadStringW": [1814],
}
CANNOT_FAIL = ("SetupCloseInfFile", "SetupSetNonInteractiveMode")
# Closing, putting back.
UNHEARD = re.compile("SetupDiDestroy|RegCloseKey|CloseServiceHandle|CloseHandle|FreeLibrary|FindClose|SetupCloseFileQueue|CM_Free_|CM_Disconnect|SetupDiEnumDeviceInterfaces|"
                     "SetupDiGetDeviceInterfaceDetailW|SetupDiGetClassDevsW")

# What Wine has of a package and of setup classes; more classes than a first list holds. The values that commands delete come
# back with each program.
PACKAGE = """[Version]
Signature="$Windows NT$"
Class=System
ClassGUID={4D36E97D-E325-11CE-BFC1-08002BE10318}
Provider="(Provider)"
DriverVer=02/28/2026,1.2.3.4
"""
CLASSES = "REGEDIT4\n" + "".join(
    f"""
[HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Class\\{{{guid}}}]
@="(class description)"
"Class"="{name}"
""" for guid, name in [("4D36E97D-E325-11CE-BFC1-08002BE10318", "System"), ("36FC9E60-C465-11CF-8056-444553540000", "USB")] +
    [(f"00000000-0000-0000-0000-{number:012}", f"Contract{number}") for number in range(130)])

# Numbers that the libraries put into fields; texts are the fields' names themselves.
FIELDS = {"fedc00000000": "MD_Alloc_Base", "fedc0000ffff": "MD_Alloc_End", "03f8": "IOD_Alloc_Base", "03ff": "IOD_Alloc_End",
          "901": "MD_Count", "902": "MD_Flags", "903": "IOD_Count", "905": "DD_Count", "906": "DD_Type", "907": "DD_Flags",
          "908": "IRQD_Count", "909": "IRQD_Type", "910": "IRQD_Flags", "912": "IRQD_Affinity"}


def with_fields(line):
    """A line of resources with the names of the fields that its numbers come from."""
    if not re.match("    (MEM|IO |DMA|IRQ) *: ", line):
        return line
    names = [FIELDS[number] for number in re.findall("[0-9a-f]+", line.partition(":")[2]) if number in FIELDS]
    return line + (f"   ({', '.join(names)})" if names else "")


def functions(source_folder):
    """What the libraries judge: their own functions, which are all that the engine finds in them, and others' (of the registry's
    library all, of the kernel's those that are named)."""
    text = "".join(path.read_text(encoding="utf-8") for path in source_folder.glob("*.cpp"))
    return re.findall(r'Call(?: call)?\("(\w+)"\)', text)


class Contract:
    def __init__(self, wine):
        """Puts the programs and the libraries into a folder beside Wine's prefix."""
        libraries, folder = wine.fixtures / "contract", wine.prefix.parent / "wine-contract"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        self.wine, self.folder, self.log = wine, folder, folder / "calls.txt"
        for file in list(wine.paths.values()) + [libraries / name for name in LIBRARIES] + list(wine.programs.glob("lib*.dll")):
            shutil.copy(file, folder)
        for name in ("oem7.inf", "oem8.inf"):
            (wine.prefix / "drive_c" / "windows" / "inf" / name).write_text(PACKAGE)
        (folder / "classes.reg").write_text(CLASSES)
        wine.call("regedit", "/S", wine.windows_path(folder / "classes.reg"))
        self.problems = []
        self.calls = {}  # command line to the functions that it called
        self.succeeded, self.failed = {}, {}

    def run_once(self, line, fail):
        """The transcript, and what the libraries wrote."""
        self.log.unlink(missing_ok=True)
        environment = {"CONTRACT_LOG": self.wine.windows_path(self.log), "CONTRACT_FAIL": fail,
                       "WINEDLLOVERRIDES": self.wine.environment["WINEDLLOVERRIDES"] + ";setupapi,cfgmgr32,newdev=n,b"}
        text = self.wine.run(line, environment=environment, folder=self.folder)
        return text, self.log.read_text(encoding="utf-8").splitlines() if self.log.exists() else []

    def run(self, line, fail=""):
        """The transcript; notes what the libraries wrote. `fail` is "FUNCTION:ERROR"."""
        for _ in range(3): # seldom, Wine ends with 1 instead of starting a program
            text, lines = self.run_once(line, fail)
            if lines or not self.calls.get(line):
                break
        else:
            self.problems.append(f"{line} {fail}: the program called nothing")
        for each in lines:
            word, _, rest = each.partition(" ")
            if word in ("breach", "open"):
                self.problems.append(f"{line} {fail}: {each}")
            elif word == "done":
                self.succeeded[rest] = self.succeeded.get(rest, 0) + 1
            elif word == "failed" and (fail or "").partition(":")[0] == rest:
                self.failed.setdefault(rest, set()).add(fail.partition(":")[2])
        called = [each[5:] for each in lines if each.startswith("call ")]
        if called and "end" not in lines:
            self.problems.append(f"{line} {fail}: the program did not end")
        self.calls.setdefault(line, called)
        return text

    def fail_each(self, names):
        for name in names:
            line = next((line for line, called in self.calls.items() if name in called), None)
            for error in SETUP_ERRORS.get(name, [5]) if line and name not in CANNOT_FAIL else []:
                text = self.run(line, f"{name}:{abs(error):#x}")
                told = f"CR 0x{error:02X}" if name.startswith("CM_") else f"0x{error:08X}"
                if error > 0 and told not in text and not UNHEARD.match(name):
                    self.problems.append(f"{line}: {name} fails with {told}, of which nobody is told:\n{text}")
                if not re.search("= [012]\n$", text):
                    self.problems.append(f"{line}: with {name} failing it ends so:\n{text}")

    def table(self, names):
        """Lines of the table, and whether no cell is empty."""
        rows = [f"{'function':<36} succeeded  failed with"]
        whole = True
        for name in sorted(names):
            errors = "cannot fail" if name in CANNOT_FAIL else " ".join(sorted(self.failed.get(name, [])))
            whole = whole and name in self.succeeded and bool(errors)
            rows.append(f"{name:<36} {self.succeeded.get(name, ''):>9}  {errors}")
        return rows, whole
