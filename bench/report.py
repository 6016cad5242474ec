#!/usr/bin/env python3
"""report.py FOLDER [--quick]: makes FOLDER/bench.json and prints a report of the runs in FOLDER/runs. Without --quick
its numbers go into docs/performance.md, its acceptance ratios into bench/README.md."""
import datetime
import json
import pathlib
import re
import sys
import textwrap

OWN = "Vantor10"  # the device's entries
ENGINE, ALL_THREADS, SIDE_BY_SIDE = "engine, 1 thread", "engine, all threads", "engines side by side"
COPY, READ = "memory copy", "memory read"
NO_PEERS = {OWN, ENGINE, ALL_THREADS, SIDE_BY_SIDE, COPY, READ}
BEST, AVX2, PLAIN = "none", "avx2", "plain"  # values of VANTOR_CPU; none: all that the CPU has
MILD = "1920x1080 mild"
CALL = "5 us per call"

# Acceptance ratios: cases (by the beginning of their names), VANTOR_CPU, what the time is divided by, and the maximum
# of the quotient. Those of the C entries hold for one thread.
C_LIMITS = [
    (["1920x1080 to 1280"], BEST, "zimg bicubic", 0.28),
    (["1920x1080 to 1366"], BEST, "zimg bicubic", 0.31),
    (["4032x3024 to"], BEST, "OpenCV linear", 0.33),
    (["3840x2160 to 1024"], BEST, "OpenCV linear", 0.39),
    (["3840x2160 to 1024"], BEST, READ, 1.10),
    (["3840x2160 to 1920"], BEST, "libyuv bilinear", 0.90),
    (["1280x720 to"], BEST, "zimg bicubic", 0.36),
    (["960x540 to"], BEST, "zimg bicubic", 0.26),
    (["640x480 to"], BEST, "zimg bicubic", 0.33),
    (["144x96 to"], BEST, CALL, 1.00),
    ([MILD, "4000x3000 mild"], BEST, "OpenCV cubic", 0.15),
    (["1920x1080 turned", "1920x1080 folding", "4000x3000 turned", "4000x3000 folding"], BEST, "OpenCV cubic", 0.28),
    (["1920x1080 to 1280"], AVX2, "four-tap peer, AVX2", 0.38),
    (["1920x1080 to 1366", "4032x3024 to", "3840x2160 to", "1280x720 to", "960x540 to", "640x480 to", MILD,
      "4000x3000 mild"], AVX2, "four-tap peer, AVX2", 0.33),
]
# Of an engine that uses all CPUs, to as many engines of one thread, in elapsed time of calls that take one thread 1 ms.
ALL_THREADS_LIMIT = 1.05
# Of the device's entries.
LIMITS = [
    (["1920x1080 to"], BEST, "any peer", 0.70),
    (["1920x1080 to"], BEST, "four-tap peer", 0.70),
    (["4032x3024 to"], BEST, "any peer", 0.60),
    (["4032x3024 to"], BEST, "four-tap peer", 0.35),
    (["3840x2160 to 1024"], BEST, "any peer", 0.95),
    (["3840x2160 to 1024"], BEST, "four-tap peer", 0.30),
    (["3840x2160 to 1920"], BEST, "any peer", 1.30),
    (["3840x2160 to 1920"], BEST, "four-tap peer", 0.15),
    (["1280x720 to", "960x540 to", "640x480 to"], BEST, "any peer", 0.67),
    (["1280x720 to", "960x540 to", "640x480 to"], BEST, "four-tap peer", 0.67),
    ([MILD, "4000x3000 mild"], BEST, "four-tap peer", 0.25),
    ([MILD, "4000x3000 mild"], BEST, "any peer", 1.00),
    (["1920x1080 turned", "1920x1080 folding", "4000x3000"], BEST, MILD, 1.50),
    (["1920x1080 to", "4032x3024 to", "3840x2160 to", "1280x720 to", "960x540 to", "640x480 to"], AVX2,
     "four-tap peer", 1.00),
    ([MILD, "4000x3000 mild"], AVX2, "four-tap peer", 0.33),
]


