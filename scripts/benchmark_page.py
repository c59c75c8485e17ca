#!/usr/bin/env python3
"""Writes docs/benchmarks.md from the results of scripts/benchmark.sh.

    scripts/benchmark_page.py RESULTS.json... > docs/benchmarks.md

Each file is the JSON output of Google Benchmark, or has the same form. Cases are paired by name,
"JOB/library" and "JOB/<peer>" with "JOB/limit", and by the number of the repetition.
"""

import json
import re
import statistics
import sys

# job | what is measured | limit | reach | None: compared by wall time
JOBS = [
    ("AddSample", "add one sample to a streamed array, block in use before", "vector push_back, two compares", 1.9),
    ("AddBlock/Float", "add a block of 65,536 floats", "memcpy, vectorised minimum and maximum", 1.1),
    ("AddBlock/Int", "add a block of 65,536 ints", "memcpy, vectorised minimum and maximum", 1.1),
    ("WriteFile/1e6", "write a new cache file, 10^6 samples", "create, one write(2), close", 1.0),
    ("WriteFile/1e8", "write a new cache file, 10^8 samples", "create, one write(2), close", 1.0),
    ("LoadArray", "load 10^6 samples, warm page cache, warm block", "one read(2)", 1.15),
    ("DirectSample/1e8/random", "getSampleDirect at random, file of 10^8 samples", "pointer into the mapping", 1.5),
    ("DirectSample/1e8/ascending", "getSampleDirect in order, file of 10^8 samples", "pointer into the mapping", 3.5),
    ("DirectSample/1e6/random", "getSampleDirect at random, file of 10^6 samples", "pointer into the mapping", None),
    ("DirectSample/1e6/ascending", "getSampleDirect in order, file of 10^6 samples", "pointer into the mapping", None),
    ("ResidentSample/ascending", "getSampleFloat in order, 10^4 samples in memory", "raw pointer", 5.5),
    ("ResidentSample/random", "getSampleFloat at random, 10^4 samples in memory", "raw pointer", 1.7),
    ("Envelope/1e8", "envelope of 10^8 samples on disk, 2,000 columns", "a pass over the extremes of blocks of 256, 64 KiB read", None),
    ("Envelope/1e6", "envelope of 10^6 samples on disk, 2,000 columns", "a pass over the extremes of blocks of 256, 64 KiB read", None),
    ("EnvelopeSum", "first envelope of 10^6 new samples", "vectorised minimum and maximum", None),
    ("ReadRange", "read a range of 65,536 samples in memory", "memcpy", 1.1),
    ("Residency/100x1e6", "random arrays made resident, budget 10 %, 100 arrays of 10^6", "open, read(2), close, LRU by hand", 1.15),
    ("Residency/100x1e3", "the same, 100 arrays of 10^3", "open, read(2), close, LRU by hand", 3.5),
    ("Residency/1000x1e3", "the same, 1,000 arrays of 10^3", "open, read(2), close, LRU by hand", 3.5),
    ("Residency/10000x1e3", "the same, 10,000 arrays of 10^3", "open, read(2), close, LRU by hand", 3.5),
    ("ParseUnit", 'read "mA.h/g"', "one hash look-up of the text", 3.0),
    ("Convert/single", "convert 10^6 floats one by one, factor known", "plain loop", 1.1),
    ("Convert/block", "convert 10^6 floats in a block, factor known", "plain loop", 1.1),
    ("DataConfiguration", "read a data configuration of 10,000 variables", "QJsonDocument::fromJson of the file", 2.5),
    ("ReportTable", '"vxdata report" of a table of a million rows', "read it, std::from_chars for every cell", 2.0),
]

# Their work is done on another thread while the caller waits, or waits for the disk: wall time counts.
# The others stay on the calling thread, whose processor time is free of what else the machine does.
BY_WALL_TIME = ("WriteFile", "ReportTable")

HEAD = """# Benchmarks

Every job beside the plainest code that moves the same bytes (the limit), both measured in one program and
one run, repeated in random order. The figures are ratios to the limit: the median over the repetitions, and
the lowest and the highest. Times are left out on purpose: they say more about the machine and its load than
about the library. A ratio below 1 is faster than the limit.

`scripts/benchmark.sh` builds, runs and writes this page; the jobs are in [benchmarks/](../benchmarks), a
file each, whose first lines say what exactly is compared.
"""


def read_results(paths):
    """{case: {repetition: seconds}}, and the memory figures of the report."""
    times, extra = {}, {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            document = json.load(file)
        extra.update(document.get("memory", {}))
        for run in document["benchmarks"]:
            if run.get("run_type") == "aggregate" or run.get("error_occurred"):
                continue
            name = re.sub(r"/(iterations:\d+|real_time|manual_time|process_time)", "", run["name"])
            by_wall = name.startswith(BY_WALL_TIME)
            times.setdefault(name, {})[run.get("repetition_index", 0)] = (
                run["real_time"] if by_wall else run["cpu_time"]
            )
    return times, extra


def ratios(times, case, limit):
    """The ratios of the repetitions that both cases have, in ascending order."""
    both = times.get(case, {}).keys() & times.get(limit, {}).keys()
    return sorted(times[case][i] / times[limit][i] for i in both)


def cells(values):
    return f"{statistics.median(values):.2f} | {values[0]:.2f} | {values[-1]:.2f}"


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    times, memory = read_results(sys.argv[1:])
    print(HEAD)
    print("| job | limit | median | lowest | highest | reach |")
    print("|---|---|---|---|---|---|")
    missing = []
    repetitions = 0
    for job, text, limit, reach in JOBS:
        values = ratios(times, f"{job}/library", f"{job}/limit")
        if not values:
            missing.append(text)
            continue
        repetitions = max(repetitions, len(values))
        print(f"| {text} | {limit} | {cells(values)} | {'≤ %g' % reach if reach else ''} |")
    print()
    print(f"Repetitions: {repetitions}.")
    if missing:
        print("Not measured in this run: " + "; ".join(missing) + ".")
    if memory:
        print()
        print(
            f"The report of the million-row table, {memory['table_mib']} MiB of text, took at most "
            f"{memory['peak_mib']} MiB of memory with a budget of {memory['budget_mib']} MiB."
        )
    peers = sorted(
        (name.rsplit("/", 1)[0], name.rsplit("/", 1)[1])
        for name in times
        if name.rsplit("/", 1)[1] not in ("library", "limit")
    )
    if peers:
        print("\n## Other stores\n\nThe same jobs done with other stores, as ratios to the same limits.\n")
        print("| job | store | median | lowest | highest |")
        print("|---|---|---|---|---|")
        for job, peer in peers:
            values = ratios(times, f"{job}/{peer}", f"{job}/limit")
            if values:
                print(f"| {job} | {peer} | {cells(values)} |")


main()
