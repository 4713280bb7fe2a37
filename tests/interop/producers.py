#!/usr/bin/python3
"""Workbooks written by LibreOffice, Gnumeric and SheetJS, read by ours; and ours, read back by them.

The same cases go through every producer: Chinese text, digits kept as text, barcode numbers,
decimals, negative numbers, a date in the 1900 and in the 1904 system, booleans, error values and
formulas, on 3 sheets of which one has a Chinese name. Each producer's .xlsx, .xls and .ods must come out
of `kesprint cells` with the kind and value it was written with, showing the text the producer
shows for it (LibreOffice and Gnumeric: their own CSV export; SheetJS: its own reading of the file).
Every workbook `kesprint convert` writes is read back by LibreOffice and Gnumeric and compared cell
by cell. Prints one line per failure and "N passed, N failed"; a producer that is not installed is
skipped with a note.
"""
import csv
import functools
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile
from xml.sax.saxutils import escape, quoteattr

from checks import check, finish, kesprint_cells

KESPRINT = os.path.abspath(sys.argv[1])
cells = functools.partial(kesprint_cells, KESPRINT)
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
NPM_FOLDER = os.path.join(ROOT, "build", "npm")
TIMEOUT = 180


def note(text):
    print("note:", text)


def run(command, **options):
    try:
        return subprocess.run(command, capture_output=True, text=True, timeout=TIMEOUT, **options)
    except subprocess.TimeoutExpired:
        return subprocess.CompletedProcess(command, 1, "", "timed out after %d s" % TIMEOUT)


SHEETS = ("First", "第二页", "Third")
LABELS = ("品名一", "品名二", "品名三")   # one per sheet, so that a sheet read in place of another shows
DATE_1900 = 46348                       # 2026-11-22
DAYS_1900_TO_1904 = 1462


def cases(sheet):
    """(reference, kind, content, cached result of a formula, text shown) of one sheet."""
    label = LABELS[sheet]
    return [
        ("A1", "text", label, None, label),
        ("B1", "text", "0012345", None, "0012345"),
        ("C1", "number", 6901234567890, None, "6901234567890"),
        ("D1", "number", 12.5, None, "12.5"),
        ("E1", "number", -3.75, None, "-3.75"),
        ("F1", "number", -0.001, None, "-0.001"),
        ("A2", "date", DATE_1900, None, "2026-11-22"),
        ("B2", "bool", True, None, "TRUE"),
        ("C2", "bool", False, None, "FALSE"),
        ("D2", "error", "#N/A", None, "#N/A"),
        ("E2", "error", "#DIV/0!", None, "#DIV/0!"),
        ("A3", "formula", "C1*2", 13802469135780, "13802469135780"),
        ("B3", "formula", 'A1&"x"', label + "x", label + "x"),
        ("C3", "formula", "D1+E1", 8.75, "8.75"),
        ("D3", "formula", "1/0", "#DIV/0!", "#DIV/0!"),
        ("E3", "formula", "NA()", "#N/A", "#N/A"),
        ("F3", "formula", "D1>E1", True, "TRUE"),
        # One formula filled down a column: LibreOffice's .xls stores it once, as a shared formula.
        ("G1", "formula", "D1*2", 25, "25"),
        ("G2", "formula", "D2*2", "#N/A", "#N/A"),
        ("G3", "formula", "D3*2", "#DIV/0!", "#DIV/0!"),
        ("G4", "formula", "D4*2", 0, "0"),
    ]


ERROR_FORMULAS = {"#N/A": "NA()", "#DIV/0!": "1/0"}


def position(ref):
    letters = re.match(r"[A-Z]+", ref).group(0)
    column = 0
    for letter in letters:
        column = column * 26 + ord(letter) - ord("A") + 1
    return int(ref[len(letters):]) - 1, column - 1


def same(got, wanted):
    # JSON numbers and Python booleans compare equal across kinds (True == 1): keep them apart.
    return isinstance(got, bool) == isinstance(wanted, bool) and got == wanted


def kind_of_value(value):
    if isinstance(value, bool):
        return "boolean"
    if isinstance(value, str):
        return "error" if value in ERROR_FORMULAS else "string"
    return "float"


