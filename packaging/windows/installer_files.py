#!/usr/bin/env python3
"""Writes what installer.nsi must know of the files to install: files.nsh and sizes.nsh.

usage: installer_files.py STAGE FOLDER
"""
import sys
from pathlib import Path


def windows(path):
    return str(path).replace("/", "\\")


def main():
    stage, folder = map(Path, sys.argv[1:])
    files = sorted(file.relative_to(stage) for file in stage.rglob("*") if file.is_file())
    folders = sorted({parent for file in files for parent in file.parents if parent != Path(".")}, reverse=True)

    check, install, delete = ["!macro CheckEachFile prefix"], ["!macro InstallEachFile"], ["!macro DeleteEachFile"]
    outPath = None
    for file in files:
        if file.suffix in (".exe", ".dll"):
            check.append(f'    !insertmacro CheckFile "${{prefix}}" "{windows(file)}"')
        if file.parent != outPath:
            outPath = file.parent
            install.append(f'    SetOutPath "{windows(Path("$INSTDIR") / outPath)}"')
        install.append(f'    File "{stage.resolve() / file}"')
        delete.append(f'    Delete "$INSTDIR\\{windows(file)}"')
    delete += [f'    RMDir "$INSTDIR\\{windows(name)}"' for name in folders]

    folder.mkdir(parents=True, exist_ok=True)
    text = "".join("\n".join(lines + ["!macroend", ""]) for lines in (check, install, delete))
    (folder / "files.nsh").write_text(text, encoding="utf-8")
    kilobytes = sum((stage / file).stat().st_size for file in files) // 1024
    (folder / "sizes.nsh").write_text(f"!define KILOBYTES {kilobytes}\n", encoding="utf-8")


if __name__ == "__main__":
    main()
