"""The tally the interop scripts share: one line per failed check, then "N passed, N failed"."""
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
