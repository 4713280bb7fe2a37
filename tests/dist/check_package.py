"""Checks the release zip that scripts/make-dist.sh made: its listing, the version in every place
it shows, the DLLs' machines and exports, the import libraries' symbols and import names, the
C# sample's declarations against the header, and that the two guides carry the same code.

    check_package.py ZIP KESPRINT-VERSION-LINE BLOCKS-DIR
The guides' C code blocks are left in BLOCKS-DIR as guide-N.c, for the compilers. Prints one line per failure and a summary; exits 1 on any failure."""
import os
import re
import subprocess
import sys
import tempfile
import zipfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import pe_resources  # noqa: E402

failures = []
passed = 0


def check(condition, message):
    global passed
    if condition:
        passed += 1
    else:
        failures.append(message)


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


archive_path, kesprint_line, blocks_dir = sys.argv[1], sys.argv[2].strip(), sys.argv[3]
version = re.fullmatch(r"KesDataPrint-(\d+\.\d+\.\d+)\.zip", os.path.basename(archive_path)).group(1)
top = "KesDataPrint-%s/" % version

# (machine name in the package, PE machine, llvm-readobj's format, the symbols an MSVC build of the
# header's cdecl declaration references)
MACHINES = [
    ("x86", 0x14C, "COFF-i386", {"_SetDllFormPRec", "__imp__SetDllFormPRec"}),
    ("x64", 0x8664, "COFF-x86-64", {"SetDllFormPRec", "__imp_SetDllFormPRec"}),
]

expected = {top + name for name in [
    "include/KesDataPrint.h", "lib/KesDataPrint.def",
    "samples/c/host.c", "samples/csharp/KesHostSample.cs",
    "docs/integration-guide.en.md", "docs/integration-guide.zh.md",
] + ["%s/%s" % (m, f) for m, *_ in MACHINES for f in ("KesDataPrint.dll", "KesHost.exe")]
  + ["lib/%s/%s" % (m, f) for m, *_ in MACHINES for f in ("KesDataPrint.lib", "libKesDataPrint.dll.a")]}

