#!/usr/bin/env python3
"""Writes copies of held-out files with their years moved 30 years later.

usage: shiftyears.py FILE...   (writes FILE.later next to each)

Every full-width year of 1980-1999 becomes 2010-2029 (１９９７ -> ２０２７),
in the raw text, the gold words, the tagged paragraphs and the gold names
alike. The character offsets do not move, so the gold stays valid. The
copies stand in for text of a later period: the models know the years of
their corpus as dictionary words, and later years only by their form.
"""
import re
import sys

DIGITS = "０１２３４５６７８９"
YEAR = re.compile("１９([８９])([０-９])")


def later(match):
    decade = DIGITS.index(match.group(1)) + 3 - 10  # 8 -> 1, 9 -> 2
    return "２０" + DIGITS[decade] + match.group(2)


for path in sys.argv[1:]:
    with open(path, encoding="utf-8") as f:
        text = f.read()
    with open(path + ".later", "w", encoding="utf-8") as f:
        f.write(YEAR.sub(later, text))
