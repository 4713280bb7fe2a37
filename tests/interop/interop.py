#!/usr/bin/python3
"""Workbooks made by other programs, read by ours; and ours, read by another program.

Fixtures are made here with xlsxwriter and openpyxl (Debian's python3 packages) and SheetJS
(npm, installed under build/npm), and saved again by LibreOffice and Gnumeric as .xlsx, .xls
and .ods when they are installed. Every cell
that a producer wrote must come out of `kesprint cells` with the kind and value it was written
with; every workbook that `kesprint convert` writes must read back in openpyxl with the same
values, and every .xls it writes must read back in xlrd with the same values and types. Prints
one line per check and "N passed, N failed".
"""
import csv
import datetime
import functools
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile

import openpyxl
import xlrd
import xlsxwriter

from checks import check, finish, kesprint_cells

KESPRINT = sys.argv[1]
cells = functools.partial(kesprint_cells, KESPRINT)
HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))


# What the producers write: (row, col, value as written, kind we must read, value we must read)
ROWS = [
    (0, 0, "品名", "string", "品名"),
    (0, 1, "0012345", "string", "0012345"),
    (0, 2, 6901234567890, "float", 6901234567890),
    (0, 3, 12.5, "float", 12.5),
    (0, 4, True, "boolean", True),
    (1, 0, "  spaced  ", "string", "  spaced  "),
    (1, 1, "line1\nline2", "string", "line1\nline2"),
    (1, 2, -0.001, "float", -0.001),
]


# Our writer puts booleans as <v>true</v>, by our rule, which openpyxl does not read: the
# workbook it is given back holds none.
ROWS_WITHOUT_BOOLEANS = [r for r in ROWS if not isinstance(r[2], bool)]


def make_xlsxwriter(path, date1904, rows=ROWS, extras=False):
    book = xlsxwriter.Workbook(path, {"date_1904": date1904})
    for name in ("First", "第二页", "Third"):
        sheet = book.add_worksheet(name)
        for row, col, value, _, _ in rows:
            if isinstance(value, str):
                sheet.write_string(row, col, value)
            elif isinstance(value, bool):
                sheet.write_boolean(row, col, value)
            else:
                sheet.write_number(row, col, value)
        sheet.write_datetime(2, 0, datetime.datetime(2026, 11, 22), book.add_format({"num_format": "yyyy-mm-dd"}))
        sheet.write_formula(2, 1, "=C1*2")
        if extras:
            sheet.write_formula(2, 2, "=1/0")
            sheet.write_formula(2, 3, '="a"&"b"')
            sheet.write_formula(2, 4, "=C1>1")
            sheet.write_datetime(3, 0, datetime.datetime(2026, 11, 22, 13, 45, 10),
                                 book.add_format({"num_format": "yyyy/m/d h:mm:ss"}))
            sheet.write_number(3, 1, 1234.5, book.add_format({"num_format": "#,##0.00"}))
            sheet.write_string(3, 2, "长文本" * 400)
    book.close()


def make_openpyxl(path):
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "Sheet1"
    for row, col, value, _, _ in ROWS:
        sheet.cell(row=row + 1, column=col + 1, value=value)
    sheet.cell(row=3, column=1, value="=A1&\"x\"")
    book.save(path)


def check_read(path, sheets, date1904, logical_formulas=False, trims=False):
    """Every cell of ROWS. LibreOffice saves a logical value as the formula TRUE()
    (logical_formulas); Gnumeric writes texts without xml:space="preserve", whose surrounding
    white space Excel drops, and so do we (trims)."""
    found, error = cells(path)
    check(found is not None, "%s loads (%s)" % (os.path.basename(path), error))
    if found is None:
        return
    for sheet in sheets:
        for row, col, _, kind, value in ROWS:
            c = found.get((sheet, row, col))
            if logical_formulas and kind == "boolean":
                kind = "formula"
            if trims and isinstance(value, str):
                value = value.strip()
            ok = c is not None and c["type"] == kind and c["value"] == value
            check(ok, "%s %s!%d,%d: %r" % (os.path.basename(path), sheet, row, col, c))


