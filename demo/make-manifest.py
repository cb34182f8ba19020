#!/usr/bin/env python3
"""Fills in a manifest from the files that it describes: make-manifest.py TEMPLATE PRODUCT >Kelvarin.xml

Each empty attribute of a file element gets its value from that file; what the template leaves out stays out. PRODUCT
holds one folder for each path token, named like the token.
"""
import base64
import hashlib
import pathlib
import re
import struct
import sys

ELEMENT = re.compile(r'<directory\b[^>]*\bname="(?P<directory>[^"]*)"|<file\b[^>]*\bname="(?P<file>[^"]*)"[^>]*>')
FIXED_FILE_INFO = struct.pack("<2I", 0xFEEF04BD, 0x00010000)
COMMON_NAME = bytes.fromhex("0603550403")  # the object id 2.5.4.3 in DER


def version(name, data):
    """The version of a module file's header, else of the version resource, as the program prints it."""
    if name.upper().endswith(".TVM"):
        words = struct.unpack_from("<4h", data, 2)  # the program takes these as signed
    else:
        words = struct.unpack_from("<4H", data, data.index(FIXED_FILE_INFO) + len(FIXED_FILE_INFO))
    minor, major, revision, build = words
    return f"{major}.{minor}.{build}.{revision}"


def signer(data):
    """The common name in an embedded signature; with a self-signed certificate there is no other."""
    header = struct.unpack_from("<I", data, 0x3C)[0]
    start, size = struct.unpack_from("<2I", data, header + 24 + 96 + 4 * 8)  # data directory 4: certificates
    signature = data[start:start + size]
    text = signature.index(COMMON_NAME) + len(COMMON_NAME)  # behind it the string's type, length and bytes
    return signature[text + 2:text + 2 + signature[text + 1]].decode()


SOURCES = {
    "version": version,
    "size": lambda name, data: str(len(data)),
    "sha1": lambda name, data: base64.b64encode(hashlib.sha1(data).digest()).decode(),
    "digital-signature": lambda name, data: signer(data),
}


def fill(template, product):
    folder = None

    def element(match):
        nonlocal folder
        if match["directory"] is not None:
            folder = product / re.sub(r"\?\[(\w+)\]\?", r"\1", match["directory"]).replace("\\", "/")
        text = match[0]
        for attribute, source in SOURCES.items():
            if f' {attribute}=""' in text:
                value = source(match["file"], (folder / match["file"]).read_bytes())
                text = text.replace(f' {attribute}=""', f' {attribute}="{value}"')
        return text

    return ELEMENT.sub(element, template)


if __name__ == "__main__":
    sys.stdout.write(fill(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"), pathlib.Path(sys.argv[2])))
