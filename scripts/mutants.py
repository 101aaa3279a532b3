#!/usr/bin/env python3
"""A small mutation run over engine/ and operations/.

Each mutant is one small change to one line (a flipped comparison, a dropped
early return, a constant off by one, ...). It is built, and the tests of its
module are run; a mutant that no test notices ("survived") points at code the
tests do not really check. The score is killed / (killed + survived); mutants
that do not compile ("stillborn") are left out of it.

The working tree is never written to: every worker has its own copy of the
sources and its own build folder under build/mutants/, synchronised from the
working tree at the start of each run and built once, so a mutant only costs
the recompilation of the file it changes. An interrupted run can leave a slot's
copy mutated; the next run's synchronisation puts it right.

    python3 scripts/mutants.py --count 300 -j 2 --json build/mutants/report.json
"""

import argparse
import bisect
import concurrent.futures
import json
import os
import queue
import random
import re
import shutil
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
MODULES = {"engine": "engine_tests", "operations": "operations_tests"}
# Folders and files of the working tree that a slot's copy leaves out.
SKIP_IN_COPY = {".git", ".cache", "__pycache__"}
# Generous, so that only a hung compiler stops a mutant's build.
BUILD_TIMEOUT = 1800

# --------------------------------------------------------------------------
# Finding the sites


def mask_source(text):
    """Returns text with comments, preprocessor lines and the insides of string
    and character literals blanked out, at the same length and with the same
    line breaks, so that operators can be found by position in code only."""
    out = list(text)
    i, n = 0, len(text)
    line_start = True

    def blank(a, b, keep_newlines=True):
        for k in range(a, b):
            if not (keep_newlines and text[k] == "\n"):
                out[k] = " "

    while i < n:
        c = text[i]
        if c == "\n":
            line_start = True
            i += 1
            continue
        if line_start and c in " \t":
            i += 1
            continue
        if line_start and c == "#":
            # A preprocessor line, with its continuations.
            j = i
            while j < n:
                if text[j] == "\n" and text[j - 1] != "\\":
                    break
                j += 1
            blank(i, j)
            i = j
            continue
        line_start = False
        if text.startswith("//", i):
            j = text.find("\n", i)
            j = n if j < 0 else j
            blank(i, j)
            i = j
        elif text.startswith("/*", i):
            j = text.find("*/", i + 2)
            j = n if j < 0 else j + 2
            blank(i, j)
            i = j
        elif c == '"' and i > 0 and text[i - 1] == "R" and not (
                i > 1 and (text[i - 2].isalnum() and text[i - 2] not in "u8LU")):
            m = re.match(r'R"([^(\s]*)\(', text[i - 1:])
            if not m:
                i += 1
                continue
            end = text.find(")" + m.group(1) + '"', i)
            end = n if end < 0 else end + len(m.group(1)) + 2
            blank(i + 1, end - 1)
            i = end
        elif c == '"' or (c == "'" and not (i > 0 and text[i - 1].isalnum())):
            j = i + 1
            while j < n and text[j] != c and text[j] != "\n":
                j += 2 if text[j] == "\\" else 1
            blank(i + 1, min(j, n))
            i = j + 1
        else:
            i += 1
    return "".join(out)