def least(rows, run):
    """Adds one run of vantor-bench to `rows`: the least time of each benchmark counts."""
    context = run["context"]
    for entry in run["benchmarks"]:
        if entry["run_type"] != "iteration":
            continue
        group, case, contender = entry["run_name"].removesuffix("/process_time").split("/")
        key = (group, case, contender, context["limit"], int(context["processors"]))
        pixels = entry.get("pixels", 1)
        row = rows.setdefault(key, {
            "group": group, "case": case, "contender": contender, "limit": context["limit"],
            "processors": key[-1], "pixels": pixels, "four_taps": entry.get("label") == "four taps",
            "psnr": entry.get("psnr"), "cpu_ns": float("inf"), "wall_ns": float("inf")})
        row["cpu_ns"] = min(row["cpu_ns"], entry["cpu_time"])
        row["wall_ns"] = min(row["wall_ns"], entry["real_time"])
        row["cpu_ns_per_pixel"] = row["cpu_ns"] / pixels
        row["wall_ns_per_pixel"] = row["wall_ns"] / pixels


def processor():
    text = pathlib.Path("/proc/cpuinfo").read_text()
    names = re.findall(r"^(?:model name|Hardware)\s*: (.*)$", text, re.M)
    sets = [name for name in ("avx2", "avx512vbmi", "asimd", "neon") if re.search(rf"\b{name}\b", text)]
    return f"{names[0] if names else 'unknown'} ({', '.join(sets)})"


def gather(directory):
    """All runs of a directory as one object: what ran where, and the least times."""
    rows, tables, context = {}, {}, {}
    for path in sorted(directory.glob("runs/*.json")):
        run = json.loads(path.read_text())
        context = run["context"]
        tables[context["limit"]] = {name.removeprefix("kernels of "): table
                                    for name, table in context.items() if name.startswith("kernels of ")}
        least(rows, run)
    return {
        "date": datetime.date.today().isoformat(),
        "processor": processor(),
        "processors": context["num_cpus"],
        "compiler": context["compiler"],
        "peers": {name.removeprefix("peer "): version
                  for name, version in context.items() if name.startswith("peer ")},
        "kernels": tables,
        "rows": list(rows.values()),
    }


class Results:
    """Queries on the object that `gather` makes."""

    def __init__(self, bench):
        self.bench = bench
        self.rows = bench["rows"]

    def cases(self, group):
        return list(dict.fromkeys(row["case"] for row in self.rows if row["group"] == group))

    def of(self, case, contender, limit=BEST, pinned=True):
        for row in self.rows:
            if ((row["case"], row["contender"], row["limit"]) == (case, contender, limit)
                    and pinned == (row["processors"] == 1)):
                return row
        return None

    def own(self, case, limit=BEST):
        return self.of(case, OWN, limit)["cpu_ns_per_pixel"]

    def engine(self, case, limit=BEST):
        return self.of(case, ENGINE, limit)["cpu_ns_per_pixel"]

    def is_long(self, case):
        """Whether it is worth the while to divide a call among threads."""
        return self.of(case, ENGINE)["cpu_ns"] >= 1e6

    def peers(self, case):
        """Of a case, on one CPU; those that need more than a grid are left out."""
        return [row for row in self.rows
                if row["case"] == case and row["processors"] == 1 and row["contender"] not in NO_PEERS
                and not row["contender"].endswith("maps kept")]

    def fastest(self, case, four_taps=False):
        peers = [row for row in self.peers(case) if row["four_taps"] or not four_taps]
        return min(peers, key=lambda row: row["cpu_ns_per_pixel"], default=None)

    def divisor(self, case, name):
        """What a limit compares with, in ns per pixel; None if it was not measured."""
        if name == CALL:
            return 5000 / self.of(case, ENGINE)["pixels"]
        if name == MILD:
            return self.own(MILD)
        peers = self.peers(case)
        if name.startswith("four-tap peer"):
            peers = [row for row in peers if row["four_taps"]]
        if name.endswith("AVX2"):
            # zimg's other forms take AVX-512 where they find it.
            peers = [row for row in peers if not row["contender"].startswith("zimg") or "32-byte" in row["contender"]]
        if "peer" not in name:
            peers = [row for row in [self.of(case, name)] if row]
        return min((row["cpu_ns_per_pixel"] for row in peers), default=None)


