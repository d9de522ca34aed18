#!/usr/bin/env python3
"""Cuts a text file (one paragraph per line) with jieba's default cutter and
writes the words of each line separated by spaces; with --tags, cuts with
its part-of-speech cutter and writes word/tag.

usage: jieba_cut.py [--tags] FILE"""
import sys

import jieba
import jieba.posseg as pseg


def main():
    args = sys.argv[1:]
    tags = "--tags" in args
    args = [a for a in args if a != "--tags"]
    if len(args) != 1:
        sys.exit(__doc__)
    jieba.setLogLevel(60)
    jieba.initialize()
    lines = open(args[0], encoding="utf-8").read().split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    out = sys.stdout
    for line in lines:
        if tags:
            words = (f"{w}/{t}" for w, t in pseg.cut(line) if w.strip())
        else:
            words = (w for w in jieba.cut(line) if w.strip())
        out.write(" ".join(words) + "\n")


if __name__ == "__main__":
    main()
