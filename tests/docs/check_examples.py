#!/usr/bin/env python3
"""Compiles and runs every ```cpp block of the given Markdown files.

Usage: check_examples.py DATA-DIR CXX [COMPILER-FLAGS...] -- FILE.md...

Each block is a whole program. It is compiled with CXX and the flags, then
run in a fresh folder holding a copy of DATA-DIR's files; it must exit with
status 0. A failure names the file and the line the block starts on.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

FENCE = re.compile(r"^```cpp\n(.*?)^```$", re.S | re.M)


def examples(path):
    text = open(path, encoding="utf-8").read()
    for match in FENCE.finditer(text):
        yield text.count("\n", 0, match.start()) + 1, match.group(1)


def check(data_dir, cxx, flags, path, line, code, work):
    name = "%s_%d" % (re.sub(r"\W", "_", os.path.basename(path)), line)
    folder = os.path.join(work, name)
    shutil.copytree(data_dir, folder)
    source, program = os.path.join(folder, "example.cpp"), os.path.join(folder, "example")
    with open(source, "w", encoding="utf-8") as out:
        out.write(code)
    steps = [([cxx, "-std=c++17", "-Wall", "-Werror", source, "-o", program] + flags, "compile"),
             ([program], "run")]
    for command, what in steps:
        done = subprocess.run(command, cwd=folder, capture_output=True, text=True, timeout=120)
        if done.returncode != 0:
            print("%s:%d: the example fails to %s (status %d)\n%s%s"
                  % (path, line, what, done.returncode, done.stdout, done.stderr))
            return False
    return True


def main():
    split = sys.argv.index("--")
    data_dir, cxx, flags = sys.argv[1], sys.argv[2], sys.argv[3:split]
    found, failed = 0, 0
    with tempfile.TemporaryDirectory() as work:
        for path in sys.argv[split + 1:]:
            for line, code in examples(path):
                found += 1
                failed += not check(data_dir, cxx, flags, path, line, code, work)
    print("%d examples, %d failed" % (found, failed))
    return 1 if failed or not found else 0


if __name__ == "__main__":
    sys.exit(main())
