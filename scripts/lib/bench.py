"""What scripts/bench measures: one row each, with its aim. A row's function gives two figures of one round, times in
milliseconds or counts, and the row is their quotient, so that whatever else the machine does meets both. The table
shows medians over all rounds."""
import base64
import functools
import hashlib
import os
import re
import statistics
import subprocess
import sys
import time

ROUNDS = 5
DATA, BUILT = os.path.abspath("build/bench"), os.path.abspath("build/win32")
LARGE, FOLDER, TEXT = DATA + "/large", DATA + "/files", DATA + "/written.txt"
HELPERS = BUILT + "/tools/Bench"
CHILD, NOTHING = BUILT + "/Kelvarin.exe", HELPERS + "/kelvarin_bench_nothing.exe"


def windows(path):
    return "Z:" + path.replace("/", "\\") if path.startswith("/") else path


def run(*command):
    return subprocess.run(command, check=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True).stdout


def product(*arguments):
    """The figures that the product's helper prints, in milliseconds."""
    answer = run("wine", HELPERS + "/kelvarin_bench.exe", *map(windows, arguments), "-l" + windows(DATA + "/log"))
    return [float(figure) for figure in answer.split()]


def tool(*command):
    start = time.perf_counter()
    run(*command)
    return 1000 * (time.perf_counter() - start)


def walk(entries):
    load, dom = product("load", f"{DATA}/load{entries}.xml")
    return load - dom, dom


@functools.cache
def requests(files=10000):
    """Counted, so once is enough. The difference between two checks leaves out what a process start asks for; the check
    before them bears what follows the server's own start."""
    def count(entries):
        start = trace.seek(0, os.SEEK_END)
        product("check", f"{DATA}/check{entries}.xml")
        trace.seek(start)
        return sum(1 for line in trace if re.match(r"[0-9a-f]+: \w+\( ", line))
    run("wineserver", "-k")
    run("wineserver", "-w")
    with open(DATA + "/requests.log", "w+", errors="replace") as trace:
        with subprocess.Popen(["wineserver", "-f", "-p", "-d1"], stderr=trace):
            count(files)
            difference = count(2 * files) - count(files)
            run("wineserver", "-k")
    run("wineserver", "-p")
    run("wine", "cmd", "/c", "exit")
    return difference, files


ROWS = [
    ("Hash 256 MiB, best form: times as fast as sha1sum", ">=", 1.5,
     lambda: (tool("sha1sum", LARGE), product("hash", LARGE)[0])),
    ("Hash 256 MiB, portable form: times as fast as sha1sum", ">=", 0.9,
     lambda: (tool("sha1sum", LARGE), product("hash", LARGE)[1])),
    ("Requests to the server for a file with size and digest", "<=", 5, requests),
    ("Check 20,000 files of 4 KiB: times the time of sha1sum -c", "<=", 7,
     lambda: (*product("check", DATA + "/check20000.xml"), tool("sha1sum", "--quiet", "-c", DATA + "/check20000.sha1"))),
    ("Walk 100,000 entries: part of the DOM's own load", "<=", 0.2, lambda: walk(100000)),
    ("Walk, growth from 10,000 to 100,000 entries", "<=", 12, lambda: (walk(100000)[0], walk(10000)[0])),
    ("Result lines a second: part of a native program's", ">=", 0.6,
     lambda: (float(run(DATA + "/lines", TEXT, "500000")), *product("lines", TEXT, "500000"))),
    ("Start of a child with nothing to do: times a trivial one's", "<=", 1.5,
     lambda: product("children", f"{windows(CHILD)} -collect:asio -silent -l{windows(DATA)}\\log", NOTHING)),
    ("List 50,000 files: times the bare calls", "<=", 1.3, lambda: product("listing", FOLDER, TEXT)),
    ("Device tree, growth from 10,000 to 100,000 nodes", "<=", 12,
     lambda: (*product("tree", TEXT, "100000"), *product("tree", TEXT, "10000"))),
]


def make_manifest(name, files, values):
    with open(f"{DATA}/{name}.xml", "w") as file:
        file.write(f"<installchecker><file-infos><directory name='{windows(FOLDER)}'>\n" + "".join(files) +
                   "</directory></file-infos><registry-infos><key name='HKEY_LOCAL_MACHINE\\SOFTWARE\\Tolvane'>\n")
        for n in range(values):
            file.write(f"<value name='Value{n:05}' type='REG_SZ' value='text of value {n}'/>\n")
        file.write("</key></registry-infos></installchecker>\n")


def make_data():
    run("rm", "-rf", DATA)
    os.makedirs(FOLDER)
    run("cc", "-O2", "-o", DATA + "/lines", "tools/Bench/Lines.c")
    with open(LARGE, "wb") as large:
        large.write(os.urandom(256 << 20))
    files = []
    with open(DATA + "/check20000.sha1", "w") as sums:
        for n in range(50000):
            name, content = f"file{n:05}.dat", os.urandom(4096)
            digest = hashlib.sha1(content)
            with open(f"{FOLDER}/{name}", "wb") as file:
                file.write(content)
            if n < 20000:
                sums.write(f"{digest.hexdigest()}  {FOLDER}/{name}\n")
            files.append(f"<file name='{name}' size='4096' sha1='{base64.b64encode(digest.digest()).decode()}'/>\n")
    for count in (10000, 20000):
        make_manifest(f"check{count}", files[:count], 0)
    for count in (10000, 100000):
        half = [file.replace(" size", f" version='1.0.0.{count}' size") for file in files[:count // 2]]
        make_manifest(f"load{count}", half, count // 2)


def main(words):
    make_data()
    rows = [row for row in ROWS if not words or any(word in row[0] for word in words)]
    rounds = [[row[3]() for row in rows] for _ in range(ROUNDS)]
    print(f"{'':58} {'measured':>8} {'spread':>11}  {'aim':6} {'':6}  quotient of")
    for (what, sense, aim, _), figures in zip(rows, zip(*rounds)):
        first, second = (statistics.median(column) for column in zip(*figures))
        ratios = sorted(a / b for a, b in figures)
        ratio = statistics.median(ratios)
        verdict = "met" if (ratio >= aim if sense == ">=" else ratio <= aim) else "missed"
        print(f"{what:58} {ratio:8.2f} {ratios[0]:5.2f}-{ratios[-1]:5.2f}  {sense} {aim:<3} {verdict:6}"
              f"  {first:.1f} / {second:.1f}")
    run("rm", "-rf", LARGE, FOLDER)


main(sys.argv[1:])
