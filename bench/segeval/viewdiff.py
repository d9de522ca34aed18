#!/usr/bin/env python3
"""What the corpus-granularity view gains and loses against the merged view.

The corpus view only cuts merged words into pieces, so a gold word that the
view misses because of the view (not because of the cutter) is one of:
  over-cut   the merged word is the gold word and the view cut it;
  under-cut  the merged word starts and ends on gold boundaries, holds two or
             more gold words, and the view's pieces miss some of them (the
             examples show the gold words, then the view's pieces).
Gains are the gold words the view has right and the merged view has not.
Counts are by the kind of the merged word (its tag in the merged output):
person, place, organisation, number or time, other. With --persons the
over-cut person words are listed with how the training days write them
(as one person token, or as the surname and given name tokens).

With --keep-chars MIN RATIO it also recomputes the view with one more rule
for person words, from the merged words: a two-character person word the
training days never show stays whole when its first character begins, or
its last ends, one-token person words at least MIN times and more than
RATIO times as often as surname + given-name pairs (a variant, not built;
the CORPUS_OUT view must already keep the listed one-token words whole),
and prints word F1 before and after with the gold words won and lost.

usage: viewdiff.py TEST_TAGGED TRAIN_TAGGED CORPUS_OUT MERGED_OUT [--persons] [--examples N]
                   [--keep-chars MIN RATIO]

TEST_TAGGED   the tagged paragraphs of the scored days (corpus format)
TRAIN_TAGGED  the tagged paragraphs the models were trained on
CORPUS_OUT, MERGED_OUT  vsglex --granularity corpus / merged text output
"""
import collections
import sys


def corpus_tokens(line):
    """(word, tag) of a corpus line, the paragraph id left out, brackets removed."""
    out = []
    for tok in line.split()[1:]:
        word, _, tag = tok.lstrip("[").rpartition("/")
        out.append((word, tag.split("]")[0]))
    return out


def system_words(line):
    out = []
    for tok in line.split(" "):
        if not tok:
            continue
        word, slash, tag = tok.rpartition("/")
        out.append((word, tag) if slash else (tok, ""))
    return out


def with_spans(words):
    out, pos = [], 0
    for w, t in words:
        out.append((pos, pos + len(w), w, t))
        pos += len(w)
    return out


def kind_of(tag):
    if tag.startswith("nr"):
        return "person"
    if tag.startswith("ns"):
        return "place"
    if tag.startswith("nt"):
        return "organisation"
    if tag in ("m", "t", "mq", "Mg", "Tg"):
        return "number/time"
    return "other"


def person_counts(path):
    """Times each person string is one nr token, and times it is a surname
    token followed by a given-name token (the trainer's join rule)."""
    one, two = collections.Counter(), collections.Counter()
    for line in open(path, encoding="utf-8"):
        toks = corpus_tokens(line)
        i = 0
        while i < len(toks):
            w, t = toks[i]
            if t == "nr":
                if i + 1 < len(toks) and toks[i + 1][1] == "nr" and (
                        len(w) == 1 or (len(w) == 2 and "·" not in w and len(toks[i + 1][0]) <= 3)):
                    two[w + toks[i + 1][0]] += 1
                    i += 2
                    continue
                one[w] += 1
            i += 1
    return one, two