def block_kinds(masked):
    """Returns, for each line (0-based), the kind of the innermost block it
    starts in ("top", "namespace", "class", "enum", "if" or "code"), and the
    spans of `return ...;` statements that sit in an if's body."""
    kinds = []
    stack = []
    stmt_start = 0
    depth = 0  # parentheses, so that a for's semicolons do not end statements
    early_returns = []
    line_no = 0
    kinds.append("top")
    for i, c in enumerate(masked):
        if c == "\n":
            line_no += 1
            kinds.append(stack[-1] if stack else "top")
        elif c == "(":
            depth += 1
        elif c == ")":
            depth = max(0, depth - 1)
        elif c == "{":
            header = " ".join(masked[stmt_start:i].split())
            header = re.sub(r"^(public|private|protected)\s*:\s*", "", header)
            if re.match(r"(\w+\s+)*namespace\b|extern\s+\"", header):
                kind = "namespace"
            elif re.match(r"(template\s*<.*>\s*)?(class|struct|union)\b[^(]*$", header):
                kind = "class"
            elif re.match(r"enum\b", header):
                kind = "enum"
            elif re.match(r"(else\s+)?if\b|else$", header):
                kind = "if"
            else:
                kind = "code"
            stack.append(kind)
            stmt_start = i + 1
        elif c == "}":
            if stack:
                stack.pop()
            stmt_start = i + 1
        elif c == ";" and depth == 0:
            stmt = masked[stmt_start:i + 1]
            m = re.search(r"\breturn\b", stmt)
            if m and "\n" not in stmt[m.start():]:
                before = " ".join(stmt[:m.start()].split())
                braceless_if = re.match(r"(else\s+)?if\s*\(.*\)$|else$", before)
                if braceless_if or (before == "" and stack and stack[-1] == "if"):
                    early_returns.append((stmt_start + m.start(), i + 1))
            stmt_start = i + 1
    return kinds, early_returns


# Lines where a site would change a declaration rather than what the code does.
SKIP_LINE = re.compile(r"\boperator\b|=\s*(default|delete)\b|\bstatic_assert\b|\btemplate\b")
# A + or - is only flipped where the line is about sizes and positions, which
# is where those slips hide; elsewhere it is mostly text joined together.
SIZE_WORDS = re.compile(
    r"size|length|\blen\b|offset|pos|count|index|\bidx\b|bytes|\bend\b|begin|start|"
    r"remaining|skip|total|width|padding|\b[nijk]\b|\d", re.IGNORECASE)
OPERAND_LEFT = re.compile(r"[\w)\]]$")
OPERAND_RIGHT = re.compile(r"^[\w(]")


def line_sites(masked_line):
    """Yields (column, length, operator name, replacement) for one line."""
    line = masked_line

    def spaced(m):
        return (m.start() > 0 and line[m.start() - 1] == " "
                and m.end() < len(line) and line[m.end()] == " ")

    for m in re.finditer(r"(?<![=!<>])(==|!=)(?!=)", line):
        if spaced(m):
            yield m.start(), 2, "==/!=", "!=" if m.group() == "==" else "=="
    for m in re.finditer(r"(?<![<>=-])(<=|>=|<|>)(?![<>=])", line):
        if spaced(m):
            swap = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}[m.group()]
            yield m.start(), len(m.group()), m.group() + "/" + swap, swap
    if '"' not in line and SIZE_WORDS.search(line):
        for m in re.finditer(r"(?<![+\-])([+\-]=?)(?![+\-=>])", line):
            if not spaced(m):
                continue
            left, right = line[:m.start() - 1], line[m.end() + 1:]
            if OPERAND_LEFT.search(left) and OPERAND_RIGHT.search(right):
                swap = {"+": "-", "-": "+", "+=": "-=", "-=": "+="}[m.group()]
                yield m.start(), len(m.group()), "+/-", swap
    for m in re.finditer(r"&&|\|\|", line):
        if spaced(m):
            yield m.start(), 2, "&&/||", "||" if m.group() == "&&" else "&&"
    for m in re.finditer(r"\b(true|false)\b", line):
        yield m.start(), len(m.group()), "true/false", "false" if m.group() == "true" else "true"
    for m in re.finditer(r"(?<![\w.'])(0[xX][0-9a-fA-F']+|\d[\d']*)([uUlLzZ]*)(?![\w.'])", line):
        digits = m.group(1).replace("'", "")
        value = int(digits, 16) if digits[:2].lower() == "0x" else int(digits, 10)
        if len(digits) > 1 and digits[0] == "0" and digits[:2].lower() != "0x":
            continue  # octal: rare enough to leave alone
        # One direction only, so that constants, the commonest site by far,
        # do not crowd the other operators out of the sample.
        new = value + 1
        text = (f"0x{new:X}" if digits[:2].lower() == "0x" else str(new)) + m.group(2)
        yield m.start(), len(m.group()), "constant+1", text