with tempfile.TemporaryDirectory() as folder, zipfile.ZipFile(archive_path) as archive:
    listed = set(archive.namelist())
    check(listed == expected, "listing: missing %s, unexpected %s" % (sorted(expected - listed), sorted(listed - expected)))
    check(archive.testzip() is None, "a member's CRC does not match")
    archive.extractall(folder)
    root = os.path.join(folder, top)

    check(kesprint_line == "kesprint " + version, "kesprint --version says %r, the package %s" % (kesprint_line, version))

    for name, pe_machine, coff_format, msvc_symbols in MACHINES:
        dll = os.path.join(root, name, "KesDataPrint.dll")
        for binary in (dll, os.path.join(root, name, "KesHost.exe")):
            check(pe_resources.machine(binary) == pe_machine, "%s/%s is not for %s" % (name, os.path.basename(binary), name))
        check(pe_resources.exports(dll) == ["SetDllFormPRec"], "%s DLL exports %s" % (name, pe_resources.exports(dll)))

        info = pe_resources.version_info(dll)
        dotted = version + ".0"
        check(info["file_version"] == dotted and info["product_version"] == dotted,
              "%s DLL's fixed version %s/%s, not %s" % (name, info["file_version"], info["product_version"], dotted))
        check(sorted(info["translations"]) == [(0x0409, 1200), (0x0804, 1200)],
              "%s DLL's translations %s" % (name, info["translations"]))
        for language in ("040904b0", "080404b0"):
            strings = info["strings"].get(language, {})
            for key in ("ProductName", "FileDescription", "CompanyName", "LegalCopyright"):
                check(strings.get(key, "").strip(), "%s DLL's %s %s is empty" % (name, language, key))
            for key in ("FileVersion", "ProductVersion"):
                check(strings.get(key) == version, "%s DLL's %s %s is %r" % (name, language, key, strings.get(key)))
            check(strings.get("OriginalFilename") == "KesDataPrint.dll",
                  "%s DLL's %s OriginalFilename is %r" % (name, language, strings.get("OriginalFilename")))
        chinese = info["strings"].get("080404b0", {})
        check(all(re.search("[\u4e00-\u9fff]", chinese.get(k, "")) for k in ("ProductName", "FileDescription")),
              "%s DLL's Chinese product name and description are not in Chinese: %s" % (name, chinese))

        # MSVC's import library: one short import member naming the DLL, the symbols a cdecl
        # declaration compiles to, and the name the loader will look up in the DLL's exports.
        dump = run("llvm-readobj", os.path.join(root, "lib", name, "KesDataPrint.lib"))
        members = [block for block in dump.split("\nFile: ") if "Format: COFF-import-file" in block]
        check(len(members) == 1, "%s KesDataPrint.lib has %d import members" % (name, len(members)))
        for member in members:
            fields = dict(re.findall(r"^(Type|Name type): (.*)$", member, re.M))
            symbols = set(re.findall(r"^Symbol: (.*)$", member, re.M))
            dll_name = member.split("\n", 1)[0].split("(")[-1].rstrip(")")
            check(dll_name == "KesDataPrint.dll", "%s KesDataPrint.lib imports from %r" % (name, dll_name))
            check(fields.get("Type") == "code", "%s KesDataPrint.lib's entry is %r, not code" % (name, fields.get("Type")))
            check(symbols == msvc_symbols, "%s KesDataPrint.lib defines %s, MSVC looks for %s" % (name, sorted(symbols), sorted(msvc_symbols)))
            public = min(symbols, key=len)
            imported = {"name": public, "noprefix": public.lstrip("_?@"), "undecorate": public.lstrip("_?@").split("@")[0]}.get(fields.get("Name type"))
            check(imported == "SetDllFormPRec", "%s KesDataPrint.lib makes the loader import %r" % (name, imported))
        check(("Format: %s" % coff_format) in dump, "%s KesDataPrint.lib is not %s" % (name, coff_format))

        # MinGW's import library defines the same symbols as MSVC's.
        defined = set(re.findall(r"^\S* *[TI] (\S+)$", run("llvm-nm", os.path.join(root, "lib", name, "libKesDataPrint.dll.a")), re.M))
        check(msvc_symbols <= defined, "%s libKesDataPrint.dll.a lacks %s" % (name, sorted(msvc_symbols - defined)))

    # The C# sample's constants and P/Invoke declaration against the header.
    header = open(os.path.join(root, "include/KesDataPrint.h"), encoding="ascii").read()
    defines = dict(re.findall(r"^#define (KESDATAPRINT_\w+) +(\S+)", header, re.M))
    csharp = open(os.path.join(root, "samples/csharp/KesHostSample.cs"), encoding="utf-8-sig").read()
    constants = re.findall(r"public const (?:int|string) \w+ = ([^;]+);\s*// (KESDATAPRINT_\w+)", csharp)
    check(len(constants) >= 6, "the C# sample names %d of the header's constants" % len(constants))
    for value, macro in constants:
        header_value = defines.get(macro, "").lstrip("L")
        as_number = lambda text: int(text, 0) if re.fullmatch(r"0x[0-9A-Fa-f]+|\d+", text) else text
        check(as_number(value.strip()) == as_number(header_value), "C# %s = %s, header %s" % (macro, value, header_value))
    dll_import = re.search(r"\[DllImport\(([^]]*)\)\]\s*public static extern int (\w+)\(([^)]*)\)", csharp)
    check(dll_import is not None, "the C# sample has no DllImport of the entry")
    if dll_import:
        attributes, _, parameters = dll_import.groups()
        declared = re.search(r"int __cdecl SetDllFormPRec\(([^)]*)\)", header).group(1)
        check('"KesDataPrint.dll"' in attributes and 'EntryPoint = %s' % defines["KESDATAPRINT_ENTRY_NAME"] in attributes,
              "the C# DllImport names another DLL or entry: %s" % attributes)
        check("CallingConvention.Cdecl" in attributes and "CharSet.Ansi" in attributes,
              "the C# DllImport is not cdecl with ANSI texts: %s" % attributes)
        check(len(parameters.split(",")) == len(declared.split(",")) and parameters.startswith("ref IntPtr"),
              "the C# parameters (%s) do not match the header's (%s)" % (parameters, declared))

    # One code for both readers: the guides' code blocks are the same, in the same order.
    blocks = {}
    for language in ("en", "zh"):
        text = open(os.path.join(root, "docs/integration-guide.%s.md" % language), encoding="utf-8").read()
        blocks[language] = re.findall(r"^```(\w+)\n(.*?)^```", text, re.M | re.S)
    check(blocks["en"] and blocks["en"] == blocks["zh"], "the English and Chinese guides show different code")
    for index, (language, code) in enumerate(blocks["en"]):
        if language == "c":
            with open(os.path.join(blocks_dir, "guide-%d.c" % index), "w") as out:
                out.write(code)

for failure in failures:
    print("FAIL", failure)
print("package %s: %d passed, %d failed" % (os.path.basename(archive_path), passed, len(failures)))
sys.exit(1 if failures else 0)
