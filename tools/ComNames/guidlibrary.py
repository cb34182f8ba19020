"""Reads the values of GUIDs that a header only declares, from the static libraries behind it."""

import struct


def objects_of(archive):
    """The COFF objects in the bytes of an ar archive."""
    at = 8
    while at + 60 <= len(archive):
        size = int(archive[at + 48:at + 58])
        yield archive[at + 60:at + 60 + size]
        at += 60 + size + size % 2


def guids_of(folder, *libraries):
    """Public constants of 16 bytes as {symbol: the eleven numbers of a GUID}; the last wins."""
    guids = {}
    for coff in (o for name in libraries for o in objects_of((folder / name).read_bytes())):
        # The archive's own index and name table come without this machine type.
        if coff[:2] != b"\x4c\x01":
            continue
        sections, _, table, count = struct.unpack_from("<HIII", coff, 2)
        strings = table + 18 * count
        for at in range(table, strings, 18):
            value, section, _, storage = struct.unpack_from("<IhHB", coff, at + 8)
            if storage != 2 or not 0 < section <= sections:
                continue
            if coff[at:at + 4] == bytes(4):
                start = strings + struct.unpack_from("<I", coff, at + 4)[0]
                symbol = coff[start:coff.index(0, start)]
            else:
                symbol = coff[at:at + 8].rstrip(b"\0")
            size, raw = struct.unpack_from("<II", coff, 20 + 40 * (section - 1) + 16)
            if value + 16 <= size:
                guid = struct.unpack_from("<IHH8B", coff, raw + value)
                # On 32-bit x86 every C name carries one underscore more.
                guids[symbol.decode("ascii")[1:]] = guid
    return guids