def main():
    args, skip = [], 0
    for a in sys.argv[1:]:
        if skip:
            skip -= 1
        elif a.startswith("--"):
            skip = {"--examples": 1, "--keep-chars": 2}.get(a, 0)
        else:
            args.append(a)
    if len(args) < 4:
        sys.exit(__doc__)
    examples = 15
    if "--examples" in sys.argv:
        examples = int(sys.argv[sys.argv.index("--examples") + 1])
    keep_chars = None
    if "--keep-chars" in sys.argv:
        at = sys.argv.index("--keep-chars")
        keep_chars = (int(sys.argv[at + 1]), float(sys.argv[at + 2]))
    test, train, corpus_out, merged_out = args[:4]
    gold_lines = [l for l in open(test, encoding="utf-8").read().split("\n") if l.strip()]
    view_lines = open(corpus_out, encoding="utf-8").read().split("\n")
    merged_lines = open(merged_out, encoding="utf-8").read().split("\n")
    over, under, gain = collections.Counter(), collections.Counter(), collections.Counter()
    over_words, under_words, gain_words = (collections.defaultdict(collections.Counter) for _ in range(3))
    over_persons = collections.Counter()
    for k, gl in enumerate(gold_lines):
        gold = with_spans(corpus_tokens(gl))
        gold_spans = {(s, e) for s, e, _, _ in gold}
        starts = {s for s, _, _, _ in gold} | {e for _, e, _, _ in gold}
        view = with_spans(system_words(view_lines[k] if k < len(view_lines) else ""))
        view_spans = {(s, e) for s, e, _, _ in view}
        merged = with_spans(system_words(merged_lines[k] if k < len(merged_lines) else ""))
        merged_spans = {(s, e) for s, e, _, _ in merged}
        for s, e, w, t in merged:
            kind = kind_of(t)
            if (s, e) in gold_spans:
                if (s, e) not in view_spans:
                    over[kind] += 1
                    over_words[kind][w] += 1
                    if kind == "person":
                        over_persons[w] += 1
            elif s in starts and e in starts:
                inside = [(gs, ge, gw) for gs, ge, gw, _ in gold if s <= gs and ge <= e]
                missed = [gw for gs, ge, gw in inside if (gs, ge) not in view_spans]
                if missed:
                    under[kind] += len(missed)
                    pieces = [vw for vs, ve, vw, _ in view if s <= vs and ve <= e]
                    under_words[kind][" ".join(gw for _, _, gw in inside) + " as " + " ".join(pieces)] += 1
        for s, e, w, t in view:
            if (s, e) in gold_spans and (s, e) not in merged_spans:
                covering = next((mt for ms, me, _, mt in merged if ms <= s and e <= me), "")
                gain[kind_of(covering)] += 1
                gain_words[kind_of(covering)][w] += 1
    kinds = ["person", "place", "organisation", "number/time", "other"]
    print(f"{'merged word':<14}{'over-cut':>10}{'under-cut':>11}{'gained':>9}")
    for kind in kinds:
        print(f"{kind:<14}{over[kind]:>10}{under[kind]:>11}{gain[kind]:>9}")
    print(f"{'all':<14}{sum(over.values()):>10}{sum(under.values()):>11}{sum(gain.values()):>9}")
    for title, table in (("over-cut", over_words), ("under-cut", under_words)):
        for kind in kinds:
            if table[kind]:
                top = ", ".join(f"{w} {n}" for w, n in table[kind].most_common(examples))
                print(f"{title} {kind}: {top}")
    if keep_chars is not None:
        keep_chars_variant(test, train, corpus_out, merged_out, *keep_chars)
    if "--persons" in sys.argv:
        one, two = person_counts(train)
        print("over-cut person words: gold count, training one-token count, training surname+given count")
        groups = collections.Counter()
        for w, n in over_persons.most_common():
            group = "one token in training" if one[w] > two[w] else (
                "two tokens in training" if two[w] else "unseen in training")
            groups[group] += n
        for g, n in groups.most_common():
            print(f"  {g}: {n}")
        print("  " + ", ".join(f"{w} {n}/{one[w]}/{two[w]}" for w, n in over_persons.most_common(40)))


def keep_chars_variant(test, train, corpus_out, merged_out, least, ratio):
    one, two = person_counts(train)
    first, last = collections.defaultdict(lambda: [0, 0]), collections.defaultdict(lambda: [0, 0])
    for table, k in ((one, 0), (two, 1)):
        for w, n in table.items():
            if len(w) == 2:
                first[w[0]][k] += n
                last[w[1]][k] += n

    def keep(w):
        if len(w) != 2 or one[w] or two[w]:
            return False
        f, l = first[w[0]], last[w[1]]
        return (f[0] >= least and f[0] > ratio * f[1]) or (l[0] >= least and l[0] > ratio * l[1])

    gold_lines = [l for l in open(test, encoding="utf-8").read().split("\n") if l.strip()]
    view_lines = open(corpus_out, encoding="utf-8").read().split("\n")
    merged_lines = open(merged_out, encoding="utf-8").read().split("\n")
    gold_total = found_old = found_new = right_old = right_new = 0
    won, lost = collections.Counter(), collections.Counter()
    for k, gl in enumerate(gold_lines):
        gold = {(s, e) for s, e, _, _ in with_spans(corpus_tokens(gl))}
        view = [(s, e) for s, e, _, _ in with_spans(system_words(view_lines[k] if k < len(view_lines) else ""))]
        new = []
        for s, e, w, t in with_spans(system_words(merged_lines[k] if k < len(merged_lines) else "")):
            pieces = [(vs, ve) for vs, ve in view if s <= vs and ve <= e]
            if t.startswith("nr") and len(pieces) > 1 and keep(w):
                new.append((s, e))
                gain = ((s, e) in gold) - sum(p in gold for p in pieces)
                if gain > 0:
                    won[w] += gain
                elif gain < 0:
                    lost[w] -= gain
            else:
                new += pieces
        gold_total += len(gold)
        found_old += len(view)
        found_new += len(new)
        right_old += sum(p in gold for p in view)
        right_new += sum(p in gold for p in new)
    f1 = lambda right, found: 2 * right / (found + gold_total)
    print(f"two-character person words kept whole by their characters ({least}, {ratio}): word F1 "
          f"{f1(right_old, found_old):.4f} -> {f1(right_new, found_new):.4f}, gold words won "
          f"{sum(won.values())}, lost {sum(lost.values())}")
    print("  won: " + ", ".join(f"{w} {n}" for w, n in won.most_common(15)))
    print("  lost: " + ", ".join(f"{w} {n}" for w, n in lost.most_common(15)))


if __name__ == "__main__":
    main()
