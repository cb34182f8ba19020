#!/usr/bin/env python3
"""Writes data/ComNames.inc, the (GUID, name) rows of the platform's COM identities.

Reads:   the top-level *.h files of the mingw-w64 include directory, then libuuid.a and
         libstrmiids.a for what the headers only declare.
Writes:  one initializer row a line, for an array of struct { GUID; const wchar_t* }.
Run:     tools/ComNames/generate.py
         [--include DIR] [--libraries DIR] [--version 10.0.0-3] [--output FILE]
         Without --version, dpkg-query is asked for the version.

The same input gives the same bytes. Rows follow the order of FIRST_HEADERS, then the other
headers by name, and inside a header the order of the file; last comes what only a library
holds, by name. A GUID may stand in several rows under different names; the reader of the
table keeps the first.
"""

import argparse
import re
import struct
import subprocess
from pathlib import Path

from guidlibrary import guids_of

ROOT = Path(__file__).resolve().parents[2]
PACKAGE = "mingw-w64-common"
GUID_NULL = (0,) * 11

# The headers whose place in the table matters: OLE automation, ActiveX controls, DirectShow,
# then the base of COM, the shell and what scripts use.
FIRST_HEADERS = """
    oaidl.h ocidl.h
    strmif.h uuids.h control.h amvideo.h amaudio.h qedit.h qnetwork.h
    unknwn.h unknwnbase.h objidlbase.h objidl.h oleidl.h cguid.h comcat.h servprov.h urlmon.h
    shobjidl.h shlobj.h shlguid.h shldisp.h exdisp.h
    msxml.h msxml2.h dispex.h activscp.h netfw.h
""".split()

# Names that go ahead of their header's own order.
FIRST_NAMES = {
    "oaidl.h": ["IUnknown"],
    "strmif.h": ["IPin", "IEnumPins", "IFilterGraph", "IBaseFilter", "IReferenceClock"],
}

# Old or rare headers that give names of the others to other GUIDs. A lookup by name takes the
# smallest GUID, so that their rows could hide, say, DirectShow's IResourceManager.
LEFT_OUT = {"adoint_backcompat.h", "cdonts.h", "txdtc.h"}

# Slips of the package, with the values that the registry of interfaces has.
CORRECTIONS = {
    "IDHTMLSafe": (0xCE04B590, 0x2B1F, 0x11D2, 0x8D, 0x1E, 0, 0xA0, 0xC9, 0x59, 0xBC, 0x0A),
    "IXMLDOMImplementation":
        (0x2933BF8F, 0x7B36, 0x11D2, 0xB2, 0x0E, 0, 0xC0, 0x4F, 0x98, 0x3E, 0x60),
}

SYMBOL = r"(?:IID|DIID|CLSID)_(?P<name>\w+)"
NAME = rf"\s*{SYMBOL}\s*,"
NUMBERS = r"(?P<numbers>[^()]*)\)"
TEXT = r'"\{?(?P<text>[0-9A-Fa-f-]{36})\}?"'

# Every way in which a header ties a name to a GUID, with the numbers the macro itself adds.
FORMS = [(re.compile(pattern), tail) for pattern, tail in (
    (rf"\b(?:DEFINE_GUID|OUR_GUID_ENTRY|EXTERN_GUID)\s*\({NAME}{NUMBERS}", ()),
    (rf"\bDEFINE_(?:OLE|AVI)GUID\s*\({NAME}{NUMBERS}", (0xC0, 0, 0, 0, 0, 0, 0, 0x46)),
    (rf"\bDEFINE_DAOGUID\s*\({NAME}{NUMBERS}", (0, 16, 0x80, 0, 0, 0xAA, 0, 0x6D, 0x2E, 0xA4)),
    (rf"\b__CRT_UUID_DECL\s*\(\s*(?P<name>\w+)\s*,{NUMBERS}", ()),
    (rf"\bMIDL_INTERFACE\s*\(\s*{TEXT}\s*\)\s*(?P<name>\w+)\s*[:{{]", ()),
    (rf"\b(?:class|interface)\s+DECLSPEC_UUID\s*\(\s*{TEXT}\s*\)\s*(?P<name>\w+)\s*[;:{{]", ()),
    (rf"\bDECLARE_INTERFACE_IID_\s*\(\s*(?P<name>\w+)\s*,\s*\w+\s*,\s*{TEXT}\s*\)", ()),
)]
COMMENT = re.compile(r"/\*.*?\*/|//[^\n]*", re.DOTALL)
LONG_MACRO = re.compile(r"\b__MSABI_LONG\s*\(\s*(\w+)\s*\)")


