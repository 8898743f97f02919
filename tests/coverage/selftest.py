#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Whether coverage.py tells a line that was executed from one that was not, and compares the reasons both ways."""

import contextlib
import io
import os
import shlex
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
import coverage  # noqa: E402  # pylint: disable=wrong-import-position

SAMPLE = """struct Plain
{
    Plain() = default;
    ~Plain();
};
Plain::~Plain() = default;
template <class Number> int sign(Number number)
{
    if (number < 0) {
        return -1;
    }
    return 1;
}
int main(int argc, char**)
{
    return sign(argc) + sign(0.5) == 2 ? 0 : 1;
}
"""
LINE = "tessel/sample.cpp sign: return -1;"
REASON = LINE + "\n    Nothing here is below zero.\n"
AT_TIMES = LINE + "\n    At times: something is below zero.\n"
OTHER = "tessel/sample.cpp main: return 2;\n    It is not there.\n"
# The reasons, the percentage wanted, the exit code, and a part of what is said.
CASES = [
    ("", 50, 1, "not executed, and no reason:\n" + LINE),
    (REASON, 50, 0, "tessel        83.33 % of 6 lines"),
    (AT_TIMES, 50, 0, "83.33 %"),
    (REASON, 99, 1, "less than 99 %"),
    (REASON + OTHER, 50, 1, "has a reason, but is executed or is no longer there:\ntessel/sample.cpp main"),
    (REASON + OTHER.replace("It is", "At times: it is"), 50, 0, "83.33 %"),
]


def build(root):
    objects = os.path.join(root, "build", "dev", "tessel")
    os.makedirs(objects)
    os.makedirs(os.path.join(root, "tessel"))
    source = os.path.join(root, "tessel", "sample.cpp")
    with open(source, "w", encoding="utf-8") as file:
        file.write(SAMPLE)
    compiler = shlex.split(os.environ.get("CXX", "c++"))
    subprocess.run(compiler + ["-O0", "--coverage", "-c", source, "-o", "sample.o"], cwd=objects, check=True)
    subprocess.run(compiler + ["--coverage", "sample.o", "-o", "sample"], cwd=objects, check=True)
    subprocess.run([os.path.join(objects, "sample")], cwd=objects, check=True)


def main():
    failed = False
    with tempfile.TemporaryDirectory() as root:
        build(root)
        coverage.ROOT = root
        coverage.LIBRARIES = ("tessel",)
        reasons = os.path.join(root, "uncovered.txt")
        for number, (text, wanted, code, told) in enumerate(CASES):
            with open(reasons, "w", encoding="utf-8") as file:
                file.write(text)
            coverage.WANTED = wanted
            said = io.StringIO()
            sys.argv = ["coverage.py", "--build", os.path.join(root, "build", "dev"), "--reasons", reasons]
            with contextlib.redirect_stdout(said):
                got = coverage.main()
            if got != code or told not in said.getvalue():
                print(f"case {number}: exit code {got} instead of {code}, and said:\n{said.getvalue()}")
                failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
