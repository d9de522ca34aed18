#!/usr/bin/env python3
"""Scores word cuts against the corpus's words, the usual way for word
segmentation: a word counts as right when its character span equals the
span of a gold word of the same line.

usage: segscore.py TEXT GOLD_WORDS TRAIN_TAGGED NAME=FORMAT:FILE...

TEXT        raw text, one paragraph per line
GOLD_WORDS  the gold words of each line, separated by spaces
TRAIN_TAGGED the tagged paragraphs the models were trained on; gold words
            that never occur there are out of vocabulary (OOV)
FORMAT      "tagged": word/tag separated by spaces (vsglex's text output);
            "words": words separated by spaces

Prints per system: words, precision, recall, F1, OOV recall, and the
number of lines whose words do not give back the line (scored anyway, by
their character offsets).
"""
import sys


def spans(words):
    out = set()
    pos = 0
    for w in words:
        out.add((pos, pos + len(w)))
        pos += len(w)
    return out, pos


def read_system(fmt, path):
    rows = []
    for line in open(path, encoding="utf-8").read().split("\n"):
        toks = line.split(" ") if line else []
        if fmt == "tagged":
            toks = [t.rpartition("/")[0] if "/" in t else t for t in toks]
        rows.append([t for t in toks if t])
    return rows


def vocabulary(path):
    vocab = set()
    for line in open(path, encoding="utf-8"):
        for tok in line.split()[1:]:
            word = tok.lstrip("[").rpartition("/")[0]
            if word:
                vocab.add(word)
    return vocab


def main():
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    text_path, gold_path, train_path = sys.argv[1:4]
    lines = open(text_path, encoding="utf-8").read().split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    gold = [l.split() for l in open(gold_path, encoding="utf-8").read().split("\n")[:len(lines)]]
    vocab = vocabulary(train_path)
    gold_total = sum(len(g) for g in gold)
    oov_total = sum(1 for g in gold for w in g if w not in vocab)
    print(f"{len(lines)} paragraphs, {sum(len(l) for l in lines)} characters, {gold_total} gold words, "
          f"{oov_total} out of vocabulary ({100.0 * oov_total / max(1, gold_total):.2f}%)")
    print(f"{'system':<34}{'words':>9}{'P':>8}{'R':>8}{'F1':>8}{'OOV R':>8}{'bad lines':>11}")
    for arg in sys.argv[4:]:
        name, _, rest = arg.partition("=")
        fmt, _, path = rest.partition(":")
        system = read_system(fmt, path)
        right = found = oov_right = bad = 0
        for k, line in enumerate(lines):
            sys_words = system[k] if k < len(system) else []
            s_spans, s_len = spans(sys_words)
            if "".join(sys_words) != line:
                bad += 1
            g_spans, _ = spans(gold[k])
            found += len(s_spans)
            right += len(s_spans & g_spans)
            pos = 0
            for w in gold[k]:
                if w not in vocab and (pos, pos + len(w)) in s_spans:
                    oov_right += 1
                pos += len(w)
        p = right / found if found else 0.0
        r = right / gold_total if gold_total else 0.0
        f1 = 2 * p * r / (p + r) if p + r else 0.0
        oov = oov_right / oov_total if oov_total else 0.0
        print(f"{name:<34}{found:>9}{p:>8.4f}{r:>8.4f}{f1:>8.4f}{oov:>8.4f}{bad:>11}")


if __name__ == "__main__":
    main()