def expected_cells(date1904, errors_as_formulas=False):
    """(sheet, row, col) -> (our kind, our value, our text) for the cases as a producer wrote them."""
    expected = {}
    for sheet, name in enumerate(SHEETS):
        for ref, kind, content, cached, shown in cases(sheet):
            if kind == "error" and errors_as_formulas:
                kind, cached = "formula", content
            ours = {"text": "string", "number": "float", "date": "float", "bool": "boolean", "error": "error",
                    "formula": "formula"}[kind]
            value = cached if kind == "formula" else content
            if kind == "date" and date1904:
                value -= DAYS_1900_TO_1904
            expected[(name,) + position(ref)] = (ours, value, shown)
    return expected


def check_read(producer, path, expected, shown=None):
    """Our reading of PATH against what was written; SHOWN: (sheet, row, col) -> the producer's text."""
    found, error = cells(path)
    what = "%s %s" % (producer, os.path.basename(path))
    check(found is not None, "%s loads: %s" % (what, error))
    if found is None:
        return
    for key, (kind, value, text) in sorted(expected.items()):
        c = found.get(key)
        ok = c is not None and c["type"] == kind and same(c["value"], value) and c["text"] == text
        check(ok, "%s %s!%d,%d: read %r, written as %s %r showing %r"
              % ((what,) + key + (c, kind, value, text)))
    extra = sorted(set(found) - set(expected))
    check(not extra, "%s: cells nobody wrote: %r" % (what, [found[k] for k in extra]))
    for key, text in sorted((shown or {}).items()):
        c = found.get(key)
        check(c is not None and c["text"] == text,
              "%s %s!%d,%d: %s shows %r, we show %r" % ((what,) + key + (producer, text, c and c["text"])))


def read_csv(path):
    """(row, col) -> text of the non-empty fields of a CSV file."""
    out = {}
    with open(path, encoding="utf-8-sig", newline="") as f:
        for row, fields in enumerate(csv.reader(f)):
            for col, text in enumerate(fields):
                if text != "":
                    out[(row, col)] = text
    return out


# --- LibreOffice -------------------------------------------------------------------------------

FODS_HEAD = """<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0"
 xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0"
 xmlns:number="urn:oasis:names:tc:opendocument:xmlns:datastyle:1.0"
 xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0"
 xmlns:of="urn:oasis:names:tc:opendocument:xmlns:of:1.2" office:version="1.2"
 office:mimetype="application/vnd.oasis.opendocument.spreadsheet">
<office:automatic-styles>
<number:date-style style:name="N1"><number:year number:style="long"/><number:text>-</number:text>
<number:month number:style="long"/><number:text>-</number:text>
<number:day number:style="long"/></number:date-style>
<number:boolean-style style:name="N2"><number:boolean/></number:boolean-style>
<style:style style:name="date" style:family="table-cell" style:data-style-name="N1"/>
<style:style style:name="bool" style:family="table-cell" style:data-style-name="N2"/>
</office:automatic-styles>
<office:body><office:spreadsheet>
"""


def fods_value(value):
    if isinstance(value, bool):
        return (' table:style-name="bool" office:value-type="boolean" office:boolean-value="%s"'
                % str(value).lower())
    if isinstance(value, str):
        return ' office:value-type="string" office:string-value=%s' % quoteattr(value)
    return ' office:value-type="float" office:value="%r"' % value


def fods_cell(kind, content, cached):
    if kind == "error":   # OpenDocument has no error constants: a formula gives the error
        kind, content, cached = "formula", ERROR_FORMULAS[content], None
    if kind == "formula":
        formula = "of:=" + re.sub(r"\b([A-Z]+[0-9]+)\b", r"[.\1]", content)
        value = fods_value(cached) if cached is not None and cached not in ERROR_FORMULAS else ""
        return "<table:table-cell table:formula=%s%s/>" % (quoteattr(formula), value)
    if kind == "text":
        return ('<table:table-cell office:value-type="string"><text:p>%s</text:p></table:table-cell>'
                % escape(content))
    if kind == "date":
        return ('<table:table-cell table:style-name="date" office:value-type="date"'
                ' office:date-value="2026-11-22"/>')
    return "<table:table-cell%s/>" % fods_value(content)


