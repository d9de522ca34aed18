#!/usr/bin/env python3
"""Sorts the errors of a word cut into kinds, against the tagged corpus.

usage: segerrors.py TEST_TAGGED TRAIN_TAGGED SYSTEM

TEST_TAGGED   the tagged paragraphs of the scored text (corpus_split.py --tagged)
TRAIN_TAGGED  the tagged paragraphs the models were trained on (for OOV)
SYSTEM        the cut, one paragraph a line, word/tag separated by spaces

Every gold word the cut misses is counted by how it was missed: "split"
(the cut has a boundary inside it), "joined" (the cut runs over one of its
ends into a neighbour), "cross" (both); by whether it occurs in the
training days (IV) or not (OOV); and by the class of its gold tag. Then
the cut's own wrong words: pieces of a longer gold word, joins of several,
or crossing a boundary. Examples with their counts follow each line.
Last, the cut's joins by what the training days write of the joined
string: never (an unseen string), never as one word, both ways (as one
word at least half the times or less), or always as one word.
"""
import sys, re, collections
TOKEN = re.compile(r'^(\[?)(.+)/([A-Za-z]+)(\][a-z]+)?$')
def gold_tokens(line):
    toks = line.split()[1:]
    out = []
    for t in toks:
        m = TOKEN.match(t)
        if not m: continue
        out.append((m.group(2), m.group(3)))
    return out
def training_words(path):
    """Word counts and the paragraphs' text, one paragraph a line."""
    words = collections.Counter(); text = []
    for line in open(path,encoding='utf-8'):
        ws = [w for w,t in gold_tokens(line)]
        words.update(ws); text.append(''.join(ws))
    return words, '\n'.join(text)
test_tagged, train_tagged, sysfile = sys.argv[1:4]
V, train_text = training_words(train_tagged)
gl = [gold_tokens(l) for l in open(test_tagged,encoding='utf-8') if l.split()]
sl = [[t.rpartition('/')[0] for t in l.split(' ') if t] for l in open(sysfile,encoding='utf-8').read().split('\n')]
cat = collections.Counter(); ex = collections.defaultdict(collections.Counter)
fp = collections.Counter(); fpex = collections.defaultdict(collections.Counter)
joins = collections.Counter()
def tagclass(t, w):
    if t in ('m','t','q','mq'): return 'num/time'
    if t.startswith('nr'): return 'person'
    if t=='ns': return 'place'
    if t=='nt': return 'org'
    if t=='nz': return 'nz'
    if t in ('w',): return 'punct'
    if t in ('l','i','j'): return t
    return 'other'
for g, s in zip(gl, sl):
    gs=[];p=0
    for w,t in g: gs.append((p,p+len(w),w,t)); p+=len(w)
    ss=[];p=0
    for w in s: ss.append((p,p+len(w),w)); p+=len(w)
    sset={(a,b) for a,b,_ in ss}; gset={(a,b) for a,b,_,_ in gs}
    sb={a for a,b,_ in ss}|{b for a,b,_ in ss}
    gb={a for a,b,_,_ in gs}|{b for a,b,_,_ in gs}
    for a,b,w,t in gs:
        if (a,b) in sset: continue
        inner = any(x>a and x<b for x in sb)
        outer = not (a in sb and b in sb)
        kind = 'split' if inner and not outer else ('joined' if outer and not inner else 'cross')
        oov = 'OOV' if w not in V else 'IV'
        key=(kind, oov, tagclass(t,w))
        cat[key]+=1; ex[key][w]+=1
    for a,b,w in ss:
        if (a,b) in gset: continue
        inner = any(x>a and x<b for x in gb)
        outer = not (a in gb and b in gb)
        kind = 'sys-split-piece' if not inner and outer else ('sys-joined' if inner and not outer else 'sys-cross')
        fp[kind]+=1; fpex[kind][w]+=1
        if kind == 'sys-joined': joins[w]+=1
tot=sum(cat.values())
print('missed gold words', tot)
for k,v in cat.most_common(30):
    print(f'{v:6d} {v/tot:6.1%} {k}  e.g. '+' '.join(f'{w}:{c}' for w,c in ex[k].most_common(8)))
print('false system words', sum(fp.values()))
for k,v in fp.most_common():
    print(f'{v:6d} {k} e.g. '+' '.join(f'{w}:{c}' for w,c in fpex[k].most_common(15)))
def training_use(w):
    seen, whole = train_text.count(w), V[w]
    if seen == 0: return 'unseen string'
    if whole == 0: return 'never one word'
    if whole >= seen: return 'always one word'
    return 'both, one word >= half' if 2*whole >= seen else 'both, one word < half'
use = collections.Counter(); useex = collections.defaultdict(collections.Counter)
for w,c in joins.items():
    k = training_use(w); use[k]+=c; useex[k][w]+=c
print('joins by what the training days write of the string', sum(use.values()))
for k,v in use.most_common():
    print(f'{v:6d} {v/max(1,sum(use.values())):6.1%} {k} e.g. '+' '.join(f'{w}:{c}' for w,c in useex[k].most_common(10)))
