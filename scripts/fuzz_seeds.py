#!/usr/bin/env python3
"""Builds the seed corpora of the fuzz targets under OUT/<target>/ from the shared corpus of real
workbooks (by extension), the parts and formulas inside them, what our own writers make of them
(kesprint convert, when a native build is there), and a few small hand-made inputs."""
import hashlib
import html
import os
import re
import subprocess
import sys
import tempfile
import zipfile

root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(root, "build", "fuzz", "seeds")
corpus = os.path.join(root, "..", "shared", "corpus", "files")
old_corpus = os.path.join(root, "..", "shared", "corpus-excel", "files")
kesprint = os.path.join(root, "build", "native", "bin", "kesprint")

MAX_LEN = {"zip": 1 << 20, "xlsx": 1 << 20, "ods": 1 << 20, "xlsx_parts": 1 << 18, "cfb": 1 << 20, "xls": 1 << 20, "native": 1 << 20,
           "xml": 1 << 18, "csv": 1 << 16, "formula": 4096, "formula_eval": 4096, "cell_text": 1024}


def seed(target, data):
    if len(data) > MAX_LEN[target]:
        return
    folder = os.path.join(out, target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, hashlib.sha1(data).hexdigest()), "wb") as f:
        f.write(data)


def workbook_stream(data):
    """The Workbook or Book stream of a compound file when it lies in regular sectors, else None."""
    import struct
    if data[:8] != b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" or len(data) < 512:
        return None
    size = 1 << struct.unpack_from("<H", data, 30)[0]
    sector = lambda i: data[(i + 1) * size:(i + 2) * size]
    fat_sectors = [struct.unpack_from("<I", data, 76 + 4 * i)[0] for i in range(min(109, struct.unpack_from("<I", data, 44)[0]))]
    fat = []
    for s in fat_sectors:
        fat += struct.unpack_from(f"<{size // 4}I", sector(s).ljust(size, b"\xff"))

    def chain(start, limit):
        out, seen = b"", set()
        while start < len(fat) and start not in seen and len(out) < limit:
            seen.add(start)
            out += sector(start)
            start = fat[start]
        return out[:limit]
    directory = chain(struct.unpack_from("<I", data, 48)[0], 1 << 20)
    cutoff = struct.unpack_from("<I", data, 56)[0]
    for at in range(0, len(directory) - 127, 128):
        name = directory[at:at + struct.unpack_from("<H", directory, at + 64)[0]].decode("utf-16-le", "replace").rstrip("\0")
        start, length = struct.unpack_from("<II", directory, at + 116)
        if name in ("Workbook", "Book") and length >= cutoff:
            return chain(start, length)
    return None


def corpus_files():
    if not os.path.isdir(corpus):
        return []
    return sorted(os.path.join(corpus, n) for n in os.listdir(corpus))


formulas = ["SUM(A1:B2)", "IF(A1>0,\"yes\",\"no\")", "VLOOKUP($A$1,Sheet2!A:C,3,FALSE)", "'\u7b2c\u4e8c\u9875'!B3*2",
            "-(1+2)^3%&\"x\"", "A1:B2 B2:C3", "{1,2;3,4}", "#REF!+#N/A", "TEXTJOIN(\",\",TRUE,A1:A9)",
            "DATEDIF(DATE(2020,1,31),TODAY(),\"m\")", "R1C1", "XFD1048576", "INDEX(A:A,MATCH(\"k\",B:B,0))"]
texts = ["42", "-1.5e300", "\u00a512.5", "TRUE", "#DIV/0!", "2026-11-22 8:30", "12:61", "1/2", "007", "=A1+1",
         "50%", "(1,234.5)", "\u54c1\u540d", "1e-400", " 3 ", "=", "2/29/1900"]
evaluated = ["SUM(Stock[Qty])*Rate", "Twice(B22)", "LET(x,Items,COUNTA(x))", "SORT(A21:D24,2,-1)",
             "XLOOKUP(\"Nut\",A21:A24,C21:C24,\"none\")", "SUMPRODUCT((B21:B24>0)*C21:C24)", "TEXT(D22,\"yyyy-mm-dd\")",
             "MAP(SEQUENCE(3),LAMBDA(v,v*v))", "OFFSET(A21,1,1,2,2)", "INDIRECT(\"Sheet1!B\"&22)", "@A21:A24",
             "IFERROR(1/0,Loop)", "REDUCE(0,B21:B24,LAMBDA(a,v,a+N(v)))", "FILTER(A21:A24,B21:B24<>\"\")",
             # whole columns taken element by element: a million calls, once a million exceptions
             "INDEX(A:A,MATCH(\"+\"<B:B,0))", "INDEX(A:A,INDEX(A:A,B:B,0))",
             # a text that is no number less three whole columns: a million #VALUE! elements
             "@A21-A:A:C24"]
for f in formulas:
    seed("formula", b"\x00\x00" + f.encode())
    seed("formula_eval", f.encode())
for f in evaluated:
    seed("formula_eval", f.encode())
for i, t in enumerate(texts):
    seed("cell_text", bytes([i * 37 & 0xFF]) + t.encode())
seed("csv", "\ufeffname,price\r\n\u54c1\u540d,\"1,2\"\r\n\"a\"\"b\",=1+2\r\n".encode())
seed("csv", b"\xff\xfe" + "a,b\r\n1,2\r\n".encode("utf-16-le"))
seed("csv", "\u54c1,\u540d\r\n".encode("gbk"))