def make_fods(path, date1904):
    xml = FODS_HEAD
    if date1904:
        xml += ('<table:calculation-settings><table:null-date table:date-value="1904-01-01"/>'
                "</table:calculation-settings>")
    for sheet, name in enumerate(SHEETS):
        xml += "<table:table table:name=%s>" % quoteattr(name)
        rows = {}
        for ref, kind, content, cached, _ in cases(sheet):
            row, col = position(ref)
            rows.setdefault(row, {})[col] = fods_cell(kind, content, cached)
        for row in range(max(rows) + 1):
            xml += "<table:table-row>"
            for col in range(max(rows.get(row, {0: None})) + 1):
                xml += rows.get(row, {}).get(col, "<table:table-cell/>")
            xml += "</table:table-row>"
        xml += "</table:table>"
    with open(path, "w", encoding="utf-8") as f:
        f.write(xml + "</office:spreadsheet></office:body></office:document>\n")


class LibreOffice:
    """soffice with a profile of its own; each call converts a batch of files to one format."""

    # CSV export in UTF-8, cells as shown, every sheet to its own file named FILE-SHEET.csv.
    CSV = "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true,true,false,false,-1"

    def __init__(self, folder):
        self.profile = "file://" + os.path.join(folder, "soffice-profile")

    def convert(self, target, sources, out):
        result = run(["soffice", "-env:UserInstallation=" + self.profile, "--headless", "--norestore",
                      "--convert-to", target, "--outdir", out] + sources)
        check(result.returncode == 0, "soffice --convert-to %s: %s" % (target, result.stderr.strip()))

    @staticmethod
    def sheet_csv(out, source, sheet):
        path = os.path.join(out, "%s-%s.csv" % (os.path.splitext(os.path.basename(source))[0], sheet))
        return read_csv(path) if os.path.exists(path) else None


def shown_in(sheet_csvs):
    """(sheet, row, col) -> text, from {sheet name: {(row, col): text}}."""
    return {(name, row, col): text
            for name, table in sheet_csvs.items() for (row, col), text in table.items()}


# --- Gnumeric ----------------------------------------------------------------------------------

def gnumeric_cell(row, col, kind, content, cached, date1904):
    where = 'Row="%d" Col="%d"' % (row, col)
    if kind == "formula":
        return "<gnm:Cell %s>=%s</gnm:Cell>" % (where, escape(content))
    if kind == "date":
        serial = content - DAYS_1900_TO_1904 if date1904 else content
        return '<gnm:Cell %s ValueType="40" ValueFormat="yyyy-mm-dd">%d</gnm:Cell>' % (where, serial)
    value_type, text = {"text": (60, content), "number": (40, repr(content)),
                        "bool": (20, "TRUE" if content else "FALSE"), "error": (50, content)}[kind]
    return '<gnm:Cell %s ValueType="%d">%s</gnm:Cell>' % (where, value_type, escape(text))


def make_gnumeric(path, date1904):
    xml = '<?xml version="1.0" encoding="UTF-8"?>\n<gnm:Workbook xmlns:gnm="http://www.gnumeric.org/v10.dtd">'
    if date1904:
        xml += "<gnm:DateConvention>1904</gnm:DateConvention>"
    xml += "<gnm:SheetNameIndex>%s</gnm:SheetNameIndex><gnm:Sheets>" % "".join(
        "<gnm:SheetName>%s</gnm:SheetName>" % escape(name) for name in SHEETS)
    for sheet, name in enumerate(SHEETS):
        # Wide columns: Gnumeric shows a General number in the digits its column has room for.
        xml += '<gnm:Sheet><gnm:Name>%s</gnm:Name><gnm:Cols DefaultSizePts="300"/><gnm:Cells>' % escape(name)
        for ref, kind, content, cached, _ in cases(sheet):
            xml += gnumeric_cell(*position(ref), kind, content, cached, date1904)
        xml += "</gnm:Cells></gnm:Sheet>"
    with open(path, "w", encoding="utf-8") as f:
        f.write(xml + "</gnm:Sheets></gnm:Workbook>\n")


