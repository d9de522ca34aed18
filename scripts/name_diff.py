#!/usr/bin/env python3
"""Compares two name lists of vsglex-eval (--names FILE) on the same
paragraphs, name by name: the gold names one run finds and the other
misses, and the false names only one run makes.

usage: name_diff.py [--class place] A.tsv B.tsv
Prints one line per difference (which run is right, the name, the
paragraph and span, both contexts) and the counts."""
import argparse
import sys


def read(path, cls):
    names = {}
    with open(path, encoding="utf-8") as f:
        for line in f:
            parts = line.rstrip("\n").split("\t")
            if len(parts) < 7 or (cls and parts[0] != cls):
                continue
            key = (parts[0], int(parts[1]), int(parts[2]), int(parts[3]))
            names[key] = (parts[4], parts[5], parts[6])
    return names


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--class", dest="cls", default="")
    ap.add_argument("a")
    ap.add_argument("b")
    args = ap.parse_args()
    a, b = read(args.a, args.cls), read(args.b, args.cls)
    counts = {}
    for key in sorted(set(a) | set(b), key=lambda k: (k[0], k[1], k[2], k[3])):
        sa = a.get(key, ("-", "", ""))
        sb = b.get(key, ("-", "", ""))
        if sa[0] == sb[0]:
            continue
        # A gold name: found on one side only; a false name: on one side only.
        if sa[0] == "found" or sb[0] == "miss":
            kind = "A finds" if sa[0] == "found" else "B misses"
        elif sb[0] == "found":
            kind = "B finds"
        elif sa[0] == "false":
            kind = "A false"
        else:
            kind = "B false"
        counts[(key[0], kind)] = counts.get((key[0], kind), 0) + 1
        text = sa[1] or sb[1]
        print(f"{key[0]}\t{kind}\t{text}\t{key[1]}:{key[2]}-{key[3]}\tA: {sa[2]}\tB: {sb[2]}")
    for (cls, kind), n in sorted(counts.items()):
        print(f"# {cls} {kind}: {n}", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())
