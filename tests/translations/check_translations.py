#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails when a .ts file lags behind the sources.

Usage: check_translations.py LUPDATE SOURCES.lst PLURALS.ts LANGUAGE.ts...

Each file is brought up to the sources in a temporary copy, as lupdate does
for a translator; afterwards every entry must be finished. A text new in the
sources then shows as unfinished, one gone from them as vanished, and one left
half done as it was: each is named with its context.
"""
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path


def problems_in(ts_file):
    found = []
    for context in ElementTree.parse(ts_file).getroot().iter("context"):
        name = context.findtext("name")
        for message in context.iter("message"):
            source = message.findtext("source")
            translation = message.find("translation")
            kind = translation.get("type") if translation is not None else "missing"
            forms = translation.findall("numerusform") if translation is not None else []
            if kind in ("unfinished", "vanished", "obsolete", "missing"):
                found.append(f"{kind}: {name}: {source!r}")
            elif message.get("numerus") == "yes":
                if not forms or any(not (form.text or "").strip() for form in forms):
                    found.append(f"plural form missing: {name}: {source!r}")
            elif not (translation.text or "").strip():
                found.append(f"empty: {name}: {source!r}")
    return found


def main():
    lupdate, sources, plurals, *languages = sys.argv[1:]
    failures = 0
    with tempfile.TemporaryDirectory() as work:
        for ts in [plurals, *languages]:
            ts = Path(ts)
            if not ts.exists():
                print(f"{ts.name}: missing")
                failures += 1
                continue
            copy = Path(work) / ts.name
            shutil.copyfile(ts, copy)
            options = ["-silent", "-locations", "none"]
            if ts == Path(plurals):
                options.append("-pluralonly")
            subprocess.run([lupdate, *options, f"@{sources}", "-ts", str(copy)], check=True)
            problems = problems_in(copy)
            entries = sum(1 for _ in ElementTree.parse(copy).getroot().iter("message"))
            print(f"{ts.name}: {entries} entries, {len(problems)} to do")
            for problem in problems:
                print(f"  {problem}")
            failures += len(problems)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
