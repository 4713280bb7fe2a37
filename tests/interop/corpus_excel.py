#!/usr/bin/python3
"""Our values against Excel's on the Excel-made workbooks of ../shared/corpus-excel.

Runs the corpus's own comparison over every workbook and holds the result to
corpus_excel_exceptions.tsv: a file may disagree with Excel in at most as many cells as the table
allows it, for the reason the table gives; any other disagreement fails, and so do a crash, output
that is not JSON, and a refused file the table does not list. Cells the comparison itself calls
not comparable are not counted: volatile formulas (TODAY, RAND...) and what depends on them, dates
we report as numbers of equal value, formulas Excel saved without a result, and the members of an
array formula reported as values equal to Excel's.

Prints the figures by kind, then "N passed, N failed". Skipped, with a note, when the corpus is
not beside the project.
"""
import collections
import csv
import json
import os
import subprocess
import sys
import tempfile

from checks import check, finish

HERE = os.path.dirname(os.path.abspath(__file__))
CORPUS = os.path.normpath(os.path.join(HERE, "..", "..", "..", "shared", "corpus-excel"))
EXCEPTIONS = os.path.join(HERE, "corpus_excel_exceptions.tsv")

NOT_COUNTED = (
    "date kind",                                   # a date reported as its serial, value equal
    "info",                                        # Excel saved the formula without a result
    "formula: volatile",                           # TODAY, NOW, RAND... or depends on one
    "formula flag lost: value equal",              # an array formula's member, value equal
)


def load_exceptions():
    allowed, refused = {}, set()
    with open(EXCEPTIONS, encoding="utf-8") as table:
        for row in csv.reader((line for line in table if line.strip() and not line.startswith("#")), delimiter="\t"):
            name, count, reason = row[0], row[1], row[2]
            check(bool(reason.strip()), f"{name}: an exception needs its reason")
            if count == "refused":
                refused.add(name)
            else:
                allowed[name] = int(count)
    return allowed, refused


def main():
    kesprint = sys.argv[1]
    if not os.path.isdir(CORPUS):
        print(f"corpus-excel: {CORPUS} is missing; skipped")
        return
    allowed, refused = load_exceptions()
    with tempfile.TemporaryDirectory() as folder:
        records_file = os.path.join(folder, "mismatches.json")
        run = subprocess.run([sys.executable, os.path.join(CORPUS, "compare.py"), kesprint, "--quiet",
                              "--jobs", str(os.cpu_count() or 2), "--json", records_file],
                             capture_output=True, text=True, timeout=1800)
        summary = [line for line in run.stdout.splitlines() if line.endswith(("crashes", "cells agree", "cells"))]
        print("\n".join(summary))
        check(run.returncode == 0 or os.path.exists(records_file), f"compare.py failed: {run.stderr[-2000:]}")
        records = json.load(open(records_file, encoding="utf-8")) if os.path.exists(records_file) else []

    counted = collections.Counter()
    examples = {}
    for record in records:
        category, name = record["category"], record["file"]
        if category.startswith(NOT_COUNTED):
            continue
        if category.startswith("refused file"):
            check(name in refused, f"{name}: refused ({record.get('odesc', '')})")
            continue
        if category.startswith(("crash", "timeout", "output")):
            check(False, f"{name}: {category} {record.get('odesc', '')}")
        counted[name] += 1
        examples.setdefault(name, f"{record.get('cell', '')} {category}: Excel {record.get('tdesc', '')} | ours {record.get('odesc', '')}")
    for name, count in sorted(counted.items()):
        check(count <= allowed.get(name, 0),
              f"{name}: {count} cells disagree with Excel, {allowed.get(name, 0)} allowed; first: {examples[name]}")
    kinds = collections.Counter(r["category"].split(":")[0] for r in records if not r["category"].startswith(NOT_COUNTED))
    print("disagreements counted, by kind: " + ", ".join(f"{k} {v}" for k, v in kinds.most_common()))
    finish()


if __name__ == "__main__":
    main()
