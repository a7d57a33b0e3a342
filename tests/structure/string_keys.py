# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails when a key used in code is absent from the English tables, when a text is empty or a key
stands twice or out of order, and when a translation lacks a key's placeholders.

Usage: string_keys.py REPOSITORY
"""
import re
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

MARKED = re.compile(r'"((?:[^"\\\n]|\\.)*)"_(key|errorKey)\b')
TABLES = {"key": "kestrin", "errorKey": "errors"}


def forms(message):
    """The texts of a key: one, or one a plural form."""
    translation = message.find("translation")
    plural = translation.findall("numerusform")
    return [form.text or "" for form in plural] or [translation.text or ""]


def read_table(path):
    return [(m.get("id"), forms(m)) for m in ElementTree.parse(path).getroot().iter("message")]


def used_keys(repository):
    """(file, key, table) of every marked literal. The empty key stands for no text."""
    for folder in ("src", "helper"):
        for source in sorted((repository / folder).rglob("*")):
            if source.suffix not in (".h", ".cpp"):
                continue
            code = re.sub(r"^\s*//.*$", "", source.read_text(), flags=re.MULTILINE)
            for key, mark in MARKED.findall(code):
                if key:
                    yield source.relative_to(repository), key, TABLES[mark]


def table_faults(name, messages):
    keys = [key for key, _ in messages]
    for before, key in zip(keys, keys[1:]):
        if key <= before:
            yield f"{name}: \"{key}\" stands twice or not in order (behind \"{before}\")"
    for key, texts in messages:
        if not all(texts):
            yield f"{name}: \"{key}\" has no text"


def translation_faults(name, messages, english):
    for key, texts in messages:
        if key not in english:
            yield f"{name}: \"{key}\" is not in the English table"
        elif {t.count("%@") for t in texts} != {t.count("%@") for t in english[key]}:
            yield f"{name}: \"{key}\" has other placeholders than the English text"


def main():
    repository = Path(sys.argv[1])
    folder = repository / "resources/i18n"
    tables = {path.stem: read_table(path) for path in sorted(folder.glob("*.ts"))}
    english = {table: dict(tables[f"{table}_en"]) for table in TABLES.values()}
    faults = [f"{source}: \"{key}\" is not in {table}_en.ts"
              for source, key, table in used_keys(repository) if key not in english[table]]
    for name, messages in tables.items():
        faults += table_faults(f"{name}.ts", messages)
        faults += translation_faults(f"{name}.ts", messages, english[name.rpartition("_")[0]])
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
