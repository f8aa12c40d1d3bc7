#!/usr/bin/env python3
"""Write a list of generated one-line faults for tools/mutate.sh.

usage: tools/mutate-gen.py [--seed N] [--per-file K] [--prefix G] FAMILY PRESET REGEX FILE...

For each FILE it picks up to K lines (at random, with the seed) where one of
the operators below applies, and writes one row per line in the format of
docs/mutation-faults.txt. The original text is the whole line, widened with
the line before it until it occurs once in the file. Comments, preprocessor
lines and lines inside string literals of messages are skipped.

The operators are the faults a hand-written list names: a flipped comparison,
an off-by-one bound, a swapped logical operator, a wrong constant, an
inverted condition and a skipped statement.
"""
import random
import re
import sys

OPERATORS = [
    ("flip ==", re.compile(r"(?<=[\w)\]]) == (?=[\w(*&!'\-])"), " != "),
    ("flip !=", re.compile(r"(?<=[\w)\]]) != (?=[\w(*&!'\-])"), " == "),
    ("bound <", re.compile(r"(?<=[\w)\]]) < (?=[\w(*])"), " <= "),
    ("bound <=", re.compile(r"(?<=[\w)\]]) <= (?=[\w(*])"), " < "),
    ("bound >", re.compile(r"(?<=[\w)\]]) > (?=[\w(*])"), " >= "),
    ("bound >=", re.compile(r"(?<=[\w)\]]) >= (?=[\w(*])"), " > "),
    ("swap &&", re.compile(r" && "), " || "),
    ("swap ||", re.compile(r" \|\| "), " && "),
    ("plus one", re.compile(r" \+ 1\b"), " + 2"),
    ("minus one", re.compile(r" - 1\b"), ""),
    ("constant", re.compile(r"(?<![\w.])([1-9][0-9]*)(?![\w.])"), None),
    ("invert if", re.compile(r"\bif \(!"), "if ("),
    ("return true", re.compile(r"\breturn true;"), "return false;"),
    ("return false", re.compile(r"\breturn false;"), "return true;"),
]
STATEMENT = re.compile(r"^\s+[a-z_][\w>.\-\[\]]*(\(.*\)|\s*[+\-|&]?= .*);$")
SKIP = re.compile(r"^\s*(//|/\*|\*|#)|\"[^\"]*\\?\"\s*[,;)]?\s*$|^\s*(case|default)\b")


def escape(text):
    return text.replace("|", "\\|").replace("\n", "\\n")


def candidates(line):
    if SKIP.search(line) or '"' in line:
        return []
    found = []
    for name, pattern, repl in OPERATORS:
        for m in pattern.finditer(line):
            if name == "constant":
                value = int(m.group(1))
                new = line[:m.start()] + str(value + 1) + line[m.end():]
            else:
                new = line[:m.start()] + repl + line[m.end():]
            found.append((name, new))
    if STATEMENT.match(line) and not re.search(r"\b(return|break|continue|goto)\b", line):
        found.append(("skip statement", re.match(r"^\s*", line).group(0) + ";"))
    return found


def unique_context(lines, i, new_line, text):
    """The smallest run of lines ending at i that occurs once, and its mutant."""
    for back in range(0, 4):
        if i - back < 0:
            break
        original = "\n".join(lines[i - back:i + 1])
        if text.count(original) == 1:
            replaced = "\n".join(lines[i - back:i] + [new_line])
            return original, replaced
    return None


def main(argv):
    seed, per_file, prefix = 1, 6, "G"
    while argv and argv[0].startswith("--"):
        flag, value = argv[0], argv[1]
        argv = argv[2:]
        if flag == "--seed":
            seed = int(value)
        elif flag == "--per-file":
            per_file = int(value)
        elif flag == "--prefix":
            prefix = value
    if len(argv) < 4:
        print(__doc__, file=sys.stderr)
        return 2
    family, preset, regex, files = argv[0], argv[1], argv[2], argv[3:]
    rng = random.Random(seed)
    number = 0
    for path in files:
        with open(path, encoding="utf-8", errors="replace") as f:
            text = f.read()
        lines = text.split("\n")
        options = [(i, c) for i, line in enumerate(lines) for c in candidates(line)]
        rng.shuffle(options)
        used_lines = set()
        taken = 0
        for i, (name, new_line) in options:
            if taken == per_file:
                break
            if i in used_lines:
                continue
            context = unique_context(lines, i, new_line, text)
            if not context:
                continue
            used_lines.add(i)
            taken += 1
            number += 1
            original, replaced = context
            print(f"{prefix}{number:03d} | {family} | {path} | {escape(original)} | {escape(replaced)} | "
                  f"{preset} | {escape(regex)}")
            print(f"# {prefix}{number:03d}: {name}, line {i + 1}", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
