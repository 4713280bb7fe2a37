// Writes the interop cases with SheetJS and reads each file back with SheetJS, for producers.py.
// usage: node sheetjs_producer.js XLSX_MODULE CASES_JSON OUT_FOLDER
// CASES_JSON holds {"sheets": [...], "cells": [[sheet, ref, kind, value, cached], ...]} with dates as
// serial numbers of the 1900 system. Prints one JSON line per cell that SheetJS reads back from
// each file: what SheetJS says it wrote.
const fs = require('fs');
const path = require('path');
const XLSX = require(process.argv[2]);
const cases = JSON.parse(fs.readFileSync(process.argv[3], 'utf8'));
const folder = process.argv[4];

const ERRORS = {'#NULL!': 0x00, '#DIV/0!': 0x07, '#VALUE!': 0x0F, '#REF!': 0x17, '#NAME?': 0x1D,
                '#NUM!': 0x24, '#N/A': 0x2A};
const DAYS_1900_TO_1904 = 1462;

function cellOf(kind, value, cached, date1904) {
    switch (kind) {
    case 'text': return {t: 's', v: value};
    case 'number': return {t: 'n', v: value};
    case 'date': return {t: 'n', v: date1904 ? value - DAYS_1900_TO_1904 : value, z: 'yyyy-mm-dd'};
    case 'bool': return {t: 'b', v: value};
    case 'error': return {t: 'e', v: ERRORS[value]};
    case 'formula':
        if (typeof cached === 'boolean') return {t: 'b', v: cached, f: value};
        if (typeof cached === 'number') return {t: 'n', v: cached, f: value};
        if (cached in ERRORS) return {t: 'e', v: ERRORS[cached], f: value};
        return {t: 's', v: cached, f: value};
    }
    throw new Error('unknown kind ' + kind);
}

function book(date1904) {
    const wb = XLSX.utils.book_new();
    cases.sheets.forEach((name, index) => {
        const ws = {};
        let last = {r: 0, c: 0};
        for (const [sheet, ref, kind, value, cached] of cases.cells) {
            if (sheet !== index) continue;
            ws[ref] = cellOf(kind, value, cached, date1904);
            const at = XLSX.utils.decode_cell(ref);
            last = {r: Math.max(last.r, at.r), c: Math.max(last.c, at.c)};
        }
        ws['!ref'] = XLSX.utils.encode_range({s: {r: 0, c: 0}, e: last});
        XLSX.utils.book_append_sheet(wb, ws, name);
    });
    wb.Workbook = wb.Workbook || {};
    wb.Workbook.WBProps = Object.assign(wb.Workbook.WBProps || {}, {date1904: date1904});
    return wb;
}

// bookSST writes shared strings; without it SheetJS writes every text as t="str" with a <v>.
const files = [
    ['sheetjs-1900.xlsx', false, {bookSST: true}],
    ['sheetjs-1904.xlsx', true, {bookSST: true}],
    ['sheetjs-str.xlsx', false, {}],
    ['sheetjs-1900.xls', false, {bookType: 'biff8'}],
];
for (const [name, date1904, options] of files) {
    const file = path.join(folder, name);
    XLSX.writeFile(book(date1904), file, options);
    const back = XLSX.readFile(file);
    for (const sheet of back.SheetNames) {
        const ws = back.Sheets[sheet];
        for (const ref of Object.keys(ws)) {
            if (ref[0] === '!') continue;
            const at = XLSX.utils.decode_cell(ref);
            const c = ws[ref];
            console.log(JSON.stringify({file: name, sheet: sheet, row: at.r, col: at.c, t: c.t,
                                        v: c.t === 'e' ? c.w : c.v, f: c.f || null,
                                        date1904: !!(back.Workbook && back.Workbook.WBProps &&
                                                     back.Workbook.WBProps.date1904)}));
        }
    }
}
