#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Joins the lines of run.sh to one table and one JSON file: report.py BUILD_DIR OUT_DIR"""
import json
import pathlib
import re
import statistics
import subprocess
import sys

REFERENCE = ("mujoco", "default")


def output_of(*command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return "unknown"


def cache_value(cache, key):
    match = re.search(rf"^{key}:[A-Z]+=(.*)$", cache, re.MULTILINE)
    return match.group(1) if match else ""


def machine(build):
    cache = (build / "CMakeCache.txt").read_text()
    compiler = cache_value(cache, "CMAKE_CXX_COMPILER")
    flags = "-O3 -DNDEBUG -ffp-contract=fast -fno-math-errno -fno-trapping-math"
    if cache_value(cache, "ZELVIK_NATIVE_FLAGS") == "ON":
        flags += " -mavx2 -mfma"
    if cache_value(cache, "ZELVIK_LTO") == "ON" and "++" in compiler and "clang" not in compiler:
        flags += " -flto"
    cpu = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(),
                    re.MULTILINE)
    here = pathlib.Path(__file__).parent
    return {
        "commit": output_of("git", "-C", str(here), "rev-parse", "--short", "HEAD"),
        "compiler": output_of(compiler, "--version").splitlines()[0],
        "flags": flags,
        "processor": cpu.group(1) if cpu else "unknown",
        "load_average": pathlib.Path("/proc/loadavg").read_text().split()[0],
    }


def join(lines):
    """One record per scene, engine, setting and compiler; the clock of both passes."""
    joined = {}
    for line in lines:
        key = (line["scene"], line["engine"], line["setting"], line.get("compiler"))
        joined.setdefault(key, []).append(line)
    return {key: join_passes(passes) for key, passes in joined.items()}


def join_passes(passes):
    record = dict(passes[0])
    if any("skipped" in line for line in passes):
        return record
    for clock in ("us_per_step", "cpu_us_per_step"):
        record[clock] = {
            "median": statistics.median(line[clock]["median"] for line in passes),
            "min": min(line[clock]["min"] for line in passes),
            "max": max(line[clock]["max"] for line in passes),
        }
    record["repeats"] = (all(line["repeats"] for line in passes)
                         and len({line["state_hash"] for line in passes}) == 1)
    record["passes"] = len(passes)
    return record


def time_text(record):
    clock = record["cpu_us_per_step"]
    return f"{clock['median']:.4g} ({clock['min']:.4g} – {clock['max']:.4g})"


def engine_text(record):
    """Version for others, compiler (without the packager's addition) for our own."""
    remark = record.get("compiler", record["version"])
    return f"{record['engine'].replace('_newer', '')} ({' '.join(remark.split()[:2])})"


def figure_text(record, name):
    """A figure of accuracy; over variants of the scene its median, with the lowest and highest."""
    text = f"{name} {record['accuracy'][name]:.2g}"
    if "variants" in record:
        high = record["accuracy_max"][name]  # JSON knows no infinity
        text += f" ({record['accuracy_min'][name]:.2g} – {'inf' if high is None else f'{high:.2g}'})"
    return text


def row(record, reference):
    head = [record["scene"], engine_text(record), record["setting"]]
    if "skipped" in record:
        return head + ["skipped: " + record["skipped"], "", "", ""]
    ratio = ""
    if reference and "skipped" not in reference:
        ratio = f"{reference['cpu_us_per_step']['min'] / record['cpu_us_per_step']['min']:.2f}"
    accuracy = ", ".join(figure_text(record, name) for name, value
                         in record.get("accuracy", {}).items() if value is not None)
    return head + [time_text(record), ratio, f"{record['contacts']:g}", accuracy]


def table(about, records):
    lines = [f"Commit {about['commit']}, {about['compiler']}, `{about['flags']}`, "
             f"{about['processor']}, load {about['load_average']}.", "",
             "| scene | engine | setting | CPU µs per step, median (min – max) | "
             "speed relative to the packaged mujoco, default (minima) | contacts | accuracy |",
             "|---|---|---|---|---|---|---|"]
    for key, record in records.items():
        reference = records.get((key[0], *REFERENCE, None))
        lines.append("| " + " | ".join(row(record, reference)) + " |")
    return "\n".join(lines) + "\n"


def main():
    build, out = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    lines = [json.loads(text) for text in (out / "lines.jsonl").read_text().splitlines()]
    about, records = machine(build), join(lines)
    (out / "table.md").write_text(table(about, records))
    (out / "results.json").write_text(
        json.dumps({"about": about, "records": list(records.values())}, indent=1) + "\n")
    print(f"wrote {len(records)} records to table.md and results.json")


if __name__ == "__main__":
    main()
