#!/usr/bin/env python3
"""Runs jieba's part-of-speech cutter over a text file (one paragraph per
line) and writes, per line, the person/place/organisation words it tags as
JSON [[start, end, class], ...] with character offsets. Prints the seconds
spent cutting (after the dictionary is loaded) to stderr."""
import json
import sys
import time

import jieba
import jieba.posseg as pseg

CLASSES = {"nr": "person", "ns": "place", "nt": "organization"}


def main():
    jieba.setLogLevel(60)
    jieba.initialize()
    lines = open(sys.argv[1], encoding="utf-8").read().split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    out = []
    start = time.perf_counter()
    for line in lines:
        names = []
        pos = 0
        for word, flag in pseg.cut(line):
            cls = CLASSES.get(flag[:2])
            if cls:
                names.append([pos, pos + len(word), cls])
            pos += len(word)
        out.append(names)
    elapsed = time.perf_counter() - start
    sys.stdout.write("".join(json.dumps(n) + "\n" for n in out))
    print(f"{elapsed:.3f}", file=sys.stderr)


if __name__ == "__main__":
    main()
