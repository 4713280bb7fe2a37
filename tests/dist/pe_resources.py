"""Reads what Windows shows on a DLL's Details tab (its version resource) and the names it
exports, straight from the PE file: every offset is checked against the file's size."""
import struct

RT_VERSION = 16


class PEError(Exception):
    pass


class PEFile:
    def __init__(self, data):
        self.data = data
        if data[:2] != b"MZ":
            raise PEError("no MZ header")
        pe = self._u32(0x3C)
        if data[pe:pe + 4] != b"PE\0\0":
            raise PEError("no PE signature")
        self.machine, sections = struct.unpack_from("<HH", data, pe + 4)
        optional_size = self._u16(pe + 20)
        optional = pe + 24
        magic = self._u16(optional)
        directories = optional + {0x10B: 96, 0x20B: 112}.get(magic, -1)
        if directories < optional:
            raise PEError("unknown optional header 0x%x" % magic)
        self.directories = [struct.unpack_from("<II", data, directories + 8 * i) for i in range(16)]
        table = optional + optional_size
        self.sections = [struct.unpack_from("<8sIIII", data, table + 40 * i) for i in range(sections)]

    def _u16(self, offset):
        self._check(offset, 2)
        return struct.unpack_from("<H", self.data, offset)[0]

    def _u32(self, offset):
        self._check(offset, 4)
        return struct.unpack_from("<I", self.data, offset)[0]

    def _check(self, offset, size):
        if offset < 0 or offset + size > len(self.data):
            raise PEError("offset 0x%x+%d beyond the file's %d bytes" % (offset, size, len(self.data)))

    def offset(self, rva):
        for _, virtual_size, address, raw_size, raw in self.sections:
            if address <= rva < address + max(virtual_size, raw_size):
                return raw + rva - address
        raise PEError("address 0x%x in no section" % rva)

    def exports(self):
        rva, size = self.directories[0]
        if not size:
            return []
        base = self.offset(rva)
        count, names = self._u32(base + 24), self.offset(self._u32(base + 32))
        out = []
        for i in range(count):
            start = self.offset(self._u32(names + 4 * i))
            end = self.data.index(b"\0", start)
            out.append(self.data[start:end].decode("ascii"))
        return out

    def resource(self, type_id, name_id):
        rva, size = self.directories[2]
        if not size:
            raise PEError("no resources")
        root = self.offset(rva)

        def entries(directory):
            named, ids = struct.unpack_from("<HH", self.data, directory + 12)
            self._check(directory + 16, 8 * (named + ids))
            return [struct.unpack_from("<II", self.data, directory + 16 + 8 * i) for i in range(named + ids)]

        def child(directory, wanted):
            for ident, target in entries(directory):
                if wanted is None or ident == wanted:
                    return target
            raise PEError("resource %s not found" % wanted)

        level = child(root, type_id)
        level = child(root + (level & 0x7FFFFFFF), name_id)
        leaf = child(root + (level & 0x7FFFFFFF), None)
        if leaf & 0x80000000:
            raise PEError("resource tree deeper than type/name/language")
        data_rva, data_size = struct.unpack_from("<II", self.data, root + leaf)
        start = self.offset(data_rva)
        self._check(start, data_size)
        return self.data[start:start + data_size]


def _align4(offset):
    return (offset + 3) & ~3


def _node(block, offset):
    """One node of a version resource: (key, value, children, end)."""
    if offset + 6 > len(block):
        raise PEError("version node at %d cut short" % offset)
    length, value_length, kind = struct.unpack_from("<HHH", block, offset)
    end = offset + length
    if length < 6 or end > len(block):
        raise PEError("version node at %d claims %d bytes" % (offset, length))
    key_end = offset + 6
    while block[key_end:key_end + 2] != b"\0\0":
        key_end += 2
        if key_end >= end:
            raise PEError("version node key at %d unterminated" % offset)
    key = block[offset + 6:key_end].decode("utf-16-le")
    value_start = _align4(key_end + 2)
    value_bytes = value_length * 2 if kind == 1 else value_length
    value = block[value_start:min(value_start + value_bytes, end)]
    if kind == 1:
        value = value.decode("utf-16-le").split("\0")[0]
    children = []
    child = _align4(value_start + value_bytes)
    while child < end:
        node = _node(block, child)
        children.append(node[:3])
        child = _align4(node[3])
    return key, value, children, end


def version_info(path):
    """{'file_version': 'a.b.c.d', 'product_version': ..., 'strings': {'040904b0': {...}},
    'translations': [(0x0409, 1200), ...]}"""
    pe = PEFile(open(path, "rb").read())
    key, fixed, children, _ = _node(pe.resource(RT_VERSION, 1), 0)
    if key != "VS_VERSION_INFO" or len(fixed) < 52:
        raise PEError("not a version resource: %r" % key)
    signature, _, file_ms, file_ls, product_ms, product_ls = struct.unpack_from("<6I", fixed)
    if signature != 0xFEEF04BD:
        raise PEError("fixed file info signature 0x%x" % signature)

    def dotted(ms, ls):
        return "%d.%d.%d.%d" % (ms >> 16, ms & 0xFFFF, ls >> 16, ls & 0xFFFF)

    info = {"file_version": dotted(file_ms, file_ls), "product_version": dotted(product_ms, product_ls),
            "strings": {}, "translations": []}
    for name, _, tables in children:
        if name == "StringFileInfo":
            for language, _, strings in tables:
                info["strings"][language.lower()] = {k: v for k, v, _ in strings}
        elif name == "VarFileInfo":
            for _, value, _ in tables:
                words = struct.unpack("<%dH" % (len(value) // 2), value[:len(value) // 2 * 2])
                info["translations"] += list(zip(words[0::2], words[1::2]))
    return info


def machine(path):
    return PEFile(open(path, "rb").read()).machine


def exports(path):
    return PEFile(open(path, "rb").read()).exports()
