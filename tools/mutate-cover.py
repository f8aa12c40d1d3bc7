#!/usr/bin/env python3
"""Which tests catch which faults: read the result files of runs made with
tools/mutate.sh --every-failure and print, for every test that caught
something, how many faults it caught and how many no other test caught.

usage: tools/mutate-cover.py RESULT_FILE... [--tests FILE]

--tests FILE names every test of the runs (one per line, e.g. the output of
ctest -N): tests that caught nothing are listed too. Last comes a
smallest set of tests found greedily that still catches every caught fault;
a test outside it catches nothing that the set does not.
"""
import re
import sys

ROW = re.compile(r"^(\S+)\s+(CAUGHT|TIMEOUT|SURVIVED)\s+\S+\s+\d+ s\s+\S+(?:\s+\[(.*)\])?$")


def catches(paths):
    faults = {}
    for path in paths:
        with open(path, encoding="utf-8") as f:
            for line in f:
                m = ROW.match(line.rstrip("\n"))
                if not m:
                    continue
                ident, status, detail = m.group(1), m.group(2), m.group(3) or ""
                tests = set()
                if status != "SURVIVED":
                    for piece in detail.split("; "):
                        name = piece.split(" ")[0]
                        if name:
                            tests.add(name)
                faults[ident] = tests
    return faults


def main(argv):
    every = []
    if "--tests" in argv:
        at = argv.index("--tests")
        with open(argv[at + 1], encoding="utf-8") as f:
            every = [l.strip() for l in f if l.strip()]
        argv = argv[:at] + argv[at + 2:]
    faults = catches(argv)
    caught = {k: v for k, v in faults.items() if v}
    by_test = {}
    for ident, tests in caught.items():
        for t in tests:
            by_test.setdefault(t, set()).add(ident)
    print(f"faults: {len(faults)}, caught: {len(caught)}")
    print("\ntest: caught / caught by no other test (those faults)")
    for t in sorted(set(by_test) | set(every), key=lambda t: (len(by_test.get(t, ())), t)):
        mine = by_test.get(t, set())
        alone = sorted(i for i in mine if caught[i] == {t})
        print(f"  {t}: {len(mine)} / {len(alone)}" + (f" ({', '.join(alone)})" if alone else ""))
    # Greedy cover: the test catching most of what is left, until nothing is.
    left, chosen = set(caught), []
    while left:
        best = max(by_test, key=lambda t: (len(by_test[t] & left), t))
        chosen.append(best)
        left -= by_test[best]
    print(f"\na set of {len(chosen)} tests catches all {len(caught)}:")
    for t in chosen:
        print("  " + t)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
