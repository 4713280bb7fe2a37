#!/usr/bin/env python3
"""Turns an X window dump (xwd -root) into a PNG, with nothing but the standard library."""
import struct, sys, zlib
data = open(sys.argv[1], 'rb').read()
hdr = struct.unpack('>25I', data[:100])
header_size, _, _, depth, width, height = hdr[0], hdr[1], hdr[2], hdr[3], hdr[4], hdr[5]
bpl, ncolors, bpp = hdr[12], hdr[19], hdr[11]
byte_order = hdr[7]
off = header_size + ncolors * 12
out = bytearray()
for y in range(height):
    step = bpp // 8
    row = data[off + y * bpl: off + y * bpl + width * step]
    out.append(0)
    b = bytearray(width * 3)
    if byte_order == 0:  # LSBFirst: B G R [X]
        b[0::3] = row[2::step]; b[1::3] = row[1::step]; b[2::3] = row[0::step]
    else:
        b[0::3] = row[step - 3::step]; b[1::3] = row[step - 2::step]; b[2::3] = row[step - 1::step]
    out += b
def chunk(t, d): return struct.pack('>I', len(d)) + t + d + struct.pack('>I', zlib.crc32(t + d) & 0xffffffff)
open(sys.argv[2], 'wb').write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 2, 0, 0, 0)) + chunk(b'IDAT', zlib.compress(bytes(out), 6)) + chunk(b'IEND', b''))
