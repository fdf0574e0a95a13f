#!/usr/bin/env python3
"""table.py FOLDER [FILTER] [--repeats N]: runs the benchmarks in a folder and prints one table of ratios.

Each row divides the time of a measured case by that of its peer. Both run in one process, their
repetitions interleaved at random; the least time of the repetitions counts, since everything else
that the machine does only adds to it. Cases of documents run in several programs, which differ in
the place of their code alone: the row is the middle one, and the least and the greatest ratio stand
behind it. Ends with 1 when a ratio is missed. A row that cannot be measured here says why, and counts as neither.
"""

import argparse
import json
import pathlib
import subprocess
import sys
import tempfile

PARSE = "document/CFiConfigParamDataList::parse"
UPDATE = "document/CFiConfigParamDataList::updateXML"
EMPTY = "document/read with an empty handler"

# what is measured, its peer, the ratio wanted at most, and what the peer is
ROWS = [
    ("CFiMessageDigest5/64KiB", "EVP_md5/64KiB", 1.05, "OpenSSL EVP_md5"),
    ("CFiMessageDigest5/1MiB", "EVP_md5/1MiB", 1.05, "OpenSSL EVP_md5"),
    ("CFiMessageDigest5/16B", "EVP_md5/16B", 0.6, "OpenSSL EVP_md5"),
    (PARSE + "/20", EMPTY + "/20", 1.3, "same reader, empty handler"),
    (PARSE + "/1000", EMPTY + "/1000", 1.35, "same reader, empty handler"),
    (PARSE + "/100000", EMPTY + "/100000", 1.35, "same reader, empty handler"),
    (PARSE + "/100000", PARSE + "/1000", 1.2, "itself, a value", 100),
    ("convertToXmlSpecialCharacters/clean", "xmlEncodeSpecialChars/clean", 0.7, "libxml2 xmlEncodeSpecialChars"),
    ("convertToXmlSpecialCharacters/one-in-twenty", "xmlEncodeSpecialChars/one-in-twenty", 0.7, "libxml2 xmlEncodeSpecialChars"),
    ("V_snprintf", "snprintf", 1.05, "the C library"),
    ("V_sscanf_d", "sscanf_d", 1.0, "the C library"),
    ("V_sscanf_words", "sscanf_words", 1.0, "the C library"),
    ("add_defaults/1000", "add_defaults/100", 150, "itself at 100 into 100"),
    ("trace/filtered", "bare/read_settings", 1.3, "bare open, read, close"),
    ("trace/written", "bare/read_settings_and_append", 1.3, "the same and open, fstat, write, close"),
    ("Exec/true", "popen/true", 0.5, "popen, read, pclose"),
    ("Exec/true_with_input", "popen/true", 1.0, "popen, read, pclose"),
    ("Exec/true_4GiB", "Exec/true", 1.5, "itself in a small process"),
    ("ReadLine/100MiB", "getline/100MiB", 2.0, "popen and getline, reads of 512 bytes"),
    ("enclosure_map/256", "bare_readdir/256", 1.5, "bare readdir, open, read, close"),
    ("credentials/10000", "credentials/1000", 12, "itself at a tenth"),
    ("selection/10000", "selection/1000", 12, "itself at a tenth"),
    ("import/1000", "import/100", 12, "itself at a tenth"),
    ("filesnap/copy", "cp/sync", 1.1, "cp and sync of 256 MiB"),
    ("filesnap/verify", "cp/md5sum", 1.5, "cp --sparse=always and md5sum"),
    ("filesnap/files/10000", "filesnap/files/100", 1.3, "itself, a file", 100),
    ("btrfssnap/make", "btrfs/snapshot", 1.1, "btrfs subvolume snapshot -r of 10,000 files"),
    ("fihost/known/100000", "fihost/known/100", 1.2, "itself with 100 known, under 60 MiB"),
    ("interpose/1000", "strstr/1000", 1.5, "the same strstr loop"),
    ("claim/1000", "strstr/1000", 1.5, "the same strstr loop"),
]