def table(header, rows):
    """Markdown that is legible as plain text: the first column left-aligned, the others right-aligned."""
    lines = [header] + rows
    widths = [max(len(line[i]) for line in lines) for i in range(len(header))]

    def text(line):
        cells = [cell.ljust(width) if i == 0 else cell.rjust(width)
                 for i, (cell, width) in enumerate(zip(line, widths))]
        return "| " + " | ".join(cells) + " |"

    rule = "|" + "|".join("-" * (width + 1) + ("-" if i == 0 else ":") for i, width in enumerate(widths)) + "|"
    return "\n".join([text(header), rule] + [text(row) for row in rows]) + "\n"


def ns(value):
    return f"{value:.3f}" if value < 1 else f"{value:.2f}"


def ratio(value, divisor):
    return f"{value / divisor:.2f}"


def limit_name(limit):
    return "best" if limit == BEST else limit


def peer_cell(row):
    return f"{row['contender']} {ns(row['cpu_ns_per_pixel'])}"


def peer_cells(results, case, own):
    """The fastest peer and the fastest with four taps, each with the ratio of `own` to it."""
    peers = [results.fastest(case), results.fastest(case, four_taps=True)]
    return [cell for peer in peers
            for cell in ([peer_cell(peer), ratio(own, peer["cpu_ns_per_pixel"])] if peer else ["-"] * 2)]


PEER_COLUMNS = ["fastest peer", "ratio", "fastest four-tap peer", "ratio"]


def c_table(results):
    """Of the C entries on one thread."""
    rows = []
    for case in results.cases("scale") + results.cases("warp"):
        own, plain = results.engine(case), results.engine(case, PLAIN)
        copy, read = results.of(case, COPY)["cpu_ns_per_pixel"], results.of(case, READ)
        rows.append([case, ns(own), ns(results.engine(case, AVX2)), ns(plain),
                     f"{results.of(case, ENGINE)['cpu_ns'] / 1000:.1f}", *peer_cells(results, case, own),
                     ratio(own, plain), ns(read["cpu_ns_per_pixel"]) if read else "-", ns(copy), ratio(own, copy)])
    return table(["case", "best", "avx2", "plain", "us per call", *PEER_COLUMNS, "to plain", "read", "copy", "to copy"],
                 rows)


def all_threads_table(results):
    """Of the C entries on one thread, on all, and on engines of one thread side by side, in elapsed time."""
    rows = []
    for case in results.cases("scale") + results.cases("warp"):
        one = results.of(case, ENGINE)
        every, side = (results.of(case, name, pinned=False) for name in (ALL_THREADS, SIDE_BY_SIDE))
        if every:
            times = [row["wall_ns_per_pixel"] for row in (one, every, side)]
            rows.append([case, *map(ns, times[:2]), ratio(times[0], times[1]),
                         *([ns(times[2]), ratio(times[2], times[1])] if results.is_long(case) else ["-"] * 2)])
    return table(["case", "one thread", "all threads", "speed-up", "engines side by side", "all threads reach"],
                 rows) if rows else ""


def thread_cost(results, case):
    """Of a scaling's threads, in ns per pixel: three to enlarge, two times three to reduce."""
    src, dst = (int(size.split("x")[0]) for size in case.split(" to "))
    threads = "3" if dst > src else "6"
    return results.of(threads, "create and join")["cpu_ns"] / results.of(case, OWN)["pixels"]


def device_table(results):
    """Of the device's entries."""
    rows = []
    for group in ("scale", "warp"):
        for case in results.cases(group):
            own, plain = results.own(case), results.own(case, PLAIN)
            copy = results.of(case, COPY)["cpu_ns_per_pixel"]
            threads = thread_cost(results, case) if group == "scale" else 0
            rows.append([
                case, ns(own), ns(results.own(case, AVX2)), ns(plain), ns(threads) if threads else "none",
                *peer_cells(results, case, own), ratio(own, plain), ns(copy), ratio(own, copy)])
    return table(["case", "best", "avx2", "plain", "threads", *PEER_COLUMNS, "to plain", "copy", "to copy"], rows)


def limit_row(case, against, largest, reached):
    return [case, against, f"{largest:.2f}", f"{reached:.2f}", "met" if reached <= largest else "missed"]


def limit_rows(results, limits, time):
    """`time` of a case, under a value of VANTOR_CPU, against each limit."""
    for prefixes, limit, against, largest in limits:
        for case in results.cases("scale") + results.cases("warp"):
            divisor = case.startswith(tuple(prefixes)) and results.divisor(case, against)
            if divisor:
                yield limit_row(f"{case} ({limit_name(limit)})", against, largest, time(case, limit) / divisor)