def find_sites():
    """All candidate mutants, in a fixed order: by file, line and column."""
    sites = []
    for module in MODULES:
        files = sorted(p for p in (ROOT / module).iterdir() if p.suffix in (".cpp", ".h"))
        for path in files:
            text = path.read_text(encoding="utf-8")
            masked = mask_source(text)
            kinds, early_returns = block_kinds(masked)
            lines = text.split("\n")
            masked_lines = masked.split("\n")
            offsets = [0]
            for line in lines[:-1]:
                offsets.append(offsets[-1] + len(line) + 1)
            rel = path.relative_to(ROOT).as_posix()

            def add(line_no, col, length, operator, replacement):
                original = lines[line_no]
                mutated = original[:col] + replacement + original[col + length:]
                sites.append({"file": rel, "module": module, "line": line_no + 1,
                              "column": col + 1, "operator": operator,
                              "original": original, "mutated": mutated})

            for line_no, masked_line in enumerate(masked_lines):
                if not masked_line.strip() or SKIP_LINE.search(masked_line):
                    continue
                kind = kinds[line_no]
                # Outside function bodies only initialisers change behaviour;
                # a bare declaration would at most stop compiling.
                if kind == "enum" or (kind in ("top", "namespace", "class")
                                      and not re.search(r"(?<![=!<>])=(?!=)", masked_line)):
                    continue
                for col, length, operator, replacement in line_sites(masked_line):
                    add(line_no, col, length, operator, replacement)
            for start, end in early_returns:
                line_no = bisect.bisect_right(offsets, start) - 1
                if SKIP_LINE.search(masked_lines[line_no]):
                    continue
                col = start - offsets[line_no]
                add(line_no, col, end - start, "drop return", "{}")
    sites.sort(key=lambda s: (s["file"], s["line"], s["column"], s["operator"], s["mutated"]))
    return sites


# --------------------------------------------------------------------------
# Slots: a private copy of the sources and a build folder per worker


def sync_tree(src, dst):
    """Makes dst a copy of src's files (not its build trees), writing only the
    files whose content differs so that the slot's build stays incremental."""
    wanted = set()
    for dirpath, dirnames, filenames in os.walk(src):
        rel_dir = Path(dirpath).relative_to(src)
        dirnames[:] = sorted(d for d in dirnames if d not in SKIP_IN_COPY
                             and not (rel_dir == Path(".") and d.startswith("build")))
        for name in filenames:
            if name in SKIP_IN_COPY:
                continue
            rel = rel_dir / name
            wanted.add(rel)
            source, target = Path(dirpath) / name, dst / rel
            data = source.read_bytes()
            if not target.exists() or target.read_bytes() != data:
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(data)
                shutil.copymode(source, target)
    for dirpath, _, filenames in os.walk(dst):
        for name in filenames:
            rel = Path(dirpath).relative_to(dst) / name
            if rel not in wanted:
                (dst / rel).unlink()


# Children run in their own sessions (so a time-out can end a whole build), out
# of reach of the terminal's Ctrl-C: an interrupted run ends them itself.
running = set()
running_lock = threading.Lock()
stopping = threading.Event()


