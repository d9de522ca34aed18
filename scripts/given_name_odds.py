#!/usr/bin/env python3
"""Held-out odds of a character being a given name, by its count as a plain
one-character word in the training weeks.

usage: scripts/given_name_odds.py [CORPUS_DIR]
  For each of the four corpus files (folds of seven days), counts the other
  three: per character, its occurrences in the given name of a name written
  as a one-character surname token and a given-name token, and as a
  one-character word elsewhere. For the characters the other weeks never
  show in a given name, grouped by that plain count, prints how often the
  held-out week has them in a given name and as a plain word, summed over
  the folds, and the ratio of the two.
"""
import collections
import os
import re
import sys

FILES = ['train-01-07.txt', 'train-08-14.txt', 'train-15-21.txt', 'train-22-28.txt']
BINS = [(0, 0), (1, 1), (2, 2), (3, 5), (6, 20), (21, 100), (101, 1000), (1001, 10**9)]


def count(paths):
    given, single = collections.Counter(), collections.Counter()
    for path in paths:
        for line in open(path, encoding='utf-8'):
            words = [re.sub(r'\][a-z]+$', '', w.lstrip('[')) for w in line.split()[1:]]
            toks = [w.rsplit('/', 1) for w in words if '/' in w]
            i = 0
            while i < len(toks):
                text, tag = toks[i]
                if (tag == 'nr' and len(text) == 1 and i + 1 < len(toks) and toks[i + 1][1] == 'nr'
                        and len(toks[i + 1][0]) <= 2):
                    for ch in toks[i + 1][0]:
                        given[ch] += 1
                    i += 2
                    continue
                if len(text) == 1:
                    single[text] += 1
                i += 1
    return given, single


def main(argv):
    here = os.path.dirname(os.path.abspath(__file__))
    corpus = argv[1] if len(argv) > 1 else os.path.join(here, '..', '..', 'shared', 'corpus', 'pfr-1998-01')
    sums = collections.defaultdict(lambda: [0, 0, 0])
    for k, held in enumerate(FILES):
        tg, ts = count([os.path.join(corpus, f) for j, f in enumerate(FILES) if j != k])
        hg, hs = count([os.path.join(corpus, held)])
        for ch in set(hg) | set(hs):
            if tg[ch] > 0:
                continue
            for b in BINS:
                if b[0] <= ts[ch] <= b[1]:
                    s = sums[b]
                    s[0] += hg[ch]
                    s[1] += hs[ch]
                    s[2] += 1
    print('plain count   characters  held-out given  held-out plain  ratio')
    for b in BINS:
        g, p, n = sums[b]
        print('%5d-%-7s %10d %15d %15d  %.5f' % (b[0], b[1] if b[1] < 10**9 else '', n, g, p, g / p if p else 0))


if __name__ == '__main__':
    main(sys.argv)
