#!/usr/bin/env python3
"""Writes a sample module file: make-module.py FILE VERSION

A .TVM file holds a four-part version at offset 2, as two little-endian numbers of 32 bits. A .TVL file holds two
big-endian words there, algorithm and version; its VERSION is "version.algorithm".
"""
import hashlib
import pathlib
import struct
import sys

path = pathlib.Path(sys.argv[1])
numbers = [int(part) for part in sys.argv[2].split(".")]
if path.suffix == ".TVL":
    version, algorithm = numbers
    header = b"TL" + struct.pack(">2H", algorithm, version)
else:
    major, minor, build, revision = numbers
    header = b"TV" + struct.pack("<2I", major << 16 | minor, build << 16 | revision)
# Content of some length that is the same in every build.
content = b"".join(hashlib.sha256(b"%s %d" % (path.name.encode(), block)).digest() for block in range(256))
path.write_bytes(header + content)
