#!/usr/bin/python3
"""Times every reader of the comparison over the whole library, side by side
in one run, and prints each as files per second and as a multiple of TagLib's
time.

Each reader gets all files in one invocation (process start-up is part of what
a user waits for), from inside the library so that the argument list stays
short. The cache is warmed first, so the table compares parsing, not the disk;
`cat` of every byte is the bound for a reader that would read whole files.
Runs go round-robin over the readers so that a slow spell of the machine
hits them all; the table shows the median.

Usage: time_readers.py --library DIR --melos BIN [--taglib BIN] [--runs N]
"""

import argparse
import glob
import json
import os
import statistics
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
PYTHON = "/usr/bin/python3"  # Debian's, which has python3-mutagen


def run(command, cwd, capture):
    start = time.perf_counter()
    done = subprocess.run(command, cwd=cwd, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE if capture else subprocess.DEVNULL,
                          stderr=subprocess.PIPE)
    elapsed = time.perf_counter() - start
    if done.returncode != 0:
        sys.stderr.write(done.stderr.decode(errors="replace")[-2000:])
        raise SystemExit(f"{command[0]} failed with exit code {done.returncode}")
    return elapsed, (done.stdout.decode(errors="replace") if capture else "")


def check_melos(melos, library, files):
    """One untimed quick-scan read whose JSON must show every file's tags, so
    that a fast but wrong reader cannot pass unnoticed."""
    _, out = run([melos, "show", "--json", *files], library, True)
    reports = json.loads(out)
    missing = [r.get("path") for r in reports
               if not r.get("v2", {}).get("title") or not r.get("v2", {}).get("picdata")
               or not r.get("v1", {}).get("title")]
    vbr = sum(1 for r in reports if r.get("audio", {}).get("vbr"))
    if len(reports) != len(files) or missing:
        raise SystemExit(f"melos show --json: {len(reports)} reports for {len(files)} files, "
                         f"tags missing in {missing[:5]}")
    print(f"check: melos reads both tags and the cover of all {len(files)} files "
          f"({vbr} VBR)")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--library", required=True)
    parser.add_argument("--melos", required=True)
    parser.add_argument("--taglib")
    parser.add_argument("--runs", type=int, default=3)
    args = parser.parse_args()

    library = os.path.abspath(args.library)
    files = sorted(os.path.basename(p) for p in glob.glob(os.path.join(library, "t*.mp3")))
    if not files:
        raise SystemExit(f"no tracks in {library}")
    total_bytes = sum(os.path.getsize(os.path.join(library, f)) for f in files)
    melos = os.path.abspath(args.melos)

    readers = [
        ("melos show --json (quick scan)", [melos, "show", "--json", *files], False),
        ("melos show --json --full-scan", [melos, "show", "--json", "--full-scan", *files], False),
    ]
    taglib_name = "TagLib FileRef (taglib_read)"
    if args.taglib:
        readers.append((taglib_name, [os.path.abspath(args.taglib), *files], True))
    readers += [
        ("mutagen MP3() (mutagen_read.py)", [PYTHON, os.path.join(HERE, "mutagen_read.py"), *files],
         True),
        ("cat (read limit)", ["cat", *files], False),
    ]

    print(f"library: {len(files)} files, {total_bytes / 1e9:.2f} GB; warming the cache")
    run(["cat", *files], library, False)
    check_melos(melos, library, files)

    times = {name: [] for name, _, _ in readers}
    notes = {}
    for _ in range(args.runs):
        for name, command, capture in readers:
            elapsed, out = run(command, library, capture)
            times[name].append(elapsed)
            if out.strip():
                notes[name] = out.strip().splitlines()[-1]
    for note in notes.values():
        print(note)

    reference = statistics.median(times[taglib_name]) if args.taglib else None
    print()
    print(f"{len(files)} files, {total_bytes / 1e9:.2f} GB, warm cache, median of {args.runs} runs")
    header = f"{'reader':<34} {'seconds':>9} {'files/s':>10} {'/ TagLib':>9}"
    print(header)
    print("-" * len(header))
    for name, _, _ in readers:
        seconds = statistics.median(times[name])
        ratio = f"{seconds / reference:.2f}" if reference else "n/a"
        print(f"{name:<34} {seconds:>9.3f} {len(files) / seconds:>10.0f} {ratio:>9}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
