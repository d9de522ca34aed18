#!/usr/bin/env python3
"""Cuts a text file (one paragraph per line) with jieba's default cutter and
writes the words of each line separated by spaces."""
import sys

import jieba


def main():
    jieba.setLogLevel(60)
    jieba.initialize()
    lines = open(sys.argv[1], encoding="utf-8").read().split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    out = sys.stdout
    for line in lines:
        out.write(" ".join(w for w in jieba.cut(line) if w.strip()) + "\n")


if __name__ == "__main__":
    main()
