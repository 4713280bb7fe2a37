// Writes the interop fixture with SheetJS: node sheetjs_write.js OUT.xlsx [1904]
// Three sheets with the cases of interop.py's ROWS, a date and a formula; cells are written
// without "r" attributes where SheetJS allows it not, so interop.py strips them afterwards.
const XLSX = require("xlsx");
const [out, base] = process.argv.slice(2);
const date1904 = base === "1904";
const book = XLSX.utils.book_new();
for (const name of ["First", "第二页", "Third"]) {
  const sheet = {
    A1: {t: "s", v: "品名"}, B1: {t: "s", v: "0012345"}, C1: {t: "n", v: 6901234567890},
    D1: {t: "n", v: 12.5}, E1: {t: "b", v: true},
    A2: {t: "s", v: "  spaced  "}, B2: {t: "s", v: "line1\nline2"}, C2: {t: "n", v: -0.001},
    A3: {t: "n", v: date1904 ? 46348 - 1462 : 46348, z: "yyyy-mm-dd"}, B3: {t: "n", f: "C1*2", v: 13802469135780},
    C3: {t: "e", v: 0x07},
    "!ref": "A1:E3",
  };
  XLSX.utils.book_append_sheet(book, sheet, name);
}
book.Workbook = {WBProps: {date1904}};
XLSX.writeFile(book, out, {bookSST: true});
