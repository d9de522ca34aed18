#!/usr/bin/env python3
"""What the lone characters of a cut are in the gold words: for every plain
one-character word of Chinese that a cut leaves (no name, number, time or
mark tag), whether the gold words have it alone, as one word with the word
before it or after it, or otherwise (inside a longer gold word), grouped by
how often the training days write the character as a word of its own. The
side a character would join by its counts (the side of the words it ends
more often than begins: before, else after) is scored against the gold.
Then the gold words of three Chinese characters that the training days
never show and that the cut gives as a word of two characters and a lone
character (污水 厂), by how often the training days write that character
alone.

usage: lonechars.py SPLIT_DIR [CUT]

SPLIT_DIR  a split folder kept by segeval.sh (VSGLEX_SEGEVAL_WORK): it reads
           gold-words.txt, corpus/train.txt and the cut (default
           vsglex-corpus.txt, word/tag separated by spaces)
"""
import collections
import os
import sys

# Tags of names, numbers, times and marks: such words are left as they are.
SKIP = {"nr", "ns", "nt", "nz", "nrf", "nrj", "nx", "m", "t", "w"}
GROUPS = [(0, 0, "0"), (1, 2, "1-2"), (3, 5, "3-5"), (6, 20, "6-20"), (21, 200, "21-200"), (201, 10**9, ">200")]


def chinese(text):
    return all("\u4e00" <= c <= "\u9fff" for c in text)


def counts(train_path):
    """Per character: words of its own, first and last of longer words; and the words seen."""
    alone, first, last = collections.Counter(), collections.Counter(), collections.Counter()
    seen = set()
    for line in open(train_path, encoding="utf-8"):
        for tok in line.split()[1:]:
            word, _, tag = tok.lstrip("[").rpartition("/")
            tag = tag.split("]")[0]
            seen.add(word)
            if not word or tag in {"nr", "ns", "nt", "nz", "nrf", "nrj", "nx"}:
                continue
            if len(word) == 1:
                alone[word] += 1
            else:
                first[word[0]] += 1
                last[word[-1]] += 1
    return alone, first, last, seen


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    d = sys.argv[1]
    cut_path = os.path.join(d, sys.argv[2] if len(sys.argv) == 3 else "vsglex-corpus.txt")
    alone, first, last, seen = counts(os.path.join(d, "corpus", "train.txt"))
    gold = [l.split() for l in open(os.path.join(d, "gold-words.txt"), encoding="utf-8").read().split("\n")]
    cut = [[t.rpartition("/") for t in l.split(" ") if t]
           for l in open(cut_path, encoding="utf-8").read().split("\n")]
    table = collections.defaultdict(collections.Counter)
    suffixed = collections.Counter()  # unseen word + character, by the character's group
    for g, c in zip(gold, cut):
        cover, pos = {}, 0
        for w in g:
            for k in range(pos, pos + len(w)):
                cover[k] = (pos, pos + len(w))
            pos += len(w)
        starts, pos = {}, 0
        for w, _, _ in c:
            starts[pos] = w
            pos += len(w)
        pos = 0
        for w in g:
            if len(w) == 3 and chinese(w) and w not in seen and starts.get(pos) == w[:2] and \
                    starts.get(pos + 2) == w[2]:
                suffixed[next(name for lo, hi, name in GROUPS if lo <= alone[w[2]] <= hi)] += 1
            pos += len(w)
        spans, pos = [], 0
        for w, _, tag in c:
            spans.append((pos, pos + len(w), w, tag))
            pos += len(w)
        for i, (a, b, w, tag) in enumerate(spans):
            if b - a != 1 or not chinese(w) or tag in SKIP:
                continue
            group = next(name for lo, hi, name in GROUPS if lo <= alone[w] <= hi)
            gold_span = cover.get(a)
            before = spans[i - 1] if i > 0 else None
            after = spans[i + 1] if i + 1 < len(spans) else None
            if gold_span == (a, b):
                kind = "alone"
            elif before and gold_span == (before[0], b):
                kind = "before"
            elif after and gold_span == (a, after[1]):
                kind = "after"
            else:
                kind = "other"
            row = table[group]
            row[kind] += 1
            if kind in ("before", "after"):
                row["side right"] += (last[w] > first[w]) == (kind == "before")
    print("%-13s %7s %7s %7s %7s %7s %10s" % ("written alone", "lone", "alone", "before", "after", "other",
                                             "side right"))
    for _, _, name in GROUPS:
        r = table[name]
        n = r["alone"] + r["before"] + r["after"] + r["other"]
        print("%-13s %7d %7d %7d %7d %7d %10d" % (name, n, r["alone"], r["before"], r["after"], r["other"],
                                                 r["side right"]))
    print("unseen words of three characters cut as two and one: %d; their last character written alone %s" %
          (sum(suffixed.values()), ", ".join("%s: %d" % (name, suffixed[name]) for _, _, name in GROUPS)))


if __name__ == "__main__":
    main()
