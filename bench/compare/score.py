#!/usr/bin/env python3
"""Scores the names found by each system against the gold names and prints
one table: precision, recall and F1 per class, characters per second and
peak memory.

usage: score.py TEXT GOLD RESULTS_DIR SYSTEM...
For each SYSTEM, RESULTS_DIR holds SYSTEM.jsonl (one JSON list of
[start, end, class] per line, character offsets; or, for vsglex, its
--names-only --format json output) and SYSTEM.stats ("seconds peak_kb").
"""
import json
import os
import sys

CLASSES = ["person", "place", "organization"]


def load_vsglex(path, lines):
    """vsglex prints byte offsets in the file; turn them into (line, char)."""
    starts = []  # byte offset of each line
    pos = 0
    for line in lines:
        starts.append(pos)
        pos += len(line.encode("utf-8")) + 1
    per_line = [[] for _ in lines]
    for rec in open(path, encoding="utf-8"):
        if not rec.strip():
            continue
        o = json.loads(rec)
        ln = o["line"] - 1
        raw = lines[ln].encode("utf-8")
        b = o["offset"] - starts[ln]
        s = len(raw[:b].decode("utf-8"))
        e = s + len(raw[b:b + o["length"]].decode("utf-8"))
        per_line[ln].append([s, e, o["class"]])
    return per_line


def main():
    text, gold_path, results, systems = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]
    lines = open(text, encoding="utf-8").read().split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    gold = [json.loads(g) for g in open(gold_path, encoding="utf-8")]
    chars = sum(len(l) for l in lines)
    print(f"{len(lines)} paragraphs, {chars} characters; gold names: " +
          ", ".join(f"{c} {sum(len(g['names'][c]) for g in gold)}" for c in CLASSES))
    head = f"{'system':<12}" + "".join(f"{c[:6] + ' P/R/F1':>22}" for c in CLASSES) + f"{'chars/s':>12}{'peak MB':>9}"
    print(head)
    for system in systems:
        path = os.path.join(results, system + ".jsonl")
        if system == "vsglex":
            found = load_vsglex(path, lines)
        else:
            found = [json.loads(l) for l in open(path, encoding="utf-8")]
        row = f"{system:<12}"
        for c in CLASSES:
            tp = fp = fn = 0
            for g, f in zip(gold, found):
                gs = {tuple(s) for s in g["names"][c]}
                neutral = {tuple(s) for s in g["neutral"]}
                fs = {(s, e) for s, e, k in f if k == c} - (neutral - gs)
                tp += len(gs & fs)
                fp += len(fs - gs)
                fn += len(gs - fs)
            p = tp / (tp + fp) if tp + fp else 0.0
            r = tp / (tp + fn) if tp + fn else 0.0
            f1 = 2 * p * r / (p + r) if p + r else 0.0
            row += f"{f'{p:.3f}/{r:.3f}/{f1:.3f}':>22}"
        seconds, peak_kb = open(os.path.join(results, system + ".stats")).read().split()
        row += f"{chars / float(seconds) / 1000:>11.0f}k{int(peak_kb) / 1024:>9.1f}"
        print(row)


if __name__ == "__main__":
    main()
