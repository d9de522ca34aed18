#!/usr/bin/env python3
"""Where the part-of-speech errors of a cross-validation run are.

usage: scripts/pos_errors.py [--top N] DIR

DIR is a run kept with `scripts/crossval.sh --keep DIR`; for each fold K
the lines of `vsglex-eval --pos-errors DIR/foldK/poserr.txt` (run with the
fold's models on the fold's days) must be there. Prints per fold the wrong
words in three groups (words of the core dictionary whose rows hold the
gold tag, words of the core dictionary whose rows lack it, words the
dictionary lacks, which all read the unseen-word rows) by the training
count of the word, then the most frequent confusions of each group over
all folds.
"""
import collections
import os
import sys


def bucket(count):
    n = int(count)
    for top, name in ((0, "0"), (1, "1"), (4, "2-4"), (19, "5-19"), (99, "20-99")):
        if n <= top:
            return name
    return "100+"


def main(argv):
    top = 15
    if len(argv) > 2 and argv[1] == "--top":
        top = int(argv[2])
        argv = argv[2:]
    if len(argv) != 2:
        sys.exit(__doc__)
    run = argv[1]
    groups = ("known, gold tag in its rows", "known, gold tag not in its rows", "not in the dictionary")
    confusions = {g: collections.Counter() for g in groups}
    words = {g: collections.Counter() for g in groups}
    for k in range(1, 5):
        path = os.path.join(run, "fold%d" % k, "poserr.txt")
        if not os.path.exists(path):
            sys.exit("pos_errors: %s missing (run vsglex-eval --pos-errors)" % path)
        per = collections.Counter()
        buckets = collections.Counter()
        with open(path, encoding="utf-8") as f:
            for line in f:
                known, rows, count, word, gold, out = line.rstrip("\n").split("\t")
                g = groups[2] if known == "unknown" else groups[0] if rows == "rows" else groups[1]
                per[g] += 1
                if known == "known":
                    buckets[(g, bucket(count))] += 1
                confusions[g][(gold, out)] += 1
                words[g][(word, gold, out)] += 1
        print("fold %d: %d wrong; %s" % (k, sum(per.values()), "; ".join("%s %d" % (g, per[g]) for g in groups)))
        for g in groups[:2]:
            print("  %s, by training count: %s" % (g, ", ".join(
                "%s %d" % (b, buckets[(g, b)]) for b in ("0", "1", "2-4", "5-19", "20-99", "100+"))))
    for g in groups:
        print("%s, all folds:" % g)
        print("  tags (gold as output): " + ", ".join("%s as %s %d" % (a, b, n) for (a, b), n in
                                                       confusions[g].most_common(top)))
        print("  words: " + ", ".join("%s %s as %s %d" % (w, a, b, n) for (w, a, b), n in words[g].most_common(top)))


if __name__ == "__main__":
    main(sys.argv)
