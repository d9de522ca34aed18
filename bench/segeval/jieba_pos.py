#!/usr/bin/env python3
"""Cuts a text file (one paragraph per line) with jieba's part-of-speech
cutter and writes word/tag of each line separated by spaces (spaces and
other blank words left out)."""
import sys

import jieba
import jieba.posseg as pseg


def main():
    jieba.setLogLevel(60)
    jieba.initialize()
    lines = open(sys.argv[1], encoding="utf-8").read().split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    out = sys.stdout
    for line in lines:
        out.write(" ".join(f"{w}/{t}" for w, t in pseg.cut(line) if w.strip()) + "\n")


if __name__ == "__main__":
    main()
