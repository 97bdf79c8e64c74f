#!/usr/bin/env python3
"""Times arwren against llvm-ar and GNU ar on what users run, side by side.

Every workload runs each tool in turn, the order rotating from round to round
so that drift of a busy machine hits all of them alike, and takes the median
wall time of each. `cat` of the same bytes is timed with them: it is the floor
that no archiver can go below. A first, untimed round measures every tool's
peak resident size through /usr/bin/time. Scratch files live on a tmpfs
(/dev/shm when there is one), so the figures are about the programs, not the
disk. The output ends with the ratio table and the targets it is held to.

    python3 bench/run.py [--arwren build/release/arwren] [--runs 5] [--only NAME]

Members are produced by generator modules beside this script: a module with
member_bytes(index) -> bytes and member_name(index) -> str (elf_members.py
makes ELF32 relocatables; nucoff_members.py, when present, NU-COFF objects).
"""
import argparse
import importlib
import math
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

NEWLIB_DIR = "/usr/lib/arm-none-eabi/newlib"
TOOLS = ("arwren", "llvm-ar", "gnu-ar", "cat")
MIB = 1 << 20
RSS_LIMIT_MIB = 32
GROWTH_LIMIT = 1.05
# A tool whose first run takes longer than this is not run again: its time is
# that of the first run (marked "*"). GNU ar needs tens of seconds to add
# tens of thousands of members.
SLOW_SECONDS = 5.0
# Tools left out (--without), for quick checks; a full run has them all.
WITHOUT = set()


class Run:
    """One command of one tool: argv run in cwd, standard output to `out`
    (a file path) or discarded, after `prepare` (untimed) has run."""

    def __init__(self, argv, cwd, out=None, prepare=None):
        self.argv, self.cwd, self.out, self.prepare = argv, cwd, out, prepare

    def __call__(self, wrapper=()):
        out = open(self.out, "wb") if self.out else subprocess.DEVNULL
        try:
            res = subprocess.run(list(wrapper) + self.argv, cwd=self.cwd, stdout=out,
                                 stderr=subprocess.PIPE)
        finally:
            if self.out:
                out.close()
        if res.returncode != 0:
            sys.exit("bench: %s failed (%d): %s" % (" ".join(self.argv[:2]), res.returncode,
                                                    res.stderr.decode()[-500:]))
        return res.stderr


class Workload:
    """A titled set of Runs, one per tool, and what arwren is held to:
    `llvm_limit`, arwren's median over llvm-ar's; `cat_limit`, over cat's."""

    def __init__(self, title, runs, llvm_limit=0.6, cat_limit=None):
        self.title = title
        self.runs = {tool: run for tool, run in runs.items() if tool not in WITHOUT}
        self.llvm_limit, self.cat_limit = llvm_limit, cat_limit
        self.median, self.rss, self.once = {}, {}, set()

    def first_runs(self):
        """Runs every tool once, untimed unless slow, for its peak RSS."""
        self.samples = {tool: [] for tool in self.runs}
        for tool, run in self.runs.items():
            if run.prepare:
                run.prepare()
            start = time.perf_counter()
            stderr = run(["/usr/bin/time", "-f", "%M"])
            first = time.perf_counter() - start
            self.rss[tool] = int(stderr.decode().strip().splitlines()[-1]) / 1024.0
            if first > SLOW_SECONDS:
                self.samples[tool].append(first)
                self.once.add(tool)

    def timed_round(self, r):
        order = [tool for tool in self.runs if tool not in self.once]
        for tool in order[r % len(order):] + order[:r % len(order)]:
            run = self.runs[tool]
            if run.prepare:
                run.prepare()
            start = time.perf_counter()
            run()
            self.samples[tool].append(time.perf_counter() - start)

    def report_line(self):
        self.median = {tool: statistics.median(v) for tool, v in self.samples.items()}
        line = "%-40s" % self.title
        for tool in TOOLS:
            if tool in self.median:
                line += " %s %7.1f ms%s %5.1f MiB |" % (tool, self.median[tool] * 1000,
                                                        "*" if tool in self.once else "",
                                                        self.rss[tool])
        print(line.rstrip(" |"), flush=True)

    def ratio(self, other):
        if other not in self.median or self.median[other] == 0:
            return None
        return self.median["arwren"] / self.median[other]


