#!/usr/bin/env python3
"""What the 16-bit rounding of the word cutter's weights costs.

The cutter model stores its weights as 16-bit integers with one scale (the
largest weight is 32767). This rounds the weights and transitions of the
models of a segeval.sh work folder to a grid K times coarser (what a scale
K times smaller would store), cuts each split's text again with them and
scores words and names as segeval.sh does. If a grid K times coarser costs
nothing, the stored grid costs less still.

usage: coarsen.py WORK_DIR K [BUILD_DIR]

WORK_DIR   a folder kept by segeval.sh (VSGLEX_SEGEVAL_WORK), one
           subfolder per split with its models, text and gold files
K          the grid's coarseness (1 gives the stored model back)
BUILD_DIR  the build with vsglex (default: build)

The coarsened set goes to SPLIT/models-cK without its manifest (the model's
own checksum is rewritten; vsglex warns that the set is not checked).
"""
import array
import os
import shutil
import struct
import subprocess
import sys
import time

HEADER = 288          # magic, version, table bits, weight count, feature set,
TRANSITIONS_AT = 24   # 64 transitions as int32, then the payload checksum
CHECKSUM_AT = 280
MASK = (1 << 64) - 1


def mix(x):
    x ^= x >> 30
    x = (x * 0xBF58476D1CE4E5B9) & MASK
    x ^= x >> 27
    x = (x * 0x94D049BB133111EB) & MASK
    x ^= x >> 31
    return x


def checksum(payload):
    """The model file's checksum of the bytes after its header."""
    h = 0xCBF29CE484222325
    prime = 0x100000001B3
    n8 = len(payload) // 8 * 8
    for v in array.array('Q', payload[:n8]):
        h = ((h ^ v) * prime) & MASK
        h ^= h >> 29
    for b in payload[n8:]:
        h = ((h ^ b) * prime) & MASK
    return mix(h)


def coarsen(src, dst, k):
    d = bytearray(open(src, 'rb').read())
    if sys.byteorder != 'little':
        sys.exit('coarsen.py: needs a little-endian machine')
    bits, count = struct.unpack_from('<II', d, 12)
    at = HEADER + 8 * (1 << bits)
    w = array.array('h', bytes(d[at:at + 2 * count]))
    d[at:at + 2 * count] = array.array(
        'h', [max(-32767, min(32767, round(x / k) * k)) for x in w]).tobytes()
    t = array.array('i', bytes(d[TRANSITIONS_AT:CHECKSUM_AT]))
    d[TRANSITIONS_AT:CHECKSUM_AT] = array.array('i', [round(x / k) * k for x in t]).tobytes()
    struct.pack_into('<Q', d, CHECKSUM_AT, checksum(bytes(d[HEADER:])))
    open(dst, 'wb').write(d)


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    work, k = sys.argv[1], int(sys.argv[2])
    here = os.path.dirname(os.path.abspath(__file__))
    root = os.path.dirname(os.path.dirname(here))
    build = sys.argv[3] if len(sys.argv) == 4 else os.path.join(root, 'build')
    vsglex = os.path.join(build, 'tools', 'vsglex', 'vsglex')
    for split in sorted(os.listdir(work)):
        d = os.path.join(work, split)
        if not os.path.isfile(os.path.join(d, 'models', 'segment.mdl')):
            continue
        models = os.path.join(d, 'models-c%d' % k)
        shutil.rmtree(models, ignore_errors=True)
        shutil.copytree(os.path.join(d, 'models'), models)
        os.remove(os.path.join(models, 'manifest.txt'))
        coarsen(os.path.join(d, 'models', 'segment.mdl'), os.path.join(models, 'segment.mdl'), k)
        out = os.path.join(d, 'c%d' % k)
        os.makedirs(out, exist_ok=True)
        test = os.path.join(d, 'test.txt')
        with open(os.path.join(out, 'corpus.txt'), 'wb') as f:
            subprocess.run([vsglex, '--data', models, '--granularity', 'corpus', test], stdout=f,
                           stderr=subprocess.DEVNULL, check=True)
        start = time.monotonic()
        with open(os.path.join(out, 'vsglex.jsonl'), 'wb') as f:
            subprocess.run([vsglex, '--data', models, '--names-only', '--format', 'json', test], stdout=f,
                           stderr=subprocess.DEVNULL, check=True)
        # score.py reads the timing file that segeval.sh writes (wall
        # seconds; the peak is not measured here).
        with open(os.path.join(out, 'vsglex.stats'), 'w') as f:
            f.write('%.3f 0\n' % (time.monotonic() - start))
        print('split %s, weights on a grid %d times coarser' % (split, k), flush=True)
        subprocess.run([sys.executable, os.path.join(here, 'segscore.py'), test, os.path.join(d, 'gold-words.txt'),
                        os.path.join(d, 'corpus', 'train.txt'),
                        'vsglex corpus=tagged:' + os.path.join(out, 'corpus.txt')], check=True)
        subprocess.run([sys.executable, os.path.join(root, 'bench', 'compare', 'score.py'), test,
                        os.path.join(d, 'gold.jsonl'), out, 'vsglex'], check=True)


if __name__ == '__main__':
    main()
