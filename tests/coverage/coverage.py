#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Says which lines of the libraries no test has executed, from what the programs of build/dev have written.

Fails when less than 99 % of the lines of a library were executed, when a line that was not has no reason in
tests/coverage/uncovered.txt, or when a line that has one was executed."""

import argparse
import collections
import concurrent.futures
import json
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
LIBRARIES = ("communicator", "json", "tessel")
WANTED = 99.0
# Its lines are executed or not, as the machine has it.
AT_TIMES = "At times: "

Line = collections.namedtuple("Line", "path number function text")


def stop(message):
    print(f"coverage: {message}", file=sys.stderr)
    sys.exit(2)


def notes(build):
    """The files that the compiler has written, one for each object file of the libraries."""
    found = []
    for library in LIBRARIES:
        for folder, _, names in os.walk(os.path.join(build, library)):
            found += [os.path.join(folder, name) for name in names if name.endswith(".gcno")]
    if not found:
        stop(f"{os.path.relpath(build)} has counted nothing; run tests/coverage/run")
    return sorted(found)


def report(note):
    done = subprocess.run(["gcov", "--json-format", "--stdout", "--demangled-names", note],
                          cwd=os.path.dirname(note), stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
    if done.returncode != 0:
        stop(f"gcov failed on {note}: {done.stderr.decode()}")
    return [json.loads(text) for text in done.stdout.splitlines() if text.strip()]


def short(name):
    """A function's name without arguments, namespaces of the project and template arguments."""
    previous = None
    while name != previous:
        previous = name
        name = re.sub(r"<[^<>]*>|\([^()]*\)|\[[^\[\]]*\]|\{[^{}]*\}", "", name)
    words = name.replace(" const", "").split()
    name = words[-1] if words else ""
    return re.sub(r"\b(Krelm::Communicator::(HttpDevice|Json)|Tessel|Krelm)::", "", name).strip(":")


def executed(build):
    """For each path below the root: for each line, how often it was executed, and the function it is in."""
    counts = collections.defaultdict(lambda: collections.defaultdict(int))
    functions = collections.defaultdict(dict)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
        for reports in workers.map(report, notes(build)):
            for one in reports:
                for file in one["files"]:
                    path = os.path.relpath(os.path.normpath(os.path.join(build, file["file"])), ROOT)
                    if path.split(os.sep)[0] not in LIBRARIES or not os.path.exists(os.path.join(ROOT, path)):
                        continue
                    names = {function["name"]: short(function["demangled_name"]) for function in file["functions"]}
                    for line in file["lines"]:
                        number = line["line_number"]
                        counts[path][number] += line["count"]
                        functions[path][number] = names.get(line.get("function_name"), "")
    return counts, functions


def reasons(path):
    """The entries of the file, with their reasons."""
    found = {}
    key = None
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            if line.startswith("#") or not line.strip():
                continue
            if not line.startswith(" "):
                key = line.strip()
                if key in found:
                    stop(f"{path}:{number}: listed twice: {key}")
                found[key] = ""
            elif key is None:
                stop(f"{path}:{number}: a reason stands below its line")
            else:
                found[key] += line.strip() + " "
    for key, reason in found.items():
        if not reason:
            stop(f"{path}: a line without a reason: {key}")
    return found


def is_code(text):
    """Whether somebody has written what a line does. Braces stand for what is cleared up when an exception passes;
    what is defaulted is written by the compiler."""
    return re.search(r"\w", text) is not None and not text.rstrip().endswith("= default;")


def key_of(line):
    return f"{line.path} {line.function}: {line.text}"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default=os.path.join(ROOT, "build", "dev"), help="the build directory")
    parser.add_argument("--reasons", default=os.path.join(ROOT, "tests", "coverage", "uncovered.txt"), metavar="FILE")
    options = parser.parse_args()

    counts, functions = executed(os.path.abspath(options.build))
    told = reasons(options.reasons)
    failed = False
    uncovered = []
    for library in LIBRARIES:
        lines = hit = 0
        for path in sorted(counts):
            if path.split(os.sep)[0] != library:
                continue
            with open(os.path.join(ROOT, path), encoding="utf-8") as file:
                source = file.read().splitlines()
            for number, count in sorted(counts[path].items()):
                if not is_code(source[number - 1]):
                    continue
                lines += 1
                hit += count > 0
                if count == 0:
                    uncovered.append(Line(path, number, functions[path][number], source[number - 1].strip()))
        percent = 100 * hit / lines if lines else 0
        print(f"{library:<13}{percent:6.2f} % of {lines} lines")
        if percent < WANTED:
            print(f"  less than {WANTED:g} %")
            failed = True

    unexplained = [line for line in uncovered if key_of(line) not in told]
    for line in unexplained:
        print(f"{line.path}:{line.number}: not executed, and no reason:\n{key_of(line)}")
    keys = {key_of(line) for line in uncovered}
    surplus = [key for key, reason in told.items() if key not in keys and not reason.startswith(AT_TIMES)]
    for key in surplus:
        print(f"has a reason, but is executed or is no longer there:\n{key}")
    return 1 if failed or unexplained or surplus else 0


if __name__ == "__main__":
    sys.exit(main())