def measure(group, rounds):
    """Measures workloads together: their rounds interleave, so that the
    machine's drift hits each of them alike (growth is a ratio of two)."""
    for w in group:
        w.first_runs()
    for r in range(rounds):
        for i in range(len(group)):
            group[(r + i) % len(group)].timed_round(r)
    for w in group:
        w.report_line()


# --- members -----------------------------------------------------------------

class Generator:
    """Members from a function of their index: member_bytes(index) gives the
    bytes, member_name(index) the file name."""

    def __init__(self, member_bytes, member_name):
        self.member_bytes, self.member_name = member_bytes, member_name


def generator(module):
    """The member generator module of that name, or None when absent. A
    module with object_bytes(index, version, big) (nucoff_members.py) gives
    every format version and byte order in turn."""
    here = os.path.dirname(os.path.abspath(__file__))
    if not os.path.exists(os.path.join(here, module + ".py")):
        return None
    sys.path.insert(0, here)
    try:
        mod = importlib.import_module(module)
    finally:
        sys.path.pop(0)
    if hasattr(mod, "member_bytes") and hasattr(mod, "member_name"):
        return mod
    if hasattr(mod, "object_bytes"):
        return Generator(lambda i: mod.object_bytes(i, version=i % 3, big=i % 2 == 1),
                         lambda i: "coff_%05d.o" % i)
    print("bench: %s.py gives no members; skipped" % module)
    return None


def write_members(directory, gen, count):
    os.makedirs(directory, exist_ok=True)
    names = []
    for i in range(count):
        name = gen.member_name(i)
        with open(os.path.join(directory, name), "wb") as f:
            f.write(gen.member_bytes(i))
        names.append(name)
    return names


def library_members(directory, library):
    """The members of an existing library as files, in archive order."""
    os.makedirs(directory)
    subprocess.run(["ar", "x", library], cwd=directory, check=True)
    return subprocess.run(["ar", "t", library], check=True, capture_output=True,
                          text=True).stdout.split()


def big_members(directory, mib):
    os.makedirs(directory)
    block = os.urandom(MIB)
    names = []
    for i in range(4):
        name = "big%d.bin" % i
        with open(os.path.join(directory, name), "wb") as f:
            for _ in range(mib):
                f.write(block)
        names.append(name)
    return names


# --- workloads ---------------------------------------------------------------

def removing(path):
    return lambda: os.path.exists(path) and os.remove(path)


def emptying(directory):
    def prepare():
        shutil.rmtree(directory, ignore_errors=True)
        os.makedirs(directory)
    return prepare


def create_cmds(arwren):
    """How each tool builds a new archive with a symbol index from files.

    arwren's "a" appends every file without looking for a member of the same
    name, which is what "q" does in the other two; their "r" searches the
    member list for every file (quadratic in GNU ar). Both peers write the
    symbol index on "q" as well ("qs" would make GNU ar behave as "r").
    """
    return {"arwren": [arwren, "aq"], "llvm-ar": ["llvm-ar", "qc"], "gnu-ar": ["ar", "qc"]}


def create(title, arwren, work, tag, src, names, **limits):
    runs = {}
    for tool, cmd in create_cmds(arwren).items():
        target = os.path.join(work, "%s-%s.a" % (tag, tool))
        runs[tool] = Run(cmd + [target] + names, src, prepare=removing(target))
    runs["cat"] = Run(["cat"] + names, src, out=os.path.join(work, "%s-cat.a" % tag))
    return Workload(title, runs, **limits)


def archive_of(work, tag, tool):
    return os.path.join(work, "%s-%s.a" % (tag, tool))