def gnumeric_csv(source, out_pattern):
    """Every sheet of SOURCE as Gnumeric shows it, {sheet name: {(row, col): text}}."""
    result = run(["ssconvert", "--recalc", "-S", "-O", "separator=, format=preserve", "-T",
                  "Gnumeric_stf:stf_assistant", source, out_pattern + "-%n.csv"])
    check(result.returncode == 0,
          "ssconvert to CSV %s: %s" % (os.path.basename(source), result.stderr.strip()))
    tables = {}
    for sheet, name in enumerate(SHEETS):
        path = "%s-%d.csv" % (out_pattern, sheet)
        if os.path.exists(path):
            # Gnumeric shows a negative number with the minus sign U+2212.
            tables[name] = {k: v.replace("\u2212", "-") for k, v in read_csv(path).items()}
    return tables


# --- SheetJS -----------------------------------------------------------------------------------

def sheetjs_module():
    """The xlsx package under build/npm, installed there when missing; None when npm cannot get it."""
    module = os.path.join(NPM_FOLDER, "node_modules", "xlsx")
    if not shutil.which("node"):
        note("node is not installed: the SheetJS producer is skipped")
        return None
    if os.path.exists(os.path.join(module, "package.json")):
        return module
    if not shutil.which("npm"):
        note("npm is not installed: the SheetJS producer is skipped")
        return None
    os.makedirs(NPM_FOLDER, exist_ok=True)
    result = run(["npm", "install", "--prefix", NPM_FOLDER, "--no-audit", "--no-fund", "--silent", "xlsx@0.18.5"])
    if result.returncode != 0 or not os.path.exists(os.path.join(module, "package.json")):
        note("npm could not install the xlsx package (%s): the SheetJS producer is skipped"
             % result.stderr.strip()[-200:])
        return None
    return module


def without_references(xml):
    """XML without the "r" of each row and cell whose place follows from the one before it."""
    last_row = 0

    def row(match):
        nonlocal last_row
        number, rest, cells = int(match.group(1)), match.group(2), match.group(3)
        next_column = 0

        def cell(m):
            nonlocal next_column
            column = position(m.group(1))[1]
            follows, next_column = column == next_column, column + 1
            return "<c" if follows else m.group(0)

        opening = "<row%s>" % rest if number == last_row + 1 else '<row r="%d"%s>' % (number, rest)
        last_row = number
        return opening + re.sub(r'<c r="([A-Z]+[0-9]+)"', cell, cells) + "</row>"

    return re.sub(r'<row r="([0-9]+)"([^>]*)>(.*?)</row>', row, xml, flags=re.S)


def inline_and_without_references(source, path, sheet_part):
    """SOURCE with its t="str" texts as inline strings, and SHEET_PART's rows and cells without "r"."""
    with zipfile.ZipFile(source) as zin, zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as zout:
        for item in zin.infolist():
            data = zin.read(item.filename)
            if item.filename.startswith("xl/worksheets/sheet"):
                xml = re.sub(r'<c ([^>]*)t="str"><v>([^<]*)</v></c>',
                             r'<c \1t="inlineStr"><is><t>\2</t></is></c>', data.decode("utf-8"))
                if item.filename == sheet_part:
                    xml = without_references(xml)
                data = xml.encode("utf-8")
            zout.writestr(item, data)


def sheetjs_expected(written, name):
    """What SheetJS reads back from its file NAME, in our terms."""
    expected = {}
    for c in written:
        if c["file"] != name:
            continue
        t, value = c["t"], c["v"]
        kind = {"s": "string", "str": "string", "n": "float", "b": "boolean", "e": "error", "d": "float"}[t]
        expected[(c["sheet"], c["row"], c["col"])] = ("formula" if c["f"] else kind, value)
    return expected


def check_sheetjs(path, written, name, texts, skip=()):
    found, error = cells(path)
    what = "SheetJS %s" % os.path.basename(path)
    check(found is not None, "%s loads: %s" % (what, error))
    if found is None:
        return
    expected = {k: v for k, v in sheetjs_expected(written, name).items() if k not in skip}
    for key, (kind, value) in sorted(expected.items()):
        c = found.get(key)
        ok = c is not None and c["type"] == kind and same(c["value"], value) and c["text"] == texts.get(key)
        check(ok, "%s %s!%d,%d: read %r, SheetJS wrote %s %r showing %r" % ((what,) + key + (c, kind, value,
                                                                                            texts.get(key))))
    extra = sorted(set(found) - set(expected) - set(skip))
    check(not extra, "%s: cells nobody wrote: %r" % (what, [found[k] for k in extra]))


# --- Ours, read back ---------------------------------------------------------------------------

