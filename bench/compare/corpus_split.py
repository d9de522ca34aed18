#!/usr/bin/env python3
"""Writes the raw text of tagged corpus paragraphs (tags and brackets removed,
one paragraph per line) and the gold names of each line as JSON lines.

usage: corpus_split.py CORPUS_FILE... --text OUT.txt --gold OUT.jsonl
           [--days FIRST-LAST] [--words OUT.txt] [--tagged OUT.txt]

--days keeps the paragraphs dated FIRST to LAST (YYYYMMDD-YYYYMMDD, by the
paragraph identifier); --words also writes the gold words of each line,
separated by spaces; --tagged copies the kept paragraphs as they are (a
corpus file for the trainer or a word list).

Gold names, by character offsets in the line:
  person        one nr token, or a surname token and the given-name token
                after it (the corpus writes them apart): a surname of one
                character before a given name of at most three characters,
                or of two that is one of the compound surnames (欧阳 司马 ...);
                a list of names written without separators
                (江泽民李鹏乔石 in the raw text) is one name per person
  place         an ns token, or a bracketed compound labelled ns
  organization  an nt token, or a bracketed compound labelled nt
Names inside a bracketed place or organisation compound are "neutral":
neither counted as gold nor as a false positive when a system reports them.
"""
import argparse
import json
import re

# Surnames of two characters (the list the recognisers use).
COMPOUND_SURNAMES = set("欧阳 司马 诸葛 上官 东方 皇甫 令狐 慕容 尉迟 公孙 长孙 夏侯 端木 宇文 司徒 "
                        "澹台 轩辕 独孤 南宫 西门 申屠 呼延 万俟 闻人 赫连 拓跋 完颜 耶律".split())
TOKEN = re.compile(r'^(\[?)(.+)/([A-Za-z]+)(\][a-z]+)?$')


def parse(line):
    tokens = line.split()
    if not tokens:
        return None
    text = []
    pos = 0
    names = {"person": [], "place": [], "organization": []}
    neutral = []
    pending = []
    bracket_start = None
    bracket = 0  # 0 outside brackets, else the bracket's number
    brackets = 0
    person = None  # (start, end, surname characters, bracket) of an open name
    for tok in tokens[1:]:  # the first token is the paragraph identifier
        m = TOKEN.match(tok)
        if not m:
            continue
        opening, word, tag, closing = m.groups()
        start = pos
        if opening:
            bracket_start = start
            brackets += 1
            bracket = brackets
        pos += len(word)
        text.append(word)
        if tag == "nr":
            if person and person[3] == bracket and len(word) <= 3 and (
                    person[2] == 1 or text[-2] in COMPOUND_SURNAMES):
                names["person"].append((person[0], pos))  # surname + given name
                person = None
            else:
                if person:
                    names["person"].append(person[:2])
                person = (start, pos, len(word), bracket)
        else:
            if person:
                names["person"].append(person[:2])
            person = None
        cls = {"ns": "place", "nt": "organization"}.get(tag)
        if cls:
            if bracket_start is not None:
                pending.append((cls, (start, pos)))  # decided at the bracket's end
            else:
                names[cls].append((start, pos))
        if closing:
            label = closing[1:]
            if label in ("nt", "ns"):
                # The compound is the name; names inside it are neutral.
                names["organization" if label == "nt" else "place"].append((bracket_start, pos))
                neutral.extend(span for _, span in pending)
            else:
                for c, span in pending:
                    names[c].append(span)
            pending = []
            bracket_start = None
            bracket = 0
    if person:
        names["person"].append(person[:2])
    return "".join(text), names, neutral


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("files", nargs="+")
    ap.add_argument("--text", required=True)
    ap.add_argument("--gold", required=True)
    ap.add_argument("--days")
    ap.add_argument("--words")
    ap.add_argument("--tagged")
    a = ap.parse_args()
    first, last = (a.days.split("-") if a.days else ("0", "99999999"))
    words = open(a.words, "w", encoding="utf-8") if a.words else None
    tagged = open(a.tagged, "w", encoding="utf-8") if a.tagged else None
    with open(a.text, "w", encoding="utf-8") as t, open(a.gold, "w", encoding="utf-8") as g:
        for f in a.files:
            for line in open(f, encoding="utf-8"):
                day = line[:8]
                if not (day.isdigit() and first <= day <= last):
                    continue
                r = parse(line)
                if r is None or not r[0]:
                    continue
                text, names, neutral = r
                t.write(text + "\n")
                g.write(json.dumps({"names": names, "neutral": neutral}, ensure_ascii=False) + "\n")
                if words:
                    words.write(" ".join(m.group(2) for m in map(TOKEN.match, line.split()[1:]) if m) + "\n")
                if tagged:
                    tagged.write(line)
    for f in (words, tagged):
        if f:
            f.close()


if __name__ == "__main__":
    main()