# what is measured, and how many values it has
STATED = [(f"{UPDATE}/{count}", count) for count in (20, 1000, 100000)]


class Skipped(Exception):
    """A case cannot be measured on this machine."""


def measure(program, names, repeats):
    """The least time of each case in nanoseconds. Raises Skipped where a case says so."""
    with tempfile.NamedTemporaryFile() as report:
        command = [program, f"--benchmark_filter=^({'|'.join(sorted(names))})(/real_time)?$",
                   f"--benchmark_repetitions={repeats}", "--benchmark_enable_random_interleaving=true",
                   f"--benchmark_out={report.name}", "--benchmark_out_format=json",
                   "--benchmark_min_time=0.05"]
        result = subprocess.run(command, capture_output=True, text=True)
        if result.returncode:
            sys.exit(f"{result.stderr}\nended with {result.returncode}")
        runs = json.load(report)["benchmarks"]
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    least = {}
    for run in runs:
        if run.get("error_message", "").startswith("skipped: "):
            raise Skipped(run["error_message"].removeprefix("skipped: "))
        if run.get("run_type") == "iteration" and not run.get("error_occurred"):
            name = run["run_name"].removesuffix("/real_time")
            time = run["real_time"] * unit[run["time_unit"]]
            least[name] = min(time, least.get(name, time))
    return least


def programs(folder, name):
    """The programs that hold a case."""
    pattern = "document_bench_*" if name.startswith("document/") else "orca_bench"
    return sorted(path for path in folder.glob(pattern) if path.is_file())


def ratios(options, name, peer, scale):
    """The case's time, its peer's and their ratio, once a program, by ratio."""
    found = []
    for program in programs(options.folder, name):
        times = measure(program, {name, peer}, options.repeats)
        if name in times and peer in times:
            found.append((times[name] / times[peer] / scale, times[name], times[peer]))
    return sorted(found)


def print_row(options, name, peer, wanted, against, scale=1):
    """Prints a row; true when it is met, None when it was skipped."""
    try:
        found = ratios(options, name, peer, scale)
    except Skipped as reason:
        print(f"{name:46} skipped: {reason}", flush=True)
        return None
    if not found:
        print(f"{name:46} {'not measured':>12}")
        return False
    ratio, own, others = found[len(found) // 2]
    spread = f", {found[0][0]:.3f} to {found[-1][0]:.3f}" if len(found) > 1 else ""
    print(f"{name:46} {own / 1e3:>9.2f} us {others / 1e3:>9.2f} us {ratio:>8.3f} {wanted:>8} "
          f"{'ok' if ratio <= wanted else 'MISS':>4} {against}{spread}", flush=True)
    return ratio <= wanted


def print_stated(options, name, count):
    """Prints the time of one of `count` values, for which nothing is wanted."""
    each = sorted(measure(program, {name}, options.repeats)[name] / count
                  for program in programs(options.folder, name))
    print(f"{name:46} {each[len(each) // 2]:>9.1f} ns a value, {each[0]:.1f} to {each[-1]:.1f}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("filter", nargs="?", default="")
    parser.add_argument("--repeats", type=int, default=9)
    options = parser.parse_args()
    rows = [row for row in ROWS if options.filter in row[0]]
    stated = [row for row in STATED if options.filter in row[0]]
    if not rows and not stated:
        sys.exit(f"no row holds {options.filter}")
    print(f"{'what':46} {'time':>12} {'peer':>12} {'ratio':>8} {'wanted':>8}      against")
    answers = [print_row(options, *row) for row in rows]
    for row in stated:
        print_stated(options, *row)
    skipped = answers.count(None)
    print(f"{answers.count(True)} of {len(rows) - skipped} met" + (f", {skipped} skipped" if skipped else ""))
    return False in answers


sys.exit(1 if main() else 0)
