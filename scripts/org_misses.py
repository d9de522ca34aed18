#!/usr/bin/env python3
"""Sorts the missed organisation names of a cross-validation run by what the
organisation recogniser's tests saw in the training days.

usage: scripts/org_misses.py [--cuts] KEEP_DIR [CORPUS_DIR]
  KEEP_DIR holds foldK/ex.txt, the output of
  `vsglex-eval --examples 100000 KEEP_DIR/foldK/models CORPUS_FILE` for the
  models that `scripts/crossval.sh --keep KEEP_DIR` kept.

For each missed name of two or more words it looks at the counts of the
other three corpus files (the fold's training days): whether the last word
was seen, ends organisation compounds at all, and does so in at least a
fifth of its occurrences (counting the suffix row's added 2.05); whether
the first word is a name, unknown, or begins compounds in at least one of
twenty occurrences. Counts come from the corpus tokens, not the trainer's
units, so they are close to the trainer's, not equal.

With --cuts it sorts every organisation error of the run instead by how the
output cut the text: false names; missed names that the output split into
several words (with or without an organisation word among them), that it
gave as one word of another tag, or whose first or last output word runs
past the name.
"""
import collections
import os
import re
import sys

FOLDS = ['01-07', '08-14', '15-21', '22-28']
TOKEN = re.compile(r'^\[?(.*?)/([A-Za-z]+)(\][a-z]+)?$')


def count(path):
    total, ends, begins = collections.Counter(), collections.Counter(), collections.Counter()
    for line in open(path, encoding='utf-8'):
        toks = line.split()
        for i, t in enumerate(toks):
            m = TOKEN.match(t)
            if not m:
                continue
            w = m.group(1)
            total[w] += 1
            if m.group(3) == ']nt':
                ends[w] += 1
            if t.startswith('['):
                j = i
                while j < len(toks) and ']' not in toks[j]:
                    j += 1
                if j < len(toks) and toks[j].endswith(']nt'):
                    begins[w] += 1
    return total, ends, begins


def missed_words(line):
    """The gold name of an "organisation: miss" line and the output words
    (texts, tags without class marks) from the marked one until they cover
    the gold name's length; None for other lines."""
    m = re.match(r'organisation: miss  (.*?)  :  (.*)', line)
    if not m:
        return None
    gold, toks = m.group(1), m.group(2).split(' ')
    at = [i for i, t in enumerate(toks) if t.startswith('[')]
    if not at:
        return None
    i = at[0]
    toks[i] = toks[i][1:]
    text, words, tags = '', [], []
    while i < len(toks) and len(text) < len(gold):
        w, _, tag = toks[i].rstrip(']').rpartition('/')
        text += w
        words.append(w)
        tags.append(tag.split('#')[0])
        i += 1
    return gold, text, words, tags


def cuts(keep):
    kinds, examples = collections.Counter(), collections.defaultdict(collections.Counter)
    for k, _ in enumerate(FOLDS):
        for line in open(os.path.join(keep, 'fold%d' % (k + 1), 'ex.txt'), encoding='utf-8'):
            line = line.rstrip('\n')
            m = re.match(r'organisation: false .*?\[(.*)/nt\]', line)
            if m:
                kinds['false name'] += 1
                examples['false name'][m.group(1)] += 1
                continue
            missed = missed_words(line)
            if missed is None:
                continue
            gold, text, _, tags = missed
            if text == gold and len(tags) == 1:
                key = 'missed: one word of another tag'
            elif text == gold:
                key = 'missed: split, an organisation word among the parts' if 'nt' in tags else 'missed: split'
            elif text.startswith(gold):
                key = 'missed: the last output word runs past the name'
            else:
                key = 'missed: an output word crosses the start of the name'
            kinds[key] += 1
            examples[key][gold] += 1
    for key, n in kinds.most_common():
        print('%5d  %-55s %s' % (n, key, ' '.join(w for w, _ in examples[key].most_common(6))))


def main():
    if sys.argv[1] == '--cuts':
        cuts(sys.argv[2])
        return
    keep = sys.argv[1]
    here = os.path.dirname(os.path.abspath(__file__))
    corpus = sys.argv[2] if len(sys.argv) > 2 else os.path.join(here, '..', '..', 'shared', 'corpus', 'pfr-1998-01')
    counts = [count(os.path.join(corpus, 'train-%s.txt' % f)) for f in FOLDS]
    kinds, examples = collections.Counter(), collections.defaultdict(collections.Counter)
    for k, _ in enumerate(FOLDS):
        total, ends, begins = (sum((counts[o][x] for o in range(4) if o != k), collections.Counter()) for x in range(3))
        for line in open(os.path.join(keep, 'fold%d' % (k + 1), 'ex.txt'), encoding='utf-8'):
            missed = missed_words(line.rstrip('\n'))
            if missed is None:
                continue
            gold, text, words, tags = missed
            if text != gold or len(words) < 2:
                continue  # one word, or the output cut differs from the gold name
            last, first = words[-1], words[0]
            if total[last] == 0:
                suffix = 'last word unseen'
            elif ends[last] == 0:
                suffix = 'last word never ends one'
            elif (ends[last] + 2.05) / (total[last] + 1) < 0.2:
                suffix = 'last word ends under a fifth'
            else:
                suffix = 'last word a suffix'
            if tags[0] in ('ns', 'nsf', 'nt', 'nr', 'nrf', 'nrj'):
                opener = 'first a name'
            elif total[first] == 0:
                opener = 'first unseen'
            elif (begins[first] + 1) / (total[first] + 1) >= 0.05:
                opener = 'first opens'
            else:
                opener = 'first opens under 1 in 20'
            key = suffix + ', ' + opener
            kinds[key] += 1
            examples[key][gold] += 1
    for key, n in kinds.most_common():
        print('%5d  %-55s %s' % (n, key, ' '.join(w for w, _ in examples[key].most_common(6))))


if __name__ == '__main__':
    main()