with tempfile.TemporaryDirectory() as folder:
    for date1904 in (False, True):
        path = os.path.join(folder, "xlsxwriter-%d.xlsx" % date1904)
        make_xlsxwriter(path, date1904)
        check_read(path, ("First", "第二页", "Third"), date1904)
        found, _ = cells(path)
        if found:
            date = found.get(("First", 2, 0))
            serial = 46348 - (1462 if date1904 else 0)
            check(date is not None and date["value"] == serial and date["text"].startswith("2026"),
                  "date in the %s system: %r" % ("1904" if date1904 else "1900", date))
            check(found.get(("First", 2, 1), {}).get("type") == "formula", "formula cell")
    path = os.path.join(folder, "openpyxl.xlsx")
    make_openpyxl(path)
    check_read(path, ("Sheet1",), False)

    # Ours, read by openpyxl.
    source = os.path.join(folder, "no-booleans.xlsx")
    make_xlsxwriter(source, False, ROWS_WITHOUT_BOOLEANS)
    written = os.path.join(folder, "ours.xlsx")
    result = subprocess.run([KESPRINT, "convert", source, written], capture_output=True, text=True)
    check(result.returncode == 0, "convert: " + result.stderr.strip())
    if result.returncode == 0:
        book = openpyxl.load_workbook(written)
        check(book.sheetnames == ["First", "第二页", "Third"], "sheet names %r" % book.sheetnames)
        sheet = book["第二页"]
        for row, col, value, _, _ in ROWS_WITHOUT_BOOLEANS:
            got = sheet.cell(row=row + 1, column=col + 1).value
            check(got == value, "openpyxl reads %d,%d of ours as %r, wrote %r" % (row, col, got, value))
        check(sheet.cell(row=3, column=2).value == "=C1*2", "formula text %r" % sheet.cell(row=3, column=2).value)

    # A sheet of some megabytes, past the size from which our reader inflates it on a second
    # thread and our writer deflates it in pieces: read back by openpyxl, every cell.
    source = os.path.join(folder, "large.xlsx")
    book = xlsxwriter.Workbook(source)
    sheet = book.add_worksheet("Large")
    large = [[i, "SKU-%06d" % i, "品名%d" % (i * 7919 % 100003), "69%011d" % i, i % 97 * 0.25] * 3 for i in range(12000)]
    for r, values in enumerate(large):
        sheet.write_row(r, 0, values)
    book.close()
    written = os.path.join(folder, "large-ours.xlsx")
    result = subprocess.run([KESPRINT, "convert", source, written], capture_output=True, text=True)
    check(result.returncode == 0, "convert of a large sheet: " + result.stderr.strip())
    if result.returncode == 0:
        with zipfile.ZipFile(written) as z:
            check(z.getinfo("xl/worksheets/sheet1.xml").file_size > 4 << 20, "the large sheet is large")
        rows = list(openpyxl.load_workbook(written, read_only=True)["Large"].iter_rows(values_only=True))
        check(len(rows) == len(large) and all(list(a) == b for a, b in zip(rows, large)),
              "openpyxl reads our large sheet back cell by cell")

    # Ours as .xls, read by xlrd: every cell our reader sees in the source, with its kind.
    for date1904 in (False, True):
        source = os.path.join(folder, "rich-%d.xlsx" % date1904)
        make_xlsxwriter(source, date1904, extras=True)
        written = os.path.join(folder, "ours-%d.xls" % date1904)
        result = subprocess.run([KESPRINT, "convert", source, written], capture_output=True, text=True)
        check(result.returncode == 0, "convert to .xls: " + result.stderr.strip())
        expected, _ = cells(source)
        if result.returncode != 0 or not expected:
            continue
        book = xlrd.open_workbook(written, formatting_info=False)
        check(book.sheet_names() == ["First", "第二页", "Third"], "xls sheet names %r" % book.sheet_names())
        check(book.datemode == (1 if date1904 else 0), "xls date mode %r" % book.datemode)
        for (name, row, col), c in sorted(expected.items()):
            sheet = book.sheet_by_name(name)
            got = sheet.cell(row, col)
            kind, value = c["type"], c["value"]
            where = "xlrd %s!%d,%d: %r for %r" % (name, row, col, got, c)
            if isinstance(value, bool):
                check(got.ctype == xlrd.XL_CELL_BOOLEAN and got.value == int(value), where)
            elif isinstance(value, str) and value.startswith("#") and kind in ("error", "formula") and c["text"] == value:
                check(got.ctype == xlrd.XL_CELL_ERROR and xlrd.error_text_from_code.get(got.value) == value, where)
            elif isinstance(value, str):
                check(got.ctype == xlrd.XL_CELL_TEXT and got.value == value, where)
            elif c["text"].startswith("2026") or ":" in c["text"]:
                ok = got.ctype == xlrd.XL_CELL_DATE and got.value == value
                when = xlrd.xldate.xldate_as_datetime(got.value, book.datemode) if ok else None
                check(ok and when.year == 2026 and when.month == 11 and when.day == 22, where + " date %r" % when)
            else:
                check(got.ctype == xlrd.XL_CELL_NUMBER and got.value == value, where)
    if shutil.which("soffice"):
        out = os.path.join(folder, "csv")
        result = subprocess.run(["soffice", "--headless", "--convert-to", "csv", "--outdir", out,
                                 os.path.join(folder, "ours-0.xls")], capture_output=True, text=True, timeout=120)
        check(result.returncode == 0 and os.path.exists(os.path.join(out, "ours-0.csv")),
              "LibreOffice converts our .xls: " + result.stderr.strip())

    # Made by LibreOffice and Gnumeric: the xlsxwriter fixture saved again by each, as .xlsx,
    # .xls and .ods, read by ours with every cell's kind and value as written.
    source = os.path.join(folder, "xlsxwriter-0.xlsx")
    produced = []
    if shutil.which("soffice"):
        profile = "-env:UserInstallation=file://" + os.path.join(folder, "profile")
        for kind in ("xlsx", "xls", "ods"):
            out = os.path.join(folder, "libreoffice-" + kind)
            subprocess.run(["soffice", profile, "--headless", "--convert-to", kind, "--outdir", out, source],
                           capture_output=True, timeout=180)
            produced.append(("LibreOffice " + kind, os.path.join(out, "xlsxwriter-0." + kind)))
    if shutil.which("ssconvert"):
        for kind, exporter in (("xlsx", "Gnumeric_Excel:xlsx2"), ("xls", "Gnumeric_Excel:excel_biff8"),
                               ("ods", "Gnumeric_OpenCalc:odf")):
            target = os.path.join(folder, "gnumeric." + kind)
            subprocess.run(["ssconvert", "-T", exporter, source, target], capture_output=True, timeout=180)
            produced.append(("Gnumeric " + kind, target))
    for producer, path in produced:
        check(os.path.exists(path), producer + " wrote the fixture")
        if os.path.exists(path):
            check_read(path, ("First", "第二页", "Third"), False,
                       logical_formulas=producer.startswith("LibreOffice"), trims=path.endswith("gnumeric.xlsx"))
            found, _ = cells(path)
            if found:
                date = found.get(("First", 2, 0), {})
                check(date.get("value") == 46348 and date.get("text") == "2026-11-22",
                      "%s date: %r" % (producer, date))
                formula = found.get(("First", 2, 1), {})
                check(formula.get("type") == "formula" and formula.get("text") == "13802469135780",
                      "%s formula: %r" % (producer, formula))

    # Made by SheetJS (npm's xlsx, installed under build/npm): shared strings in both date
    # systems, and the same workbook with the cells' "r" attributes taken out of its sheets.
    sheetjs = os.path.join(ROOT, "build", "npm")
    if shutil.which("npm") and not os.path.isdir(os.path.join(sheetjs, "node_modules", "xlsx")):
        subprocess.run(["npm", "install", "--silent", "--no-audit", "--no-fund", "--prefix", sheetjs, "xlsx@0.18.5"],
                       capture_output=True, timeout=300)
    if os.path.isdir(os.path.join(sheetjs, "node_modules", "xlsx")):
        environment = dict(os.environ, NODE_PATH=os.path.join(sheetjs, "node_modules"))
        for date1904 in (False, True):
            path = os.path.join(folder, "sheetjs-%d.xlsx" % date1904)
            subprocess.run(["node", os.path.join(HERE, "sheetjs_write.js"), path, "1904" if date1904 else "1900"],
                           env=environment, capture_output=True, timeout=120)
            check(os.path.exists(path), "SheetJS wrote " + os.path.basename(path))
            if not os.path.exists(path):
                continue
            variants = [path]
            if not date1904:
                stripped = os.path.join(folder, "sheetjs-without-r.xlsx")
                with zipfile.ZipFile(path) as zin, zipfile.ZipFile(stripped, "w", zipfile.ZIP_DEFLATED) as zout:
                    for item in zin.infolist():
                        data = zin.read(item.filename)
                        if item.filename.startswith("xl/worksheets/"):
                            data = re.sub(rb'(<c) r="[A-Z]+[0-9]+"', rb"\1", data)
                        zout.writestr(item, data)
                variants.append(stripped)
            for variant in variants:
                check_read(variant, ("First", "第二页", "Third"), date1904)
                found, _ = cells(variant)
                if found:
                    date = found.get(("First", 2, 0), {})
                    check(date.get("text") == "2026-11-22", "SheetJS date %r" % date)
                    check(found.get(("First", 2, 1), {}).get("text") == "13802469135780", "SheetJS formula")
                    check(found.get(("First", 2, 2), {}).get("value") == "#DIV/0!", "SheetJS error")
    else:
        print("npm's xlsx (SheetJS) could not be installed: its fixtures are skipped")

    # Ours, read back by Gnumeric: every sheet of our .xlsx and .xls as CSV of raw values, cell
    # by cell against the values our grid holds (numbers and date serials by value).
    if shutil.which("ssconvert"):
        for ours in (os.path.join(folder, "ours.xlsx"), os.path.join(folder, "ours-0.xls")):
            expected, _ = cells(ours)
            if not expected:
                continue
            template = os.path.join(folder, os.path.basename(ours) + "-%n.csv")
            result = subprocess.run(["ssconvert", "-S", "-T", "Gnumeric_stf:stf_assistant",
                                     "-O", "separator=, format=raw", ours, template],
                                    capture_output=True, text=True, timeout=180)
            check(result.returncode == 0, "Gnumeric reads %s: %s" % (os.path.basename(ours), result.stderr.strip()))
            names = sorted({name for name, _, _ in expected}, key=lambda n: ("First", "第二页", "Third").index(n))
            for index, name in enumerate(names):
                sheet_csv = template.replace("%n", str(index))
                if not os.path.exists(sheet_csv):
                    check(False, "Gnumeric wrote sheet %s of %s" % (name, os.path.basename(ours)))
                    continue
                with open(sheet_csv, encoding="utf-8") as f:
                    rows = list(csv.reader(f))
                for (sheet, row, col), c in sorted(expected.items()):
                    if sheet != name:
                        continue
                    theirs = rows[row][col] if row < len(rows) and col < len(rows[row]) else ""
                    value = c["value"]
                    if isinstance(value, bool):
                        same = theirs == ("TRUE" if value else "FALSE")
                    elif isinstance(value, (int, float)):
                        try:
                            same = abs(float(theirs) - value) <= 1e-12 * max(1.0, abs(value))
                        except ValueError:
                            same = False
                    else:
                        same = theirs == value
                    check(same, "Gnumeric reads %s %s!%d,%d as %r, ours %r"
                          % (os.path.basename(ours), sheet, row, col, theirs, value))

    # Ours in the formats that are written only (XML Spreadsheet 2003, web page, tab-separated
    # text), read back by LibreOffice cell by cell against the texts our grid shows. An HTML or
    # text import guesses numbers and lays out white space anew, so there a number may come back
    # as the same number in another spelling ("0012345", "1,234.50") and HTML spaces collapse.
    if shutil.which("soffice"):
        source = os.path.join(folder, "xlsxwriter-0.xlsx")
        expected, _ = cells(source)
        profile = "-env:UserInstallation=file://" + os.path.join(folder, "profile")
        for extension, infilter in (("xml", "MS Excel 2003 XML"), ("html", "HTML (StarCalc)"),
                                    ("txt", "Text - txt - csv (StarCalc):9,34,56")):
            ours = os.path.join(folder, "written." + extension)
            result = subprocess.run([KESPRINT, "convert", source, ours], capture_output=True, text=True)
            check(result.returncode == 0, "kesprint writes ." + extension + ": " + result.stderr.strip())
            out = os.path.join(folder, "read-" + extension)
            subprocess.run(["soffice", profile, "--headless", "--infilter=" + infilter, "--convert-to",
                            'csv:Text - txt - csv (StarCalc):44,34,76', "--outdir", out, ours], capture_output=True, timeout=180)
            read_back = os.path.join(out, "written.csv")
            check(os.path.exists(read_back), "LibreOffice reads our ." + extension)
            if not os.path.exists(read_back):
                continue
            with open(read_back, encoding="utf-8") as f:
                rows = list(csv.reader(f))
            # A page of several sheets heads each table with the sheet's name.
            if extension == "html" and rows and rows[0][:1] == ["First"]:
                rows = rows[1:]
            for (sheet, row, col), c in sorted(expected.items()):
                if sheet != "First":
                    continue
                theirs = rows[row][col] if row < len(rows) and col < len(rows[row]) else ""
                shown = c["text"]
                same = theirs == shown
                if not same and c["type"] == "boolean":
                    same = theirs in ("1", "TRUE") if c["value"] else theirs in ("0", "FALSE")
                if not same and extension != "xml":
                    try:
                        same = float(theirs.replace(",", "")) == float(shown.replace(",", ""))
                    except ValueError:
                        same = extension == "html" and " ".join(theirs.split()) == " ".join(shown.split())
                check(same, "LibreOffice reads our .%s %d,%d as %r, ours %r" % (extension, row, col, theirs, shown))

finish()
