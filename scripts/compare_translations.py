#!/usr/bin/env python3
"""compare_translations.py CATALOGUE UPDATED: whether the catalogue has every text of the programs, translated.

UPDATED is a copy of it that lupdate has worked on. Also looks at the translations themselves: the places %1, %2, ... for
values must be those of the source, and a line feed at the end of one is at the end of the other.
"""
import re
import sys
import xml.etree.ElementTree as tree


def messages(path):
    found = {}
    for context in tree.parse(path).getroot().iter("context"):
        for message in context.iter("message"):
            key = (context.findtext("name"), message.findtext("source"), message.findtext("comment") or "")
            found[key] = message.find("translation")
    return found


def faults(kept, updated):
    for key in sorted(updated.keys() - kept.keys()):
        yield "is missing", key
    for key in sorted(kept.keys() - updated.keys()):
        yield "is no longer used", key
    for key, translation in sorted(kept.items(), key=lambda item: item[0]):
        text = translation.text or ""
        source = key[1]
        if translation.get("type") or not text:
            yield "has no finished translation", key
        elif sorted(re.findall(r"%\d", source)) != sorted(re.findall(r"%\d", text)):
            yield "has other places for values in its translation", key
        elif source.endswith("\n") != text.endswith("\n"):
            yield "differs from its translation in its last line feed", key


def main():
    kept, updated = messages(sys.argv[1]), messages(sys.argv[2])
    found = list(faults(kept, updated))
    for what, (context, source, _) in found:
        print(f"{sys.argv[1]}: {context}: {source!r} {what}")
    if not kept:
        print(f"{sys.argv[1]} holds no text")
    if not found and kept:
        print(f"{sys.argv[1]}: {len(kept)} texts, all translated")
    return 1 if found or not kept else 0


if __name__ == "__main__":
    sys.exit(main())