NUMBER = r"-?[0-9]+(\.[0-9]+)?(E[-+][0-9]+)?"

# LibreOffice has no boolean kind of cell: a boolean read without a boolean number format shows as
# 1 or 0. The value is the same.
LOOKS_THE_SAME = {("LibreOffice", "1", "TRUE"): "TRUE", ("LibreOffice", "0", "FALSE"): "FALSE"}


def check_read_back(reader, path, tables, skip_booleans):
    """Our file PATH as READER shows it (TABLES: {sheet: {(row, col): text}}) against our own texts."""
    ours, error = cells(path)
    what = "%s reads our %s" % (reader, os.path.basename(path))
    check(ours is not None, "%s: we cannot read it back: %s" % (what, error))
    if ours is None:
        return
    check(sorted(tables) == sorted(SHEETS), "%s: sheets %r" % (what, sorted(tables)))
    theirs = shown_in(tables)
    for key in sorted(set(ours) | set(theirs)):
        c = ours.get(key)
        if skip_booleans and c is not None and c["type"] == "boolean":
            continue
        text = theirs.get(key)
        if c is not None and text is not None and text != c["text"]:
            text = LOOKS_THE_SAME.get((reader, text, c["text"]), text)
            if reader == "Gnumeric" and text != c["text"] and re.fullmatch(NUMBER, text):
                # Gnumeric shows a General number of an .xls file with every digit of its binary value.
                if re.fullmatch(NUMBER, c["text"]) and float(text) == float(c["text"]):
                    text = c["text"]
        check(c is not None and text == c["text"],
              "%s %s!%d,%d: shows %r, we show %r" % ((what,) + key + (theirs.get(key), c and c["text"])))


def main():
    folder = tempfile.mkdtemp(prefix="kes-producers-")
    try:
        produce_and_check(folder)
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    finish()