def stop_all():
    stopping.set()
    with running_lock:
        for proc in running:
            try:
                os.killpg(proc.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass


def run(cmd, cwd=None, timeout=None, env=None):
    """Runs cmd in its own process group so that a time-out ends all of it."""
    with running_lock:
        if stopping.is_set():
            raise KeyboardInterrupt
        proc = subprocess.Popen(cmd, cwd=cwd, env=env, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True, errors="replace",
                                start_new_session=True)
        running.add(proc)
    try:
        out, _ = proc.communicate(timeout=timeout)
        return proc.returncode, out, False
    except subprocess.TimeoutExpired:
        os.killpg(proc.pid, signal.SIGKILL)
        out, _ = proc.communicate()
        return proc.returncode, out, True
    except BaseException:
        os.killpg(proc.pid, signal.SIGKILL)
        proc.wait()
        raise
    finally:
        with running_lock:
            running.discard(proc)


class Slot:
    def __init__(self, base, index):
        self.dir = base / f"slot{index}"
        self.src = self.dir / "src"
        self.build = self.dir / "build"
        self.home = self.dir / "home"
        self.env = dict(os.environ)
        # The tests write logs, settings and trash; keep those in the slot.
        for var, sub in (("XDG_STATE_HOME", "state"), ("XDG_CONFIG_HOME", "config"),
                         ("XDG_DATA_HOME", "data"), ("XDG_CACHE_HOME", "cache"),
                         ("TMPDIR", "tmp")):
            (self.home / sub).mkdir(parents=True, exist_ok=True)
            self.env[var] = str(self.home / sub)

    def prepare(self, targets, jobs):
        self.src.mkdir(parents=True, exist_ok=True)
        sync_tree(ROOT, self.src)
        if not (self.build / "CMakeCache.txt").exists():
            code, out, _ = run(["cmake", "-S", str(self.src), "-B", str(self.build), "-G", "Ninja",
                                "-DCMAKE_BUILD_TYPE=Debug", "-DMELOS_BUILD_TESTS=ON"])
            if code != 0:
                raise SystemExit(f"configuring {self.build} failed:\n{out}")
        code, out, _ = self.compile(targets, jobs=jobs)
        if code != 0:
            raise SystemExit(f"the unmutated build in {self.build} failed:\n{out[-4000:]}")

    def compile(self, targets, jobs=1):
        cmd = ["cmake", "--build", str(self.build), "-j", str(jobs)]
        for target in targets:
            cmd += ["--target", target]
        return run(cmd, timeout=BUILD_TIMEOUT)

    def test(self, module, timeout):
        binary = self.build / "tests" / module / MODULES[module]
        return run([str(binary)], cwd=binary.parent, timeout=timeout, env=self.env)


FAILED = re.compile(r"^\[  FAILED  \] ([A-Za-z_]\w*(?:/\w+)?\.\w+(?:/\w+)?)", re.MULTILINE)


RUN = re.compile(r"^\[ RUN      \] (\S+)", re.MULTILINE)
ENDED = re.compile(r"^\[ +(?:OK|FAILED|SKIPPED) +\] (\S+)", re.MULTILINE)


def failed_tests(output):
    failed = set(FAILED.findall(output))
    # A crash prints no FAILED line: the test that was running killed it.
    started = RUN.findall(output)
    if started and started[-1] not in ENDED.findall(output):
        failed.add(started[-1])
    return sorted(failed)


def run_mutant(slot, mutant, timeout):
    path = slot.src / mutant["file"]
    original = path.read_bytes()
    backup = path.with_name(path.name + ".orig")
    backup.write_bytes(original)
    lines = original.decode("utf-8").split("\n")
    index = mutant["line"] - 1
    if lines[index] != mutant["original"]:
        raise SystemExit(f"{mutant['file']}:{mutant['line']} changed while the run was starting")
    lines[index] = mutant["mutated"]
    started = time.monotonic()
    try:
        path.write_bytes("\n".join(lines).encode("utf-8"))
        code, out, timed_out = slot.compile([MODULES[mutant["module"]]])
        if stopping.is_set():
            raise KeyboardInterrupt
        built = time.monotonic()
        mutant["build_seconds"] = round(built - started, 1)
        if code != 0 or timed_out:
            mutant["outcome"] = "stillborn"
            errors = [l for l in out.splitlines() if "error:" in l]
            mutant["build_error"] = errors[0] if errors else out.strip()[-300:]
            return mutant
        code, out, timed_out = slot.test(mutant["module"], timeout)
        if stopping.is_set():
            raise KeyboardInterrupt  # the run's own kill, not the tests'
        mutant["test_seconds"] = round(time.monotonic() - built, 1)
        mutant["killed_by"] = failed_tests(out)
        if timed_out:
            mutant["outcome"] = "timeout"
        elif code == 0:
            mutant["outcome"] = "survived"
        else:
            mutant["outcome"] = "killed"
            if code < 0 or not mutant["killed_by"]:
                mutant["crash"] = f"exit {code}" if code > 0 else f"signal {-code}"
        return mutant
    finally:
        path.write_bytes(original)
        backup.unlink()


def replay_sample(report):
    """The mutants of an earlier report, each moved to where its line now is
    (the nearest line with the same text), and those whose line is gone."""
    sample, gone = [], []
    texts = {}
    for old in json.loads(report.read_text(encoding="utf-8"))["mutants"]:
        mutant = {k: old[k] for k in ("file", "module", "line", "column", "operator",
                                      "original", "mutated", "id")}
        if mutant["file"] not in texts:
            path = ROOT / mutant["file"]
            texts[mutant["file"]] = (path.read_text(encoding="utf-8").split("\n")
                                     if path.exists() else [])
        lines = texts[mutant["file"]]
        same = [k + 1 for k, line in enumerate(lines) if line == mutant["original"]]
        if not same:
            gone.append(mutant)
            continue
        mutant["line"] = min(same, key=lambda k: abs(k - old["line"]))
        sample.append(mutant)
    return sample, gone


# --------------------------------------------------------------------------


def interrupt(signum, frame):
    raise KeyboardInterrupt


def main():
    # A kill from outside ends the run as Ctrl-C does, restoring the slots.
    signal.signal(signal.SIGTERM, interrupt)
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=300, help="mutants to draw (default 300)")
    parser.add_argument("--timeout", type=float, default=60, help="seconds per test run")
    parser.add_argument("-j", "--jobs", type=int, default=1, help="mutants built and run at once")
    parser.add_argument("--json", metavar="OUT", help="write a report of every mutant")
    parser.add_argument("--build-dir", default=str(ROOT / "build" / "mutants"))
    parser.add_argument("--list", action="store_true", help="print the sample and stop")
    parser.add_argument("--replay", metavar="REPORT",
                        help="run the mutants of an earlier --json report instead of a new "
                             "sample, so that a change to the tests is judged on the same mutants "
                             "even after the code has moved")
    parser.add_argument("--only", metavar="IDS",
                        help="run only these mutants of the sample, by id (1,5,7-9): a quick "
                             "check that a change to the tests still kills them")
    args = parser.parse_args()

    sites = []
    if args.replay:
        sample, gone = replay_sample(Path(args.replay))
        print(f"{len(sample)} mutants of {args.replay}; {len(gone)} whose line is gone: "
              + ",".join(str(m["id"]) for m in gone))
    else:
        sites = find_sites()
        sample = random.Random(args.seed).sample(sites, min(args.count, len(sites)))
        sample.sort(key=lambda s: (s["file"], s["line"], s["column"], s["operator"], s["mutated"]))
        for number, mutant in enumerate(sample, 1):
            mutant["id"] = number
        print(f"{len(sites)} candidate sites; {len(sample)} drawn with seed {args.seed}")
    if args.only:
        # Ids number the whole sample, so a part of it keeps the ids of a full run.
        wanted = set()
        for part in args.only.split(","):
            first, _, last = part.partition("-")
            wanted.update(range(int(first), int(last or first) + 1))
        sample = [m for m in sample if m["id"] in wanted]
        print(f"running {len(sample)} of them")
    if args.list:
        for m in sample:
            print(f"{m['id']:4} {m['file']}:{m['line']} {m['operator']}: {m['mutated'].strip()}")
        return 0

    base = Path(args.build_dir).resolve()
    jobs = max(1, min(args.jobs, len(sample)))
    targets = sorted({MODULES[m["module"]] for m in sample})
    slots = [Slot(base, k) for k in range(jobs)]
    started = time.monotonic()
    for slot in slots:
        print(f"Preparing {slot.dir} (copy of the sources, unmutated build) ...", flush=True)
        slot.prepare(targets, jobs)
        if slot is slots[0]:
            for module in sorted({m["module"] for m in sample}):
                test_started = time.monotonic()
                code, out, timed_out = slot.test(module, args.timeout)
                if code != 0 or timed_out:
                    tail = "\n".join(out.splitlines()[-20:])
                    raise SystemExit(f"{MODULES[module]} fails without any mutant:\n{tail}")
                print(f"{MODULES[module]} passes unmutated in "
                      f"{time.monotonic() - test_started:.1f} s", flush=True)
    print(f"Ready in {time.monotonic() - started:.0f} s", flush=True)

    free = queue.Queue()
    for slot in slots:
        free.put(slot)
    lock = threading.Lock()
    done = [0]

    def work(mutant):
        slot = free.get()
        try:
            run_mutant(slot, mutant, args.timeout)
        finally:
            free.put(slot)
        with lock:
            done[0] += 1
            kills = f" by {len(mutant['killed_by'])} test(s)" if mutant.get("killed_by") else ""
            if mutant.get("crash"):
                kills += f" ({mutant['crash']})"
            seconds = mutant.get("build_seconds", 0) + mutant.get("test_seconds", 0)
            print(f"[{done[0]}/{len(sample)}] #{mutant['id']} {mutant['file']}:{mutant['line']} "
                  f"{mutant['operator']}: {mutant['outcome']}{kills} ({seconds:.1f} s)", flush=True)
        return mutant

    run_started = time.monotonic()
    pool = concurrent.futures.ThreadPoolExecutor(max_workers=jobs)
    futures = [pool.submit(work, m) for m in sample]
    try:
        for future in futures:
            future.result()
    except BaseException:
        # Each worker puts its slot's file back in its own finally.
        for future in futures:
            future.cancel()
        stop_all()
        pool.shutdown(wait=True)
        print("\ninterrupted; the working tree was not touched", file=sys.stderr)
        raise
    pool.shutdown()
    elapsed = time.monotonic() - run_started

    counts = {k: sum(1 for m in sample if m["outcome"] == k)
              for k in ("killed", "timeout", "survived", "stillborn")}
    killed = counts["killed"] + counts["timeout"]
    scored = killed + counts["survived"]
    score = killed / scored if scored else None
    per_mutant = [m["build_seconds"] + m.get("test_seconds", 0) for m in sample]
    print()
    print(f"killed {counts['killed']}, timed out {counts['timeout']}, survived {counts['survived']}, "
          f"stillborn {counts['stillborn']}")
    print("mutation score: " + (f"{100 * score:.1f}% ({killed}/{scored})" if scored else "-"))
    print(f"time: {elapsed:.0f} s with -j {jobs}, {sum(per_mutant) / len(per_mutant):.1f} s per mutant "
          f"(build + tests)")
    survivors = [m for m in sample if m["outcome"] == "survived"]
    if survivors:
        print("\nsurviving mutants:")
        for m in survivors:
            print(f"  {m['file']}:{m['line']} {m['operator']}")
            print(f"    - {m['original'].strip()}")
            print(f"    + {m['mutated'].strip()}")

    if args.json:
        # The tests that are the only ones to kill some mutant, which a
        # consolidation of the suite must keep or replace.
        sole = {}
        for m in sample:
            if len(m.get("killed_by", [])) == 1:
                sole.setdefault(m["killed_by"][0], []).append(m["id"])
        report = {"seed": args.seed, "count": args.count, "timeout": args.timeout,
                  "candidate_sites": len(sites) or None, "replay": args.replay, "score": score, "counts": counts,
                  "sole_killers": dict(sorted(sole.items())), "mutants": sample}
        Path(args.json).parent.mkdir(parents=True, exist_ok=True)
        Path(args.json).write_text(json.dumps(report, indent=2) + "\n", encoding="utf-8")
        print(f"\nreport: {args.json}")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
