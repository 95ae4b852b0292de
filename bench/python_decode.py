"""Times Runtime.load from Python against the C++ decode that kov check measures.

    PYTHONPATH=build/lib/python3.11/dist-packages /usr/bin/python3 bench/python_decode.py \
        build/bin/kov build/bin/make-rule-files

For the building example and a generated file of 1000 rules: the median time of a load from
Python (read, decode, no Python objects built) and the median time that `kov check -j 1 --json`
reports for decoding the same file, over many copies. The ratio should stay at most 1.2.
"""

import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import kov

COPIES = 200


def python_median(runtime, path):
    runtime.load(path)
    times = []
    for _ in range(COPIES):
        start = time.perf_counter()
        runtime.load(path)
        times.append(time.perf_counter() - start)
    return statistics.median(times) * 1000


def kov_median(kov_command, path, scratch):
    copies = os.path.join(scratch, "copies")
    shutil.rmtree(copies, ignore_errors=True)
    os.makedirs(copies)
    for i in range(COPIES):
        shutil.copy(path, os.path.join(copies, f"{i:04}.tkb"))
    out = subprocess.run([kov_command, "check", "--json", "--quiet", "-j", "1", copies],
                         capture_output=True, check=False).stdout.decode()
    return statistics.median(json.loads(line)["milliseconds"] for line in out.splitlines()[:-1])


def main():
    kov_command, make_rule_files = sys.argv[1], sys.argv[2]
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    with tempfile.TemporaryDirectory() as scratch, kov.Runtime() as runtime:
        subprocess.run([make_rule_files, scratch], check=True, capture_output=True)
        files = {"building": os.path.join(root, "examples", "building.tkb"),
                 "generated-1000": os.path.join(scratch, "generated-1000.tkb")}
        print(f"{'FILE':16} {'PYTHON ms':>10} {'C++ ms':>10} {'RATIO':>6}")
        for name, path in files.items():
            python = python_median(runtime, path)
            native = kov_median(kov_command, path, scratch)
            print(f"{name:16} {python:10.3f} {native:10.3f} {python / native:6.2f}")


if __name__ == "__main__":
    main()