def ods(content, styles=b"", mimetype=b"application/vnd.oasis.opendocument.spreadsheet"):
    """A small OpenDocument package around a content.xml body, as LibreOffice lays one out."""
    import io
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", zipfile.ZIP_DEFLATED) as z:
        z.writestr(zipfile.ZipInfo("mimetype"), mimetype)
        z.writestr("styles.xml", b'<office:document-styles xmlns:office="o" xmlns:style="s" xmlns:number="n">'
                   b"<office:styles>" + styles + b"</office:styles></office:document-styles>")
        z.writestr("content.xml", b'<?xml version="1.0" encoding="UTF-8"?><office:document-content xmlns:office="o" '
                   b'xmlns:table="t" xmlns:text="x" xmlns:style="s" xmlns:number="n" xmlns:calcext="c"><office:body>'
                   b"<office:spreadsheet>" + content + b"</office:spreadsheet></office:body></office:document-content>")
    return buffer.getvalue()


date_style = (b'<number:date-style style:name="N49"><number:year number:style="long"/><number:text>-</number:text>'
              b'<number:month/><number:text>-</number:text><number:day/></number:date-style>'
              b'<style:style style:name="ce1" style:family="table-cell" style:data-style-name="N49"/>')
seed("ods", ods(b'<table:table table:name="S"><table:table-row table:number-rows-repeated="2">'
                b'<table:table-cell office:value-type="string"><text:p>a<text:s text:c="2"/>b</text:p></table:table-cell>'
                b'<table:table-cell table:number-columns-repeated="3" office:value-type="float" office:value="1.5"/>'
                b'<table:table-cell table:style-name="ce1" office:value-type="date" office:date-value="2026-11-22"/>'
                b'<table:table-cell table:formula="of:=SUM([.B1:.D1];[$S.A1])" table:number-columns-spanned="2"/>'
                b"<table:covered-table-cell/></table:table-row></table:table>", date_style))
seed("ods", ods(b'<table:calculation-settings><table:null-date table:date-value="1904-01-01"/></table:calculation-settings>'
                b'<table:table table:name="T"><table:table-column table:number-columns-repeated="4"/><table:table-row>'
                b'<table:table-cell office:value-type="time" office:time-value="PT13H45M00S"/>'
                b'<table:table-cell office:value-type="boolean" office:boolean-value="true"/>'
                b'<table:table-cell office:value-type="float" calcext:value-type="error"><text:p>#N/A</text:p>'
                b"</table:table-cell></table:table-row></table:table>"))

for path in corpus_files():
    data = open(path, "rb").read()
    ext = os.path.splitext(path)[1].lower()
    if ext in (".xlsx", ".xlsm"):
        seed("xlsx", data)
        seed("zip", data)
        try:
            with zipfile.ZipFile(path) as z:
                # The parts of the xlsx_parts target, NUL-separated in its fixed order.
                names = {n.replace("\\", "/").lower(): n for n in z.namelist()}
                parts = ["[content_types].xml", "_rels/.rels", "xl/workbook.xml", "xl/_rels/workbook.xml.rels",
                         "xl/worksheets/sheet1.xml", "xl/sharedstrings.xml", "xl/styles.xml", "xl/worksheets/sheet2.xml"]
                seed("xlsx_parts", b"\0".join(z.read(names[p]) if p in names else b"" for p in parts))
                for info in z.infolist():
                    if not info.filename.endswith((".xml", ".rels")) or info.file_size > MAX_LEN["xml"]:
                        continue
                    part = z.read(info)
                    seed("xml", b"\x03" + part)
                    for f in re.findall(rb"<(?:\w+:)?f[ >][^<]*?>?([^<]+)</", part)[:20]:
                        seed("formula", b"\x01\xff" + html.unescape(f.decode("utf-8", "replace")).encode())
                    for t in re.findall(rb"<(?:\w+:)?[tv]>([^<]{1,64})</", part)[:10]:
                        seed("cell_text", b"\x00" + html.unescape(t.decode("utf-8", "replace")).encode())
        except (zipfile.BadZipFile, RuntimeError, NotImplementedError, zipfile.LargeZipFile, ValueError):
            pass
    elif ext == ".xls":
        seed("xls", data)
        seed("cfb", data)
        book = workbook_stream(data)
        if book:
            seed("xls", book)   # the xls target puts a bare BIFF5/BIFF8 stream in a compound file


# Workbooks of every BIFF version from the corpus of Excel-saved files: BIFF2-4 bare streams as
# they are, the BIFF5/7 workbook streams out of their compound files.
if os.path.isdir(old_corpus):
    for name in sorted(os.listdir(old_corpus)):
        if not name.lower().endswith(".xls"):
            continue
        data = open(os.path.join(old_corpus, name), "rb").read()
        if data[:2] in (b"\x09\x00", b"\x09\x02", b"\x09\x04"):
            seed("xls", data)
        else:
            book = workbook_stream(data)
            if book and book[4:6] == b"\x00\x05":
                seed("xls", book)

# What our writers make: the native and CSV formats have no files of their own in the corpus.
if os.access(kesprint, os.X_OK):
    with tempfile.TemporaryDirectory() as tmp:
        small = [p for p in corpus_files() if os.path.getsize(p) < 60000][:24]
        for i, path in enumerate(small):
            for ext, target in ((".bin", "native"), (".csv", "csv"), (".xlsx", "xlsx")):
                made = os.path.join(tmp, f"{i}{ext}")
                if subprocess.run([kesprint, "convert", path, made], capture_output=True).returncode == 0:
                    seed(target, open(made, "rb").read())
                    if target == "xlsx":
                        seed("zip", open(made, "rb").read())
else:
    print(f"fuzz_seeds: no {kesprint}, so no seeds of our own writers", file=sys.stderr)

for target in sorted(MAX_LEN):
    folder = os.path.join(out, target)
    print(f"{target}: {len(os.listdir(folder)) if os.path.isdir(folder) else 0} seeds")
