#!/usr/bin/env node
// Fills the expected texts of tests/sheet/format/format_oracle.tsv with what SheetJS's ssf shows.
// Rows whose comment starts with "excel:" keep the text we show (Excel's, where ssf differs);
// their comment gets ssf's text after it, so a reader sees both.
//   npm install --prefix /tmp/ssf ssf && NODE_PATH=/tmp/ssf/node_modules node scripts/make-format-oracle.js
// Value column: a number; "t:TEXT" for a text value; "1904:NUMBER" for a workbook in the 1904 system.
// Code column: a format code, or "#N" for built-in format N.
'use strict';
const fs = require('fs');
const path = require('path');
const SSF = require('ssf');

const file = process.argv[2] || path.join(__dirname, '..', 'tests', 'sheet', 'format', 'format_oracle.tsv');
const lines = fs.readFileSync(file, 'utf8').split('\n');
let changed = 0, kept = 0;
const out = lines.map((line) => {
  if (line === '' || line.startsWith('//')) return line;
  const [code, value, expected, comment = ''] = line.split('\t');
  let v = value, options = {};
  if (value.startsWith('t:')) v = value.slice(2);
  else if (value.startsWith('1904:')) { v = Number(value.slice(5)); options = { date1904: true }; }
  else v = Number(value);
  let shown;
  try {
    shown = SSF.format(/^#\d+$/.test(code) ? Number(code.slice(1)) : code, v, options);
  } catch (e) {
    shown = `(ssf error: ${e.message})`;
  }
  if (comment.startsWith('excel:')) {
    ++kept;
    const reason = comment.replace(/; ssf shows «[^»]*»$/, '');
    return [code, value, expected, `${reason}; ssf shows «${shown}»`].join('\t');
  }
  if (shown !== expected) ++changed;
  return [code, value, shown, 'ssf'].join('\t');
});
fs.writeFileSync(file, out.join('\n'));
console.log(`${lines.length} lines: ${changed} expected texts from ssf changed, ${kept} Excel rows kept`);
