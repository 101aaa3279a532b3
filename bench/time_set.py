#!/usr/bin/python3
"""Times `melos set --album X` over about 200 files of about 5 MB against `cp -r`
of the same files, in one run, on the same disk.

The files are the largest of the benchmark library. Before each timed step the
files are put back as they were and the disk is left with nothing to write, so
no step pays for the one before it. The trash preference is on, as by default,
with the trash in the bench folder. `cp -r` does not flush what it wrote and a
save does, so `cp -r` followed by `sync` of the copies is timed too, as the copy
of equal durability.

Usage: time_set.py --library DIR --melos PATH [--count N] [--runs N] [--work DIR]
"""

import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import time


def settle(folder):
    fd = os.open(folder, os.O_RDONLY)
    try:
        os.syncfs(fd) if hasattr(os, "syncfs") else os.sync()
    finally:
        os.close(fd)


def restore(pristine, work):
    shutil.rmtree(work, ignore_errors=True)
    shutil.copytree(pristine, work)


def timed(command, env=None):
    start = time.perf_counter()
    done = subprocess.run(command, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    seconds = time.perf_counter() - start
    if done.returncode != 0:
        sys.exit("time_set: %s failed: %s" % (command[0], done.stderr.decode(errors="replace")))
    return seconds


def check_albums(melos, files):
    shown = subprocess.run([melos, "show", "--json", *files], capture_output=True, check=True)
    tracks = json.loads(shown.stdout)
    wrong = [t.get("path") for t in tracks if t.get("v2", {}).get("album") != "X"]
    if len(tracks) != len(files) or wrong:
        sys.exit("time_set: the album was not set in %d files" % max(len(wrong), 1))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--library", required=True)
    parser.add_argument("--melos", required=True)
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--work", help="a folder on the same disk (default: beside the library)")
    args = parser.parse_args()

    names = [n for n in os.listdir(args.library) if n.endswith(".mp3")]
    names.sort(key=lambda n: (-os.path.getsize(os.path.join(args.library, n)), n))
    names = names[: args.count]
    if len(names) < args.count:
        sys.exit("time_set: the library has %d files, %d wanted" % (len(names), args.count))

    root = os.path.abspath(args.work or os.path.join(os.path.dirname(os.path.abspath(args.library)), "bench-set"))
    shutil.rmtree(root, ignore_errors=True)
    pristine, work, copy, data = (os.path.join(root, d) for d in ("pristine", "work", "copy", "data"))
    os.makedirs(pristine)
    for name in names:
        shutil.copyfile(os.path.join(args.library, name), os.path.join(pristine, name))
    size = sum(os.path.getsize(os.path.join(pristine, n)) for n in names)
    env = dict(os.environ, XDG_DATA_HOME=data)
    files = [os.path.join(work, n) for n in names]
    cores = os.cpu_count() or 1

    steps = {
        "melos set -j 1": lambda: timed([args.melos, "set", "--album", "X", "-j", "1", "--", *files], env),
        "melos set (-j %d, one per core)" % cores: lambda: timed([args.melos, "set", "--album", "X", "--", *files],
                                                               env),
        "cp -r": lambda: timed(["cp", "-r", pristine, copy]),
        "cp -r, then sync of the copies": lambda: timed(["cp", "-r", pristine, copy])
        + timed(["sync", "--", *(os.path.join(copy, n) for n in names)]),
    }
    times = {label: [] for label in steps}
    for _ in range(args.runs):
        for label, step in steps.items():
            restore(pristine, work)
            shutil.rmtree(copy, ignore_errors=True)
            shutil.rmtree(data, ignore_errors=True)
            settle(root)
            times[label].append(step())
            if label.startswith("melos"):
                check_albums(args.melos, files)

    cp = statistics.median(times["cp -r"])
    print("%d files, %.0f MB, %d runs of each (medians); trash on" % (len(names), size / 1e6, args.runs))
    print("%-34s %9s %9s %8s   (%s)" % ("", "seconds", "files/s", "/ cp -r", "each run"))
    for label, values in times.items():
        seconds = statistics.median(values)
        print("%-34s %9.3f %9.0f %8.2f   (%s)" % (label, seconds, len(names) / seconds, seconds / cp,
                                                  " ".join("%.3f" % v for v in values)))
    shutil.rmtree(root, ignore_errors=True)


if __name__ == "__main__":
    main()
