#!/usr/bin/env python3
"""Writes src/text/code_page_tables.cpp: the tables by which texts of old Excel files decode in
the code page the file names, made once from Python's codecs so that the product carries its own
(the same on every system, whatever code pages the system has).
Single-byte code pages: the characters of bytes 0x80-0xFF; a byte the code page leaves undefined
keeps its value as a character, as Windows decodes it. Double-byte code pages: the characters of
single bytes 0x80-0xFF (0 for a lead byte or an undefined one), then one row of 191 characters
(trail bytes 0x40-0xFE) per lead byte, 0 where the pair means nothing."""
import os

root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SINGLE = [(437, "cp437"), (737, "cp737"), (775, "cp775"), (850, "cp850"), (852, "cp852"), (855, "cp855"),
          (857, "cp857"), (860, "cp860"), (861, "cp861"), (862, "cp862"), (863, "cp863"), (864, "cp864"),
          (865, "cp865"), (866, "cp866"), (869, "cp869"), (874, "cp874"), (1250, "cp1250"), (1251, "cp1251"),
          (1252, "cp1252"), (1253, "cp1253"), (1254, "cp1254"), (1255, "cp1255"), (1256, "cp1256"),
          (1257, "cp1257"), (1258, "cp1258"), (10000, "mac_roman"), (10006, "mac_greek"),
          (10007, "mac_cyrillic"), (10029, "mac_latin2"), (10079, "mac_iceland"), (10081, "mac_turkish")]
DOUBLE = [(932, "cp932", 0x81, 0xFC), (936, "gbk", 0x81, 0xFE), (949, "cp949", 0x81, 0xFE), (950, "cp950", 0x81, 0xFE)]


def single(codec):
    out = []
    for b in range(0x80, 0x100):
        try:
            out.append(ord(bytes([b]).decode(codec)))
        except UnicodeDecodeError:
            out.append(b)
    return out


def double(codec, first, last):
    out = []
    for b in range(0x80, 0x100):
        if codec == "gbk" and b == 0x80:   # Windows' code page 936 has the euro sign there
            out.append(0x20AC)
            continue
        try:
            text = bytes([b]).decode(codec)
            out.append(ord(text) if len(text) == 1 else 0)
        except UnicodeDecodeError:
            out.append(0)
    for lead in range(first, last + 1):
        for trail in range(0x40, 0xFF):
            try:
                text = bytes([lead, trail]).decode(codec)
                out.append(ord(text) if len(text) == 1 and ord(text) < 0x10000 else 0)
            except UnicodeDecodeError:
                out.append(0)
    return out


def array(name, values):
    """A UTF-16 literal written as the characters themselves, escaped where a character is a
    control, a quote or a backslash: a third the size of a list of numbers."""
    def text(v):
        if v < 0x20 or 0x7F <= v < 0xA0 or v in (0x22, 0x5C, 0x3F):
            return f"\\u{v:04X}"
        return chr(v)
    lines = [f"constexpr char16_t {name}[] ="]
    for i in range(0, len(values), 64):
        lines.append('    u"' + "".join(text(v) for v in values[i:i + 64]) + '"')
    lines[-1] += ";"
    return "\n".join(lines)


parts = ["// Made by scripts/make_code_page_tables.py; regenerate rather than edit.",
         '#include "text/code_page_tables.h"', "", "#include <iterator>", "", "namespace kes {", "namespace {", ""]
for number, codec in SINGLE:
    parts.append(array(f"kSingle{number}", single(codec)))
for number, codec, first, last in DOUBLE:
    parts.append(array(f"kDouble{number}", double(codec, first, last)))
parts += ["", "}  // namespace", "",
          "const SingleByteTable kSingleByteTables[] = {"]
parts += [f"    {{{number}, kSingle{number}}}," for number, _ in SINGLE]
parts += ["};", "const size_t kSingleByteTableCount = std::size(kSingleByteTables);", "",
          "const DoubleByteTable kDoubleByteTables[] = {"]
parts += [f"    {{{number}, 0x{first:02X}, 0x{last:02X}, kDouble{number}}},"
          for number, _, first, last in DOUBLE]
parts += ["};", "const size_t kDoubleByteTableCount = std::size(kDoubleByteTables);", "", "}  // namespace kes", ""]
with open(os.path.join(root, "src", "text", "code_page_tables.cpp"), "w") as f:
    f.write("\n".join(parts))
