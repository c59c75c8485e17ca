#!/usr/bin/env python3
"""Measures "vxdata report" on a table of a million rows against the plainest program that parses it.

    scripts/benchmark_report_table.py VXDATA PARSE_TABLE --out FILE [--repetitions N] [--budget MIB]

The table is one that "vxdata generate" makes. The two programs take turns, in random order. The result has
the form of Google Benchmark's JSON output, with the peak of the memory that vxdata took beside it.
"""

import argparse
import json
import os
import random
import subprocess
import sys
import tempfile
import time

MIB = 1024 * 1024
ROWS = 1_000_000


def run(command):
    """Runs a program; returns its wall time and processor time in seconds and its peak memory in bytes."""
    start = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.monotonic() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{command[0]} ended with {process.returncode}")
    return seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("vxdata")
    parser.add_argument("parse_table")
    parser.add_argument("--out", required=True)
    parser.add_argument("--repetitions", type=int, default=10)
    parser.add_argument("--budget", type=int, default=16)
    arguments = parser.parse_args()

    with tempfile.TemporaryDirectory() as directory:
        generate = [arguments.vxdata, "generate", "--out", directory, "--rows", str(ROWS)]
        subprocess.run(generate, check=True, stdout=subprocess.DEVNULL)
        table = os.path.join(directory, "cell_cycles.csv")
        commands = {
            "library": [arguments.vxdata, "report", "--budget", f"{arguments.budget}MiB", table],
            "limit": [arguments.parse_table, table],
        }
        benchmarks, peak = [], 0
        for command in commands.values():
            run(command)  # the table comes into the page cache
        for repetition in range(arguments.repetitions):
            for case in random.sample(sorted(commands), len(commands)):
                wall, processor, memory = run(commands[case])
                benchmarks.append(
                    {
                        "name": f"ReportTable/{case}",
                        "repetition_index": repetition,
                        "real_time": wall,
                        "cpu_time": processor,
                    }
                )
                if case == "library":
                    peak = max(peak, memory)
        result = {
            "benchmarks": benchmarks,
            "memory": {
                "table_mib": round(os.path.getsize(table) / MIB),
                "peak_mib": round(peak / MIB),
                "budget_mib": arguments.budget,
            },
        }
    with open(arguments.out, "w", encoding="utf-8") as file:
        json.dump(result, file, indent=1)


main()
