#!/usr/bin/env python3
"""Scores part-of-speech tags of raw-text cuts against the corpus: a word
counts as right when its character span equals a gold word's span and its
tag, read in the corpus's tag set, equals the gold tag.

usage: posscore.py TEXT GOLD_TAGGED NAME=FILE...

TEXT         raw text, one paragraph per line
GOLD_TAGGED  the corpus lines of the same paragraphs ("ID word/tag ...",
             as corpus_split.py --tagged writes them)
FILE         word/tag separated by spaces, one line per paragraph

A system's tag is read in the corpus's tag set as the gold tag equal to it
(ignoring case, so a peer's "vg" is the corpus's "Vg"), else the longest
gold tag it starts with (vsglex's finer tags: "pzai" is "p", "ude1" is "u",
"nrf" is "nr", "wj" is "w"); a few peer tags that have no such prefix are
given below. Prints per system: tagged words, tagged-word precision,
recall and F1, the tag accuracy on the words whose span is right, and the
five most frequent confusions (gold tag -> system tag).
"""
import collections
import re
import sys

TOKEN = re.compile(r'^\[?(.+)/([A-Za-z]+)(\][a-z]+)?$')

# Peer tags that no corpus tag is a prefix of: punctuation and other
# symbols, Latin words.
PEER_TAGS = {"x": "w", "eng": "nx", "uj": "u", "ul": "u", "uz": "u", "ug": "u", "uv": "u", "ud": "u"}


def read_gold(path, count):
    rows = []
    tags = set()
    for line in open(path, encoding="utf-8").read().split("\n")[:count]:
        words = []
        for tok in line.split()[1:]:
            m = TOKEN.match(tok)
            if m:
                words.append((m.group(1), m.group(2)))
                tags.add(m.group(2))
        rows.append(words)
    return rows, tags


def read_system(path):
    rows = []
    for line in open(path, encoding="utf-8").read().split("\n"):
        words = []
        for tok in line.split(" ") if line else []:
            word, sep, tag = tok.rpartition("/")
            if sep and word:
                words.append((word, tag))
            elif tok:
                words.append((tok, ""))
        rows.append(words)
    return rows


def corpus_tag_reader(gold_tags):
    by_lower = {t.lower(): t for t in gold_tags}
    cache = {}

    def read(tag):
        if tag not in cache:
            if tag in gold_tags:
                cache[tag] = tag
            elif tag.lower() in by_lower:
                cache[tag] = by_lower[tag.lower()]
            elif tag in PEER_TAGS:
                cache[tag] = PEER_TAGS[tag]
            else:
                prefixes = [g for g in gold_tags if tag.startswith(g)]
                cache[tag] = max(prefixes, key=len) if prefixes else tag
        return cache[tag]

    return read


def tagged_spans(words, read=None):
    out = {}
    pos = 0
    for word, tag in words:
        out[(pos, pos + len(word))] = read(tag) if read else tag
        pos += len(word)
    return out


def score(gold, system, read):
    """Counts over paragraphs: system words, right tagged words, words of
    right span, and the confusions (gold tag, system tag) of the latter."""
    found = right = span_right = 0
    confusions = collections.Counter()
    for k, words in enumerate(gold):
        g = tagged_spans(words)
        s = tagged_spans(system[k] if k < len(system) else [], read)
        found += len(s)
        for span, tag in s.items():
            if span in g:
                span_right += 1
                if g[span] == tag:
                    right += 1
                else:
                    confusions[(g[span], tag)] += 1
    return found, right, span_right, confusions


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    lines = open(sys.argv[1], encoding="utf-8").read().split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    gold, gold_tags = read_gold(sys.argv[2], len(lines))
    read = corpus_tag_reader(gold_tags)
    gold_total = sum(len(g) for g in gold)
    print(f"{'system':<34}{'words':>9}{'P':>8}{'R':>8}{'F1':>8}{'tag acc':>9}  most frequent confusions")
    for arg in sys.argv[3:]:
        name, _, path = arg.partition("=")
        found, right, span_right, confusions = score(gold, read_system(path), read)
        p = right / found if found else 0.0
        r = right / gold_total if gold_total else 0.0
        f1 = 2 * p * r / (p + r) if p + r else 0.0
        acc = right / span_right if span_right else 0.0
        top = ", ".join(f"{a}->{b} {n}" for (a, b), n in confusions.most_common(5))
        print(f"{name:<34}{found:>9}{p:>8.4f}{r:>8.4f}{f1:>8.4f}{acc:>9.4f}  {top}")


if __name__ == "__main__":
    main()
