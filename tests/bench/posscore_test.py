#!/usr/bin/env python3
"""The raw-text part-of-speech score of bench/segeval/posscore.py: system
tags are read in the corpus's tag set (vsglex's finer tags and the peer's
own spellings), and a word counts only when both its span and its tag are
right."""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "bench", "segeval"))
from posscore import corpus_tag_reader, score  # noqa: E402

GOLD_TAGS = {"n", "nr", "ns", "nt", "nx", "v", "vn", "Vg", "p", "u", "w", "d", "r"}

read = corpus_tag_reader(GOLD_TAGS)
failures = []
for tag, want in [("pzai", "p"), ("ude1", "u"), ("nrf", "nr"), ("nsf", "ns"), ("wj", "w"), ("rr", "r"),
                  ("dbu", "d"), ("vn", "vn"), ("n", "n"), ("vg", "Vg"), ("x", "w"), ("eng", "nx"), ("uj", "u")]:
    if read(tag) != want:
        failures.append(f"tag {tag}: read as {read(tag)}, want {want}")

# Gold 他/r 在/p 北京/ns 工作/vn: the first system cuts 北京 apart (neither
# piece counts, though 北 has a gold span's start) and tags 工作 as a verb
# (right span, wrong tag); the second gets every word right.
gold = [[("他", "r"), ("在", "p"), ("北京", "ns"), ("工作", "vn")]]
first = [[("他", "rr"), ("在", "pzai"), ("北", "ns"), ("京", "j"), ("工作", "v")]]
second = [[("他", "rr"), ("在", "pzai"), ("北京", "ns"), ("工作", "vn")]]
found, right, span_right, confusions = score(gold, first, read)
if (found, right, span_right, dict(confusions)) != (5, 2, 3, {("vn", "v"): 1}):
    failures.append(f"first system: {(found, right, span_right, dict(confusions))}")
if score(gold, second, read)[:3] != (4, 4, 4):
    failures.append(f"second system: {score(gold, second, read)[:3]}")

for f in failures:
    print("FAIL", f)
sys.exit(1 if failures else 0)
