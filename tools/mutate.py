#!/usr/bin/env python3
"""Mutation run: put one-line faults into the sources, one at a time, and see
which of them the tests catch.

usage: tools/mutate.sh [--only ID,...] [--preset native|win64] [--build-only] [--every-failure]
                      FAULTS_FILE RESULT_FILE

FAULTS_FILE holds one fault per line (blank lines and lines starting with #
are skipped), fields separated by " | ":

    ID | family | file | original text | replacement text | preset | ctest regex

The original text must occur exactly once in the file; the fault is found by
its text, not by a line number, so the list survives edits elsewhere. In the
texts, \\| stands for a literal "|" and \\n for a line feed. The preset says
what to build and which tests to run:

    native  the portable sources: build tsl_native_tests and tslrun-native,
            then ctest --preset native -R REGEX --stop-on-failure
    win64   the Windows sources: build TSLPR32I.dll and tslrun.exe, then
            ctest --preset win64 -R REGEX -j2 --stop-on-failure (the Wine
            fixtures come along; an environment left by a stopped run is
            ended afterwards)

For every row the result is one of
    CAUGHT      a test failed
    TIMEOUT     the only failures were time-outs (counted as caught)
    SURVIVED    every test of the row passed
    BUILD-FAIL  the mutant did not build (not counted as caught)
    NO-TESTS    the regex selected no test (not counted as caught)
    BAD-ROW     the row is malformed or its text is not found exactly once

The file is put back byte for byte after every row, also on Ctrl+C or a
termination signal. The run refuses to start while the product sources have
uncommitted changes, so that no mutant can land in a commit. --only runs
the rows named, --preset only the rows of one preset; --build-only builds
each mutant without running tests (to check a new list). --every-failure
runs every selected test instead of stopping at the first failure, and
lists every failed test with the places its checks failed (file:line, and
the "row at line N" of a table row): the evidence for which test is the only
one to catch a fault.
"""
import os
import re
import signal
import subprocess
import sys
import time
from datetime import datetime, timezone

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SOURCE_DIRS = ["src", "include", "host", "sdk"]
PRESETS = {
    "native": {
        "build": ["cmake", "--build", "--preset", "native", "--target",
                  "tsl_native_tests", "tslrun-native"],
        "test": ["ctest", "--preset", "native"],
        "first_failure": ["--stop-on-failure", "--timeout", "120"],
        # When every test runs, a hanging mutant costs each test's time-out:
        # a short one (the longest test takes a few seconds).
        "every_failure": ["-j2", "--output-on-failure", "--timeout", "30"],
        "every_limit": 240,   # the whole suite takes 20 s
    },
    "win64": {
        "build": ["cmake", "--build", "--preset", "win64", "--target", "tslpr32i", "tslrun"],
        "test": ["ctest", "--preset", "win64"],
        "first_failure": ["-j2", "--stop-on-failure"],
        # A run stopped at its first failure skips the fixtures' stop: end
        # the Wine environments it left (each ends only when no run uses it).
        "after": "build/win64",
        # the longest box tests take 50 s under load
        "every_failure": ["-j2", "--output-on-failure", "--timeout", "150"],
        "every_limit": 1200,
    },
}
COUNTED = ("CAUGHT", "TIMEOUT")
CAUGHT_SIGNALS = {signal.SIGINT, signal.SIGTERM, signal.SIGHUP}
FIELDS = 7


class Interrupted(Exception):
    pass


def on_signal(signum, _frame):
    raise Interrupted(signal.Signals(signum).name)


def unescape(text):
    return text.replace("\\|", "|").replace("\\n", "\n")


