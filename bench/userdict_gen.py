#!/usr/bin/env python3
"""Writes a user dictionary of N generated words (default 1,000,000) for
measuring load time and the cost of matching:

    python3 bench/userdict_gen.py 1000000 > /tmp/words.txt
    /usr/bin/time -f '%U s user' build/tools/vsglex/vsglex --user-dict /tmp/words.txt /dev/null
"""
import random
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 1000000
rng = random.Random(1)
tags = ["", "", "n", "nr", "ns", "nt", "v", "nz"]
out = sys.stdout
seen = set()
while len(seen) < n:
    w = "".join(chr(rng.randint(0x4E00, 0x9FA5)) for _ in range(rng.randint(2, 5)))
    if w in seen:
        continue
    seen.add(w)
    fields = [w]
    if rng.random() < 0.3:
        fields.append(str(rng.randint(1, 100000)))
    t = rng.choice(tags)
    if t:
        fields.append(t)
    out.write(" ".join(fields) + "\n")
