"""What the interop scripts share: the tally (one line per failed check, then "N passed, N
failed"), and our reading of a workbook through `kesprint cells`."""
import json
import subprocess
import sys

passed = failed = 0


def check(ok, what):
    global passed, failed
    if ok:
        passed += 1
    else:
        failed += 1
        print("FAIL", what)


def finish():
    """Prints the tally and ends the script, with status 1 when a check failed."""
    print("%d passed, %d failed" % (passed, failed))
    sys.exit(1 if failed else 0)


def kesprint_cells(kesprint, path, timeout=180):
    """Every cell `kesprint cells` reads of PATH, by (sheet name, row, column); or None and the
    error it gave."""
    try:
        out = subprocess.run([kesprint, "cells", path], capture_output=True, text=True, timeout=timeout)
    except subprocess.TimeoutExpired:
        return None, "timed out after %d s" % timeout
    if out.returncode != 0:
        return None, out.stderr.strip()
    found = {}
    for line in out.stdout.splitlines():
        c = json.loads(line)
        found[(c["name"], c["row"], c["col"])] = c
    return found, ""
