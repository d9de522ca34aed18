#!/usr/bin/env python3
"""Time of vsglex.tag() from Python against the vsglex command doing the
same work (cutting and tagging a text, every word with its tag), each as a
whole process (start, model load, analysis), best CPU time of several runs.

usage: python_bench.py [--python PY] [--command PATH] [--runs N] [TEXT]

TEXT defaults to the raw text of corpus days 25-28, made with
bench/compare/corpus_split.py from ../shared/corpus. PY is an interpreter
that imports the installed package (e.g. a venv's python). Timings on a
shared machine are noisy: compare ratios from one run.
"""
import argparse
import os
import re
import resource
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def dev_text(tmp):
    corpus = os.path.join(ROOT, "..", "shared", "corpus", "pfr-1998-01", "train-22-28.txt")
    if not os.path.exists(corpus):
        sys.exit("no corpus at %s: give a TEXT" % corpus)
    tagged = os.path.join(tmp, "days25-28.tagged")
    with open(corpus, encoding="utf-8") as f, open(tagged, "w", encoding="utf-8") as out:
        out.writelines(line for line in f if re.match(r"199801(25|26|27|28)", line))
    text = os.path.join(tmp, "dev.txt")
    subprocess.check_call([sys.executable, os.path.join(ROOT, "bench", "compare", "corpus_split.py"), tagged,
                           "--text", text, "--gold", os.path.join(tmp, "gold.jsonl")])
    return text


def cpu_of(cmd, stdout=subprocess.DEVNULL):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(cmd, check=True, stdout=stdout)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)


PY_TAG = """
import sys, vsglex
text = open(sys.argv[1], encoding="utf-8").read()
pairs = vsglex.tag(text)
"""

# The tag() call alone, best of several, in one process.
PY_CALL = """
import sys, time, vsglex
text = open(sys.argv[1], encoding="utf-8").read()
vsglex.tag(text[:1000])
best = min((lambda t0: (vsglex.tag(text), time.process_time() - t0)[1])(time.process_time())
           for _ in range(int(sys.argv[2])))
print(best)
"""


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--python", default=sys.executable)
    ap.add_argument("--command", default=os.path.join(ROOT, "build", "tools", "vsglex", "vsglex"))
    ap.add_argument("--runs", type=int, default=5)
    ap.add_argument("text", nargs="?")
    args = ap.parse_args()
    with tempfile.TemporaryDirectory() as tmp:
        text = args.text or dev_text(tmp)
        size = os.path.getsize(text)
        cmd = [args.command, text]
        py = [args.python, "-c", PY_TAG, text]
        subprocess.run(py, check=True)  # warm the page cache
        c = min(cpu_of(cmd) for _ in range(args.runs))
        c0 = min(cpu_of([args.command, os.devnull]) for _ in range(args.runs))
        p = min(cpu_of(py) for _ in range(args.runs))
        p0 = min(cpu_of([args.python, "-c", "import vsglex; vsglex.tag('')"]) for _ in range(args.runs))
        call = float(subprocess.run([args.python, "-c", PY_CALL, text, str(args.runs)], check=True,
                                    capture_output=True, text=True).stdout)
    print("text: %s (%d bytes)" % (text, size))
    print("whole processes (start, model load, analysis, output), CPU s:")
    print("  vsglex command       %.3f   (on empty input %.3f)" % (c, c0))
    print("  python vsglex.tag()  %.3f   (on empty input %.3f)" % (p, p0))
    print("  ratio python/command %.2f" % (p / c))
    print("the analysis alone: command %.3f s (text minus empty input), tag() call %.3f s, ratio %.2f"
          % (c - c0, call, call / max(c - c0, 1e-9)))


if __name__ == "__main__":
    main()