def produce_and_check(folder):
    out = os.path.join(folder, "out")
    os.makedirs(out)
    ours = []   # workbooks of ours for LibreOffice and Gnumeric to read back

    if shutil.which("ssconvert"):
        for date1904 in (False, True):
            base = os.path.join(folder, "gnumeric-%d" % (1904 if date1904 else 1900))
            make_gnumeric(base + ".xml", date1904)
            shown = shown_in(gnumeric_csv(base + ".xml", base))
            for suffix, exporter in ((".xlsx", "Gnumeric_Excel:xlsx2"),
                                     (".xls", "Gnumeric_Excel:excel_biff8"),
                                     (".ods", "Gnumeric_OpenCalc:odf")):
                result = run(["ssconvert", "-T", exporter, base + ".xml", base + suffix])
                check(result.returncode == 0, "ssconvert %s: %s" % (exporter, result.stderr.strip()))
                # OpenDocument has no error values: Gnumeric writes an error as a formula (of:=#N/A).
                check_read("Gnumeric", base + suffix,
                           expected_cells(date1904, errors_as_formulas=suffix == ".ods"), shown)
            for suffix in (".xlsx", ".xls"):
                mine = os.path.join(folder, "ours-%d-%s%s" % (1904 if date1904 else 1900, suffix[1:], suffix))
                result = run([KESPRINT, "convert", base + ".xlsx", mine])
                check(result.returncode == 0, "convert to %s: %s" % (suffix, result.stderr.strip()))
                ours.append(mine)
    else:
        note("ssconvert is not installed (package gnumeric): the Gnumeric producer is skipped")

    module = sheetjs_module()
    if module:
        wanted = {"sheets": SHEETS,
                  "cells": [[sheet, ref, kind, content, cached] for sheet in range(len(SHEETS))
                            for ref, kind, content, cached, _ in cases(sheet)]}
        cases_file = os.path.join(folder, "cases.json")
        with open(cases_file, "w", encoding="utf-8") as f:
            json.dump(wanted, f, ensure_ascii=False)
        script = os.path.join(ROOT, "tests", "interop", "sheetjs_producer.js")
        result = run(["node", script, module, cases_file, folder])
        check(result.returncode == 0, "SheetJS writes: " + result.stderr.strip())
        written = [json.loads(line) for line in result.stdout.splitlines()]
        texts_1900 = {k: v[2] for k, v in expected_cells(False).items()}
        check_sheetjs(os.path.join(folder, "sheetjs-1900.xlsx"), written, "sheetjs-1900.xlsx", texts_1900)
        check_sheetjs(os.path.join(folder, "sheetjs-1904.xlsx"), written, "sheetjs-1904.xlsx",
                      {k: v[2] for k, v in expected_cells(True).items()})
        check(any(c["date1904"] for c in written if c["file"] == "sheetjs-1904.xlsx"),
              "SheetJS wrote a 1904 workbook")
        check_sheetjs(os.path.join(folder, "sheetjs-1900.xls"), written, "sheetjs-1900.xls", texts_1900)
        # Without shared strings SheetJS writes each text as t="str" with a <v>. Our reader keeps a "str"
        # cell only for its formula and leaves one without <f> empty, by rule; those cells, and the
        # formula that reads one, are not checked here. The same texts as inline strings, and a sheet
        # without "r" attributes, must read in full.
        texts = [(SHEETS[sheet],) + position(ref) for sheet in range(len(SHEETS))
                 for ref, kind, _, _, _ in cases(sheet) if kind == "text"]
        reading_texts = [(SHEETS[sheet],) + position(ref) for sheet in range(len(SHEETS))
                         for ref, kind, content, _, _ in cases(sheet)
                         if kind == "formula" and "A1" in content]
        found, _ = cells(os.path.join(folder, "sheetjs-str.xlsx"))
        check(found is not None and not any(k in found for k in texts),
              't="str" without a formula stays empty')
        check_sheetjs(os.path.join(folder, "sheetjs-str.xlsx"), written, "sheetjs-str.xlsx", texts_1900,
                      skip=texts + reading_texts)
        edited = os.path.join(folder, "sheetjs-inline.xlsx")
        inline_and_without_references(os.path.join(folder, "sheetjs-str.xlsx"), edited,
                                      "xl/worksheets/sheet2.xml")
        with zipfile.ZipFile(edited) as z:
            sheet2 = z.read("xl/worksheets/sheet2.xml").decode("utf-8")
        check("inlineStr" in sheet2 and sheet2.count(' r="') < 4,
              "the edited sheet has inline strings and few references")
        check_sheetjs(edited, written, "sheetjs-str.xlsx", texts_1900)

    if shutil.which("soffice"):
        office = LibreOffice(folder)
        sources = []
        for date1904 in (False, True):
            source = os.path.join(folder, "libreoffice-%d.fods" % (1904 if date1904 else 1900))
            make_fods(source, date1904)
            sources.append(source)
        office.convert("xlsx", sources, out)
        office.convert("xls", sources, out)
        office.convert("ods", sources, out)
        # One more start converts LibreOffice's own view of the sources and our files read back.
        office.convert(LibreOffice.CSV, sources + ours, out)
        for source in sources:
            date1904 = "1904" in os.path.basename(source)
            shown = shown_in({name: office.sheet_csv(out, source, name) or {} for name in SHEETS})
            check(len(shown) > 0, "LibreOffice shows %s" % os.path.basename(source))
            stem = os.path.splitext(os.path.basename(source))[0]
            for suffix in (".xlsx", ".xls", ".ods"):
                check_read("LibreOffice", os.path.join(out, stem + suffix),
                           expected_cells(date1904, errors_as_formulas=True), shown)
        for mine in ours:
            tables = {name: office.sheet_csv(out, mine, name) for name in SHEETS}
            tables = {name: table for name, table in tables.items() if table is not None}
            # Our .xlsx writes a boolean as <v>true</v> or <v>false</v>, by our rule; LibreOffice wants 0 or 1
            # there and reads both as FALSE, so those cells are not compared.
            check_read_back("LibreOffice", mine, tables, skip_booleans=mine.endswith(".xlsx"))
    else:
        note("soffice is not installed (package libreoffice-calc-nogui): the LibreOffice producer is skipped")

    if shutil.which("ssconvert"):
        for mine in ours:
            tables = gnumeric_csv(mine, os.path.join(folder, "back-" + os.path.basename(mine)))
            # Our .xlsx writes a boolean as <v>true</v> or <v>false</v>, by our rule; Gnumeric wants 0 or 1
            # there and takes any other text as true, so those cells are not compared.
            check_read_back("Gnumeric", mine, tables, skip_booleans=mine.endswith(".xlsx"))


if __name__ == "__main__":
    main()