def parse_rows(path):
    rows = []
    with open(path, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            line = line.rstrip("\n")
            if not line.strip() or line.lstrip().startswith("#"):
                continue
            # Split on " | " that is not preceded by a backslash.
            parts = re.split(r"(?<!\\) \| ", line)
            row = {"line": number, "raw": line}
            if len(parts) != FIELDS:
                row.update(id=parts[0].strip() or f"line{number}", problem=f"{len(parts)} fields, want {FIELDS}")
                rows.append(row)
                continue
            ident, family, file, original, replacement, preset, regex = parts
            row.update(id=ident.strip(), family=family.strip(), file=file.strip(),
                       original=unescape(original), replacement=unescape(replacement),
                       preset=preset.strip(), regex=unescape(regex.strip()), problem=None)
            rows.append(row)
    return rows


def check_row(row):
    if row.get("problem"):
        return row["problem"]
    if row["preset"] not in PRESETS:
        return f"unknown preset {row['preset']!r}"
    if not row["regex"]:
        return "empty regex"
    if row["original"] == row["replacement"]:
        return "replacement equals the original"
    path = os.path.join(ROOT, row["file"])
    if not os.path.isfile(path):
        return f"no file {row['file']}"
    with open(path, "rb") as f:
        text = f.read()
    count = text.count(row["original"].encode("utf-8"))
    if count != 1:
        return f"original text found {count} times in {row['file']}"
    return None


def dirty_sources():
    out = subprocess.run(["git", "status", "--porcelain", "--untracked-files=no", "--"] + SOURCE_DIRS,
                         cwd=ROOT, capture_output=True, text=True, check=True).stdout
    return out.strip()


LIMIT_NOTE = "mutate: the test run passed its limit and was stopped"


def run(cmd, log, limit=None):
    """Runs cmd niced; with a limit in seconds, a run still going then is
    stopped (its whole process group) and LIMIT_NOTE ends its output."""
    log.write(f"$ {' '.join(cmd)}\n")
    log.flush()
    start = time.monotonic()
    proc = subprocess.Popen(["nice"] + cmd, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            text=True, errors="replace", start_new_session=limit is not None)
    try:
        out, _ = proc.communicate(timeout=limit)
    except subprocess.TimeoutExpired:
        os.killpg(proc.pid, signal.SIGKILL)
        out = proc.communicate()[0] + "\n" + LIMIT_NOTE + "\n"
    except BaseException:
        if limit is not None:
            os.killpg(proc.pid, signal.SIGKILL)
        proc.kill()
        raise
    log.write(out)
    log.flush()
    return proc.returncode, out, time.monotonic() - start


FAILED_LINE = re.compile(r"^\s*\d+ - (\S+) \(([^)]*)\)", re.M)
ENDED_BADLY = re.compile(r"^\s*\d+/\d+ Test\s+#\d+: (\S+) \.*\*\*\*(Failed|Timeout)", re.M)


def judge(rc, output):
    """The row's result and the failed tests from a ctest run."""
    if "No tests were found" in output:
        return "NO-TESTS", []
    # Only the list of failures counts: tests that did not run (disabled
    # ones) are listed the same way under a heading of their own.
    tail = output.split("The following tests FAILED:", 1)
    failed = FAILED_LINE.findall(tail[1]) if len(tail) == 2 else []
    if LIMIT_NOTE in output:
        # No summary: the failures are those its result lines show so far,
        # and a run that hangs past its limit counts as a time-out.
        failed = ENDED_BADLY.findall(output) or [("(whole-run)", "Timeout")]
    # A failure of the Wine environment itself says nothing about the mutant.
    real = [(name, why) for name, why in failed if not re.search(r"/(start|stop)$", name)]
    if rc == 0 and not failed:
        return "SURVIVED", []
    if not real:
        return "ENV-FAIL", [n for n, _ in failed]
    if all(why.startswith("Timeout") for _, why in real):
        return "TIMEOUT", [n for n, _ in real]
    return "CAUGHT", [n for n, w in real if not w.startswith("Timeout")] + \
        [n + " (timeout)" for n, w in real if w.startswith("Timeout")]


FAILED_AT = re.compile(r"(tests/[\w/.-]+:\d+): Failure|(row|step) at line (\d+)")


def failure_places(output):
    """Every test's failing places, from the output of ctest --output-on-failure:
    a test's output follows the line that ends it, up to the next test's line."""
    places = {}
    name = None
    for line in output.split("\n"):
        ended = re.match(r"^\s*\d+/\d+ Test\s+#\d+: (\S+)", line)
        if ended or re.match(r"^\s*Start\s+\d+: ", line):
            name = ended.group(1) if ended else None
            continue
        for m in FAILED_AT.finditer(line) if name else []:
            where = m.group(1).rsplit("/", 1)[-1] if m.group(1) else m.group(2) + " " + m.group(3)
            if where not in places.setdefault(name, []):
                places[name].append(where)
    return places


def stop_wine(build_dir, log):
    if not build_dir:
        return
    base = os.path.join(ROOT, build_dir)
    for name in sorted(os.listdir(base)) if os.path.isdir(base) else []:
        state = os.path.join(base, name)
        if name.startswith("wine") and os.path.isfile(os.path.join(state, "env")):
            subprocess.run(["bash", os.path.join(ROOT, "tools", "wine-env.sh"), "stop", state],
                           stdout=log, stderr=subprocess.STDOUT)


def report_lines(results, commit, started, faults_file, partial=False):
    counted = [r for r in results if r[1] in COUNTED]
    lines = [f"commit {commit}, started {started}, finished "
             f"{datetime.now(timezone.utc).strftime('%Y-%m-%d %H:%M UTC')}",
             f"faults: {faults_file}"]
    width = max([len(r[0]["id"]) for r in results] + [2])
    for row, status, detail, seconds in results:
        fam = row.get("family", "?")
        text = f"{row['id']:<{width}}  {status:<11} {fam:<10} {seconds:5.0f} s  {row.get('file', '')}"
        if detail:
            text += f"  [{detail}]"
        lines.append(text)
    timeouts = sum(1 for r in results if r[1] == "TIMEOUT")
    summary = f"caught {len(counted)} of {len(results)}"
    extras = []
    if timeouts:
        extras.append(f"{timeouts} by a test's time-out")
    for kind in ("SURVIVED", "BUILD-FAIL", "NO-TESTS", "BAD-ROW", "ENV-FAIL", "INTERRUPTED"):
        k = sum(1 for r in results if r[1] == kind)
        if k:
            extras.append(f"{k} {kind.lower()}")
    if extras:
        summary += " (" + ", ".join(extras) + ")"
    lines.append(summary)
    if partial:
        lines.append("(run still going)")
    return lines


def main(argv):
    only = None
    only_preset = None
    build_only = False
    every = False
    args = []
    i = 0
    while i < len(argv):
        a = argv[i]
        if a == "--only":
            i += 1
            only = set(argv[i].split(","))
        elif a.startswith("--only="):
            only = set(a.split("=", 1)[1].split(","))
        elif a == "--preset":
            i += 1
            only_preset = argv[i]
        elif a == "--build-only":
            build_only = True
        elif a == "--every-failure":
            every = True
        elif a in ("-h", "--help"):
            print(__doc__)
            return 0
        else:
            args.append(a)
        i += 1
    if len(args) != 2:
        print("usage: tools/mutate.sh [--only ID,...] [--preset native|win64] [--build-only] [--every-failure] "
              "FAULTS_FILE RESULT_FILE", file=sys.stderr)
        return 2
    faults_file, result_file = args

    dirty = dirty_sources()
    if dirty:
        print("mutate: the sources have uncommitted changes; commit or stash them first:\n" + dirty,
              file=sys.stderr)
        return 2

    rows = parse_rows(faults_file)
    if only is not None:
        unknown = only - {r["id"] for r in rows}
        if unknown:
            print(f"mutate: no such fault: {', '.join(sorted(unknown))}", file=sys.stderr)
            return 2
        rows = [r for r in rows if r["id"] in only]
    if only_preset is not None:
        rows = [r for r in rows if r.get("preset") == only_preset]
    ids = [r["id"] for r in rows]
    dup = sorted({x for x in ids if ids.count(x) > 1})
    if dup:
        print(f"mutate: duplicate ids: {', '.join(dup)}", file=sys.stderr)
        return 2

    commit = subprocess.run(["git", "rev-parse", "--short", "HEAD"], cwd=ROOT, capture_output=True,
                            text=True).stdout.strip()
    started = datetime.now(timezone.utc).strftime("%Y-%m-%d %H:%M UTC")
    log_path = result_file + ".log"
    log = open(log_path, "w", encoding="utf-8")
    for s in CAUGHT_SIGNALS:
        signal.signal(s, on_signal)

    results = []
    used_presets = set()
    interrupted = None
    for n, row in enumerate(rows, 1):
        problem = check_row(row)
        if problem:
            results.append((row, "BAD-ROW", problem, 0.0))
            print(f"[{n}/{len(rows)}] {row['id']}: BAD-ROW {problem}", flush=True)
            continue
        path = os.path.join(ROOT, row["file"])
        with open(path, "rb") as f:
            saved = f.read()
        mutant = saved.replace(row["original"].encode("utf-8"), row["replacement"].encode("utf-8"), 1)
        preset = PRESETS[row["preset"]]
        used_presets.add(row["preset"])
        start = time.monotonic()
        log.write(f"\n===== {row['id']} {row['file']}: {row['original']!r} -> {row['replacement']!r}\n")
        try:
            with open(path, "wb") as f:
                f.write(mutant)
            rc, out, _ = run(preset["build"], log)
            if rc != 0:
                status, detail = "BUILD-FAIL", ""
            elif build_only:
                status, detail = "BUILT", ""
            else:
                test = preset["test"] + preset["every_failure" if every else "first_failure"]
                rc, out, _ = run(test + ["-R", row["regex"]], log, preset["every_limit"] if every else None)
                status, failed = judge(rc, out)
                stop_wine(preset.get("after"), log)
                if every:
                    places = failure_places(out)
                    detail = "; ".join(f"{n} ({' '.join(places[n.split(' ')[0]])})"
                                       if n.split(' ')[0] in places else n for n in failed)
                else:
                    detail = ", ".join(failed[:4]) + (f" and {len(failed) - 4} more" if len(failed) > 4 else "")
        except Interrupted as e:
            interrupted = str(e)
            status, detail = "INTERRUPTED", ""
            stop_wine(preset.get("after"), log)
        finally:
            # Always put the file back exactly as it was, with no signal in between.
            signal.pthread_sigmask(signal.SIG_BLOCK, CAUGHT_SIGNALS)
            with open(path, "wb") as f:
                f.write(saved)
            signal.pthread_sigmask(signal.SIG_UNBLOCK, CAUGHT_SIGNALS)
        seconds = time.monotonic() - start
        results.append((row, status, detail, seconds))
        print(f"[{n}/{len(rows)}] {row['id']}: {status} ({seconds:.0f} s) {detail}", flush=True)
        with open(result_file, "w", encoding="utf-8") as f:
            f.write("\n".join(report_lines(results, commit, started, faults_file, partial=True)) + "\n")
        if interrupted:
            break

    # Leave the build trees as the sources are.
    if not interrupted:
        for p in sorted(used_presets):
            try:
                run(PRESETS[p]["build"], log)
            except Interrupted:
                break
    log.close()

    lines = report_lines(results, commit, started, faults_file)
    with open(result_file, "w", encoding="utf-8") as f:
        f.write("\n".join(lines) + "\n")
    print("\n".join(lines))
    leftover = dirty_sources()
    if leftover:
        print("mutate: WARNING: sources differ from the commit after the run:\n" + leftover, file=sys.stderr)
        return 3
    return 130 if interrupted else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