def all_threads_rows(results):
    for case in results.cases("scale") + results.cases("warp"):
        every, side = (results.of(case, name, pinned=False) for name in (ALL_THREADS, SIDE_BY_SIDE))
        if every and results.is_long(case):
            yield limit_row(f"{case} (all threads)", SIDE_BY_SIDE, ALL_THREADS_LIMIT,
                            every["wall_ns_per_pixel"] / side["wall_ns_per_pixel"])


def limit_table(rows):
    return table(["case", "against", "limit", "measured", ""], list(rows))


def peer_table(results, group):
    """Every peer in every case of a group."""
    cases = results.cases(group)
    names = dict.fromkeys(row["contender"] for row in results.rows
                          if row["group"] == group and row["contender"] not in NO_PEERS)
    return table(["ns per pixel"] + cases,
                 [[name] + [ns(results.of(case, name)["cpu_ns_per_pixel"]) for case in cases] for name in names])


def sweep_table(results):
    rows = []
    for kind in ("reduce", "enlarge", "warp"):
        for case in (case for case in results.cases("sweep") if case.startswith(kind)):
            measured = [results.of(case, contender) for contender in (ENGINE, OWN)]
            rows.append([case, *[cell for row in measured
                                 for cell in (ns(row["cpu_ns_per_pixel"]), f"{row['cpu_ns'] / 1000:.1f}")]])
    return table(["case", "libvantor, ns per pixel", "us per call", "libVantor10, ns per pixel", "us per call"], rows)


def cores_table(results):
    rows = []
    for group in ("scale", "warp"):
        for case in results.cases(group):
            one, every = results.of(case, OWN), results.of(case, OWN, pinned=False)
            if every:
                rows.append([case, ns(one["wall_ns_per_pixel"]), ns(every["wall_ns_per_pixel"]),
                             ns(every["cpu_ns_per_pixel"])])
    return table(["case", "one CPU, elapsed", "all, elapsed", "all, CPU time"], rows) if rows else ""


def origin(bench):
    return f"{bench['date']}, {bench['processor']}, {bench['processors']} CPUs, {bench['compiler']}"


def report(results):
    bench = results.bench
    peers = ", ".join(f"{name} {version}" for name, version in bench["peers"].items()) or "no peers"
    kernels = "; ".join(f"{limit_name(limit)}: " + ", ".join(f"{name} {chosen}" for name, chosen in tables.items())
                        for limit, tables in bench["kernels"].items())
    parts = [
        textwrap.fill(f"{origin(bench)}; {peers}. Kernels in use: {kernels}.", 120) + "\n",
        "The C entries, nanoseconds per pixel of output, one thread on one CPU:\n", c_table(results),
        "The device's entries, nanoseconds per pixel of output, on one CPU:\n", device_table(results),
        "All peers, scaling:\n", peer_table(results, "scale"),
        "All peers, warping:\n", peer_table(results, "warp"),
    ]
    if results.cases("sweep"):
        parts += ["Growth with size:\n", sweep_table(results)]
    for entries, text in (("C", all_threads_table(results)), ("device's", cores_table(results))):
        if text:
            parts += [f"The {entries} entries with all {bench['processors']} CPUs, nanoseconds per pixel:\n", text]
    return "\n".join(parts)


def publish(text, path):
    begin, end = "<!-- measured: begin -->\n", "<!-- measured: end -->"
    page = path.read_text()
    head, rest = page.split(begin)
    path.write_text(head + begin + "\n" + text + "\n" + end + rest.split(end)[1])


def main():
    folder = pathlib.Path(sys.argv[1])
    bench = gather(folder)
    (folder / "bench.json").write_text(json.dumps(bench, indent=1) + "\n")
    results = Results(bench)
    numbers = report(results)
    c_limits = [*limit_rows(results, C_LIMITS, results.engine), *all_threads_rows(results)]
    ratios = (f"{origin(bench)}.\n\nThe C entries:\n\n{limit_table(c_limits)}\n"
              f"The device's entries:\n\n{limit_table(limit_rows(results, LIMITS, results.own))}")
    print(numbers, ratios, sep="\n")
    if "--quick" not in sys.argv:
        publish(numbers, pathlib.Path("docs/performance.md"))
        publish(ratios, pathlib.Path("bench/README.md"))


if __name__ == "__main__":
    main()
