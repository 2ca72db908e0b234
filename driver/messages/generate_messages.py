#!/usr/bin/env python3
"""generate_messages.py SOURCE OUTPUT_FOLDER: the texts of messages.txt as a C++ table (message_table.cpp), as a Windows
message source (driver_messages.mc) and as a string-table resource (driver_strings.rc); their names as the enumeration of
driver/messages/message_number.h."""
import pathlib
import re
import sys

FIRST_MESSAGE = 10000  # smaller numbers are entries of the string table


def read(source):
    """Number to text, each message with one LF at its end, entries of the string table without; name to number."""
    texts, names = {}, {}
    number = None
    for position, line in enumerate(source.read_text(encoding="ascii").splitlines(), 1):
        start = re.fullmatch(r"\[(\d+)\](?: (\w+)(?::.*)?)?", line)
        if start:
            number = int(start[1])
            if number in texts:
                sys.exit(f"{source}:{position}: {number} stands here twice")
            texts[number] = []
            if start[2] and names.setdefault(start[2], number) != number:
                sys.exit(f"{source}:{position}: {start[2]} stands here twice")
        elif number is None:
            if line and not line.startswith("#"):
                sys.exit(f"{source}:{position}: text before the first number")
        elif re.search(r"%(?!%|[1-4](?![0-9!]))", line) or line in (".",) or line.startswith(";") or '\\' in line:
            sys.exit(f"{source}:{position}: cannot be the same on every system: {line!r}")
        else:
            texts[number].append(line)
    result = {}
    for number, lines in texts.items():
        text = "\n".join(lines).rstrip("\n")
        if not text or (number < FIRST_MESSAGE and ("\n" in text or '"' in text or "%" in text)):
            sys.exit(f"{source}: {number} is empty, or no single plain line")
        result[number] = text if number < FIRST_MESSAGE else text + "\n"
    return dict(sorted(result.items())), names


def enumeration(names):
    rows = "".join(f"    {name} = {number},\n" for name, number in names.items())
    return ("// The names of the engine's numbered texts; messages.txt says what their inserts are.\n#pragma once\n\n"
            "#include <cstdint>\n\nnamespace driver {\n\nenum class Message : std::uint32_t\n{\n"
            f"    None = 0, ///< prints nothing\n{rows}}};\n\n}} // namespace driver\n")


def table(texts):
    def literal(text):
        return "L\"" + text.replace('"', '\\"').replace("\n", "\\n") + "\""

    rows = "".join(f"    {{{number}, {literal(text)}}},\n" for number, text in texts.items())
    return ('#include "driver/messages/message_table.h"\n\nnamespace driver {\n\n'
            'static constexpr MessageText kTexts[] = {\n' + rows +
            "};\n\nstd::span<const MessageText> messageTable() { return kTexts; }\n\n} // namespace driver\n")


def message_source(texts):
    head = ("MessageIdTypedef=DWORD\nSeverityNames=(Success=0x0)\nFacilityNames=(Plain=0x0)\n"
            "LanguageNames=(English=0x409:MSG00409)\n\n")
    return head + "".join(f"MessageId={number}\nSeverity=Success\nFacility=Plain\nSymbolicName=MESSAGE_{number}\n"
                          f"Language=English\n{text}.\n\n"
                          for number, text in texts.items() if number >= FIRST_MESSAGE)


def strings(texts):
    rows = "".join(f'    {number} "{text}"\n' for number, text in texts.items() if number < FIRST_MESSAGE)
    return f'LANGUAGE 9, 1\n1 11 "MSG00409.bin"\nSTRINGTABLE\nBEGIN\n{rows}END\n'


def main():
    source, folder = map(pathlib.Path, sys.argv[1:])
    texts, names = read(source)
    (folder / "driver" / "messages").mkdir(parents=True, exist_ok=True)
    for name, content in (("message_table.cpp", table(texts)), ("driver_messages.mc", message_source(texts)),
                          ("driver_strings.rc", strings(texts)), ("driver/messages/message_number.h", enumeration(names))):
        (folder / name).write_text(content, encoding="ascii")


main()
