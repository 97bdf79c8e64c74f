#!/usr/bin/env python3
"""Times arwren against llvm-ar and GNU ar on the same work, side by side.

Every case runs each tool in turn (alternating, so that drift of the machine
hits all of them alike), repeats that at least five times, and reports the
median wall time of each tool and arwren's ratio to the others.

    python3 bench/run.py [--arwren build/release/arwren] [--runs 7]
"""
import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

NEWLIB = "/usr/lib/arm-none-eabi/newlib/libc.a"


def run(cmd, cwd):
    subprocess.run(cmd, cwd=cwd, check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)


def timed(cmd, cwd, prepare=None):
    if prepare:
        prepare()
    start = time.perf_counter()
    run(cmd, cwd)
    return time.perf_counter() - start


def peak_rss_kib(cmd, cwd):
    """Peak resident size of one run of cmd, in KiB, as /usr/bin/time sees it
    (the kernel's figure for a child of this script would include the
    script's own memory from before the exec)."""
    res = subprocess.run(["/usr/bin/time", "-f", "%M"] + cmd, cwd=cwd, check=True,
                         stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    return int(res.stderr.strip().splitlines()[-1])


def compare(title, tools, runs):
    """tools: list of (name, cmd, cwd, prepare). Prints medians and ratios."""
    samples = {name: [] for name, *_ in tools}
    for _ in range(runs):
        for name, cmd, cwd, prepare in tools:
            samples[name].append(timed(cmd, cwd, prepare))
    med = {name: statistics.median(v) for name, v in samples.items()}
    line = "%-34s" % title
    for name in med:
        line += "  %s %8.1f ms" % (name, med[name] * 1000)
    base = med.get("arwren")
    for name in med:
        if name != "arwren" and base:
            line += "  arwren/%s %.2fx" % (name, base / med[name])
    print(line, flush=True)
    return med


def create_keys(arwren):
    """How each tool builds a new archive with a symbol index from a list of files.

    arwren's "a" appends every file without looking for a member of the same
    name, which is what "q" does in the other two; their "r" searches the
    member list for every file (quadratic in GNU ar). Both peers write the
    symbol index on "q" as well ("qs" would make GNU ar behave as "r").
    """
    return (("arwren", [arwren, "aq"]), ("llvm-ar", ["llvm-ar", "qc"]),
            ("gnu-ar", ["ar", "qc"]))


def extract_newlib(work):
    src = os.path.join(work, "libc")
    os.makedirs(src)
    run(["ar", "x", NEWLIB], src)
    names = subprocess.run(["ar", "t", NEWLIB], check=True, capture_output=True,
                           text=True).stdout.split()
    return src, names


def bench_newlib(arwren, work, runs):
    src, names = extract_newlib(work)
    out = os.path.join(work, "out")
    os.makedirs(out)

    def fresh(path):
        return lambda: os.path.exists(path) and os.remove(path)

    tools = []
    for tool, cmd in create_keys(arwren):
        target = os.path.join(out, tool + ".a")
        tools.append((tool, cmd + [target] + names, src, fresh(target)))
    compare("create libc.a (%d members)" % len(names), tools, runs)


def make_small_members(work, count):
    src = os.path.join(work, "small")
    os.makedirs(src)
    names = []
    for i in range(count):
        name = "m%05d.o" % i
        with open(os.path.join(src, name), "wb") as f:
            f.write(b"member %d\n" % i * (1 + i % 7))
        names.append(name)
    return src, names


def bench_small(arwren, work, runs, count):
    src, names = make_small_members(work, count)
    touch_all = lambda: [os.utime(os.path.join(src, n)) for n in names]
    create = dict(create_keys(arwren))
    cmds = {
        "arwren": dict(create=create["arwren"], list=[arwren, "t"], extract=[arwren, "x"],
                       replace=[arwren, "rq"]),
        "llvm-ar": dict(create=create["llvm-ar"], list=["llvm-ar", "tv"],
                        extract=["llvm-ar", "x"], replace=["llvm-ar", "rs"]),
        "gnu-ar": dict(create=create["gnu-ar"], list=["ar", "tv"], extract=["ar", "x"],
                       replace=["ar", "rs"]),
    }
    archives = {t: os.path.join(work, "small-%s.a" % t) for t in cmds}
    outdirs = {t: os.path.join(work, "x-%s" % t) for t in cmds}
    for d in outdirs.values():
        os.makedirs(d)

    def rm(path):
        return lambda: os.path.exists(path) and os.remove(path)

    res = {}
    res["create"] = compare("create %d small members" % count,
                            [(t, c["create"] + [archives[t]] + names, src, rm(archives[t]))
                             for t, c in cmds.items()], runs)
    compare("list %d members" % count,
            [(t, c["list"] + [archives[t]], src, None) for t, c in cmds.items()], runs)
    compare("extract %d members" % count,
            [(t, c["extract"] + [archives[t]], outdirs[t], None) for t, c in cmds.items()], runs)
    compare("replace one of %d" % count,
            [(t, c["replace"] + [archives[t], names[count // 2]], src, None)
             for t, c in cmds.items()], runs)
    res["replace_all"] = compare("replace all %d" % count,
                                 [(t, c["replace"] + [archives[t]] + names, src, touch_all)
                                  for t, c in cmds.items()], runs)
    ratio = res["replace_all"]["arwren"] / res["create"]["arwren"]
    print("%-34s  arwren replace-all / create %.2fx" % ("linearity", ratio), flush=True)


def bench_memory(arwren, work):
    """Peak memory of arwren creating archives of small and of large members."""
    line = "%-34s" % "peak RSS creating 4 members of"
    for mib in (1, 64):
        d = os.path.join(work, "mem%d" % mib)
        os.makedirs(d)
        names = []
        for i in range(4):
            name = "big%d.bin" % i
            with open(os.path.join(d, name), "wb") as f:
                f.write(os.urandom(1 << 20) * mib)
            names.append(name)
        kib = peak_rss_kib([arwren, "aq", "out.a"] + names, d)
        line += "  %d MiB: %d KiB" % (mib, kib)
    print(line, flush=True)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    ap = argparse.ArgumentParser()
    ap.add_argument("--arwren", default=os.path.join(here, "..", "build", "release", "arwren"))
    ap.add_argument("--runs", type=int, default=7)
    ap.add_argument("--small", type=int, default=20000)
    args = ap.parse_args()
    arwren = os.path.abspath(args.arwren)
    for tool, package in (("llvm-ar", "llvm"), ("ar", "binutils"), ("/usr/bin/time", "time")):
        if not shutil.which(tool):
            sys.exit("bench: %s not found (Debian package %s)" % (tool, package))
    if not os.path.exists(NEWLIB):
        sys.exit("bench: %s not found (Debian package libnewlib-arm-none-eabi)" % NEWLIB)
    runs = max(5, args.runs)
    with tempfile.TemporaryDirectory() as work:
        bench_newlib(arwren, work, runs)
        bench_small(arwren, work, runs, args.small)
        bench_memory(arwren, work)


if __name__ == "__main__":
    main()