def edit_workloads(arwren, work, tag, src, names):
    """List, extract, replace one and replace all, each tool on the archive
    that it created itself."""
    n = len(names)
    ar = {t: archive_of(work, tag, t) for t in ("arwren", "llvm-ar", "gnu-ar")}
    floor = ar["arwren"]
    cat_out = os.path.join(work, "floor.out")
    lst = Workload("list %d" % n, {
        "arwren": Run([arwren, "t", ar["arwren"]], src),
        "llvm-ar": Run(["llvm-ar", "tv", ar["llvm-ar"]], src),
        "gnu-ar": Run(["ar", "tv", ar["gnu-ar"]], src),
        "cat": Run(["cat", floor], src, out=cat_out)})
    xdir = {t: os.path.join(work, "x-" + t) for t in ar}
    ext = Workload("extract %d" % n, {
        "arwren": Run([arwren, "x", ar["arwren"]], xdir["arwren"], prepare=emptying(xdir["arwren"])),
        "llvm-ar": Run(["llvm-ar", "x", ar["llvm-ar"]], xdir["llvm-ar"],
                       prepare=emptying(xdir["llvm-ar"])),
        "gnu-ar": Run(["ar", "x", ar["gnu-ar"]], xdir["gnu-ar"], prepare=emptying(xdir["gnu-ar"])),
        "cat": Run(["cat", floor], src, out=cat_out)})
    last = names[-1]
    one = Workload("replace the last of %d" % n, {
        "arwren": Run([arwren, "rq", ar["arwren"], last], src),
        "llvm-ar": Run(["llvm-ar", "r", ar["llvm-ar"], last], src),
        "gnu-ar": Run(["ar", "r", ar["gnu-ar"], last], src),
        "cat": Run(["cat", floor, last], src, out=cat_out)})
    every = Workload("replace all %d" % n, {
        "arwren": Run([arwren, "rq", ar["arwren"]] + names, src),
        "llvm-ar": Run(["llvm-ar", "r", ar["llvm-ar"]] + names, src),
        "gnu-ar": Run(["ar", "r", ar["gnu-ar"]] + names, src),
        "cat": Run(["cat"] + names, src, out=cat_out)},
        llvm_limit=0.7, cat_limit=1.3)
    return [lst, ext, one, every]


def plan(arwren, work, only):
    """Yields the workloads in order, making each one's members just before;
    a list is a group to be measured together."""
    def wanted(key):
        return only is None or only in key

    elf = generator("elf_members")
    if wanted("libc"):
        src = os.path.join(work, "libc")
        names = library_members(src, os.path.join(NEWLIB_DIR, "libc.a"))
        yield create("create libc.a (%d members)" % len(names), arwren, work, "libc", src, names,
                     cat_limit=2.0)
    if wanted("libstdc++"):
        src = os.path.join(work, "libstdcxx")
        names = library_members(src, os.path.join(NEWLIB_DIR, "libstdc++.a"))
        yield create("create libstdc++.a (%d members)" % len(names), arwren, work, "libstdcxx",
                     src, names)
    src = os.path.join(work, "elf")
    if wanted("20000"):
        names = write_members(src, elf, 20000)
        yield create("create 20000", arwren, work, "e20000", src, names,
                     llvm_limit=0.7, cat_limit=1.3)
        yield from edit_workloads(arwren, work, "e20000", src, names)
    if wanted("growth"):
        names = write_members(src, elf, 32000)
        yield create("create 2000", arwren, work, "e2000", src, names[:2000])
        yield [create("create 8000", arwren, work, "e8000", src, names[:8000]),
               create("create 32000", arwren, work, "e32000", src, names,
                      llvm_limit=0.7, cat_limit=1.3)]
    nucoff = generator("nucoff_members")
    if nucoff is not None and wanted("nucoff"):
        csrc = os.path.join(work, "nucoff")
        names = write_members(csrc, nucoff, 2000)
        yield create("create 2000 NU-COFF", arwren, work, "c2000", csrc, names)
    elif nucoff is None and wanted("nucoff"):
        print("bench: no bench/nucoff_members.py; the NU-COFF workload is left out", flush=True)
    if wanted("MiB"):
        for mib in (1, 64):
            bsrc = os.path.join(work, "big%d" % mib)
            names = big_members(bsrc, mib)
            yield create("create 4 x %d MiB" % mib, arwren, work, "big%d" % mib, bsrc, names)


# --- report ------------------------------------------------------------------

def growth(done, tool):
    """The exponent k in time ~ members^k between 8000 and 32000 members."""
    by = {w.title: w for w in done}
    small, large = by.get("create 8000"), by.get("create 32000")
    if not small or not large:
        return None
    return math.log(large.median[tool] / small.median[tool]) / math.log(4)


