#!/usr/bin/env python3
"""Sorts the person-name errors of a cross-validation run by how the output
covers them.

usage: scripts/person_misses.py [--top N] KEEP_DIR
  KEEP_DIR holds foldK/ex.txt, the output of
  `vsglex-eval --examples 100000 KEEP_DIR/foldK/models CORPUS_FILE` for the
  models that `scripts/crossval.sh --keep KEEP_DIR` kept.

Groups, summed over the folds, each with its most frequent texts:
  false lenK       an output person name of K characters (4: four or more)
                   that is no gold name;
  miss: no name lenK  a gold name of K characters that no output person
                   word overlaps (the text after "|" is what the output
                   has at the name's start);
  miss: longer / shorter  an output person word at the name's start that
                   runs past it or stops short of it (gold|output).
"""
import collections
import re
import sys

MISS = re.compile(r'^person: miss\s+(\S+)\s+:\s+(.*)$')
FALSE = re.compile(r'^person: false .*?\[(.*?)\]')
PERSON_TAG = re.compile(r'/n[rf]')


def text_of(words):
    return ''.join(w.rsplit('/', 1)[0] for w in words)


def classify(path, groups):
    for line in open(path, encoding='utf-8'):
        m = MISS.match(line)
        if m:
            gold, context = m.group(1), m.group(2)
            b = re.search(r'\[(.*?)\]', context)
            words = b.group(1).split() if b else []
            names = [w for w in words if PERSON_TAG.search(w)]
            if names:
                out = text_of(names)
                kind = 'miss: longer' if len(out) > len(gold) else (
                    'miss: shorter' if len(out) < len(gold) else 'miss: other span')
            else:
                out = text_of(words)
                kind = 'miss: no name len%d' % min(len(gold), 4)
            groups[kind][gold + '|' + out] += 1
            continue
        m = FALSE.match(line)
        if m:
            out = m.group(1).rsplit('/', 1)[0]
            groups['false len%d' % min(len(out), 4)][out] += 1


def main(argv):
    top = 20
    if len(argv) > 2 and argv[1] == '--top':
        top = int(argv[2])
        argv = argv[2:]
    if len(argv) != 2:
        sys.exit(__doc__)
    groups = collections.defaultdict(collections.Counter)
    for k in range(1, 5):
        classify('%s/fold%d/ex.txt' % (argv[1], k), groups)
    for kind in sorted(groups):
        c = groups[kind]
        print('%5d %s: %s' % (sum(c.values()), kind,
                              ' '.join('%s %d' % tc for tc in c.most_common(top))))


if __name__ == '__main__':
    main(sys.argv)