def fields_of(match, tail):
    """The eleven numbers of a GUID, or None where the text is a macro's own definition."""
    parts = match.groupdict()
    if parts.get("text"):
        return struct.unpack(">IHH8B", bytes.fromhex(parts["text"].replace("-", "")))
    try:
        fields = tuple(int(p.strip().rstrip("UuLl"), 0) for p in parts["numbers"].split(",")) + tail
    except ValueError:
        return None
    return fields if len(fields) == 11 else None


def rows_of(header):
    """The (GUID, name) pairs of one header, in the order of the file."""
    text = LONG_MACRO.sub(r"\1", COMMENT.sub(" ", header.read_text(encoding="latin-1")))
    found = []
    for pattern, tail in FORMS:
        for match in pattern.finditer(text):
            fields = fields_of(match, tail)
            # Names with two leading underscores are mangled, nobody writes them by hand.
            if fields and fields != GUID_NULL and not match["name"].startswith("__"):
                found.append((match.start(), fields, match["name"]))
    return [(fields, name) for _, fields, name in sorted(found)]


def collect(include, libraries):
    headers = {path.name: path for path in include.glob("*.h") if path.name not in LEFT_OUT}
    order = FIRST_HEADERS + sorted(set(headers) - set(FIRST_HEADERS))
    rows = {name: rows_of(headers[name]) for name in order}
    result = [(GUID_NULL, "GUID_NULL")]
    for header in order:
        for wanted in FIRST_NAMES.get(header, []):
            result.append(next(row for name in order for row in rows[name] if row[1] == wanted))
        result += rows[header]
    names = {name.lower() for _, name in result}
    for symbol, fields in sorted(libraries.items()):
        match = re.fullmatch(SYMBOL, symbol)
        if match and fields != GUID_NULL and match["name"].lower() not in names:
            result.append((fields, match["name"]))

    # Where FooA, FooW and Foo share one GUID, the first of them is enough.
    kept = {}
    for fields, name in result:
        fields = CORRECTIONS.get(name, fields)
        kept.setdefault((fields, re.sub(r"[AW]$", "", name)), (fields, name))
    return list(kept.values())


def row_text(fields, name):
    tail = ", ".join(f"0x{byte:02x}" for byte in fields[3:])
    return (f"{{ {{ 0x{fields[0]:08x}, 0x{fields[1]:04x}, 0x{fields[2]:04x}, "
            f"{{ {tail} }} }}, L\"{name}\" }},")


def main():
    parser = argparse.ArgumentParser(description="Writes the table of COM names.")
    parser.add_argument("--include", type=Path, default="/usr/share/mingw-w64/include")
    parser.add_argument("--libraries", type=Path, default="/usr/i686-w64-mingw32/lib")
    parser.add_argument("--version")
    parser.add_argument("--output", type=Path, default=ROOT / "data" / "ComNames.inc")
    options = parser.parse_args()
    version = options.version or subprocess.check_output(
        ["dpkg-query", "-W", "-f", "${Version}", PACKAGE], text=True)

    rows = collect(options.include, guids_of(options.libraries, "libstrmiids.a", "libuuid.a"))
    lines = ["// COM interfaces and classes of the platform, with their public GUIDs.",
             f"// Origin: the headers and GUID libraries of mingw-w64 ({PACKAGE} {version}).",
             "// Generated by tools/ComNames/generate.py; change that, not this file."]
    lines += [row_text(fields, name) for fields, name in rows]
    options.output.write_text("\n".join(lines) + "\n", encoding="ascii", newline="\n")
    print(f"{options.output}: {len(rows)} rows, {len({row[0] for row in rows})} GUIDs")


if __name__ == "__main__":
    main()