def report(done):
    failures = []
    print()
    head = "%-34s %9s %9s %9s %9s  %8s %8s  %-12s %s" % (
        "workload", "arwren", "llvm-ar", "gnu-ar", "cat", "/llvm-ar", "/cat", "target",
        "peak RSS MiB (arwren llvm-ar gnu-ar)")
    print(head)
    print("-" * len(head))
    for w in done:
        ms = ["%7.1f%-2s" % (w.median[t] * 1000, "*" if t in w.once else "ms")
              if t in w.median else "%9s" % "-" for t in TOOLS]
        to_llvm, to_cat = w.ratio("llvm-ar"), w.ratio("cat")
        target = "<=%.1fx" % w.llvm_limit
        ok = to_llvm <= w.llvm_limit
        if w.cat_limit:
            target += ",%.1fc" % w.cat_limit
            ok = ok and to_cat <= w.cat_limit
        rss_ok = w.rss["arwren"] <= RSS_LIMIT_MIB
        if not ok:
            failures.append("%s: %.2fx llvm-ar, %.2fx cat" % (w.title, to_llvm, to_cat))
        if not rss_ok:
            failures.append("%s: peak RSS %.1f MiB" % (w.title, w.rss["arwren"]))
        rss = [w.rss.get(t, float("nan")) for t in ("arwren", "llvm-ar", "gnu-ar")]
        print("%-34s %s %s %s %s  %7.2fx %7.2fx  %-12s %6.1f %6.1f %6.1f  %s" % (
            w.title, *ms, to_llvm, to_cat, target, *rss, "ok" if ok and rss_ok else "MISSED"))
    print()
    k = {t: growth(done, t) for t in ("arwren", "llvm-ar", "gnu-ar") if t not in WITHOUT}
    if k["arwren"] is not None:
        print("growth exponent 8000 -> 32000 members: " +
              "  ".join("%s %.3f" % (t, v) for t, v in k.items()) +
              "   (target arwren <= %.2f)" % GROWTH_LIMIT)
        if k["arwren"] > GROWTH_LIMIT:
            failures.append("growth exponent %.3f" % k["arwren"])
    by = {w.title: w for w in done}
    small, large = by.get("create 4 x 1 MiB"), by.get("create 4 x 64 MiB")
    if small and large:
        diff = large.rss["arwren"] - small.rss["arwren"]
        print("arwren peak RSS, 4 members of 1 MiB / 64 MiB: %.1f / %.1f MiB (difference %.1f)"
              % (small.rss["arwren"], large.rss["arwren"], diff))
        if abs(diff) > 1.0:
            failures.append("peak RSS differs by %.1f MiB between 1 and 64 MiB members" % diff)
    if any(w.once for w in done):
        print("* one run only: the first run took longer than %.0f s" % SLOW_SECONDS)
    print("targets missed: " + ("; ".join(failures) if failures else "none"))


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    ap = argparse.ArgumentParser()
    ap.add_argument("--arwren", default=os.path.join(here, "..", "build", "release", "arwren"))
    ap.add_argument("--runs", type=int, default=5)
    ap.add_argument("--only", help="run only the workloads whose key contains this "
                    "(libc, libstdc++, 20000, growth, nucoff, MiB)")
    ap.add_argument("--without", action="append", default=[], choices=TOOLS[1:],
                    help="leave a peer out (quick checks only)")
    ap.add_argument("--scratch", default="/dev/shm" if os.path.isdir("/dev/shm") else None)
    args = ap.parse_args()
    WITHOUT.update(args.without)
    arwren = os.path.abspath(args.arwren)
    for tool, package in (("llvm-ar", "llvm"), ("ar", "binutils"), ("/usr/bin/time", "time")):
        if not shutil.which(tool):
            sys.exit("bench: %s not found (Debian package %s)" % (tool, package))
    if not os.path.isdir(NEWLIB_DIR):
        sys.exit("bench: %s not found (Debian package libnewlib-arm-none-eabi)" % NEWLIB_DIR)
    runs = max(5, args.runs)
    print("arwren %s; %d timed rounds per workload; median wall time and peak RSS"
          % (arwren, runs), flush=True)
    done = []
    with tempfile.TemporaryDirectory(prefix="arwren-bench-", dir=args.scratch) as work:
        for item in plan(arwren, work, args.only):
            group = item if isinstance(item, list) else [item]
            measure(group, runs)
            done.extend(group)
    report(done)


if __name__ == "__main__":
    main()
