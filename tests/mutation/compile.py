#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Runs the compiler, on the mutated copy of a source where there is one.

compile.py TREE MUTATED COMPILER ARGUMENT..."""
import os
import re
import shutil
import sys

tree, mutated, *command = sys.argv[1:]


def includes_mutants(path):
    """Whether a test instantiates what a mutated header holds. Classes whose functions are compiled elsewhere need no
    other header for that."""
    with open(path, encoding="utf-8") as file:
        for name in re.findall(r'#include [<"]([\w/]+\.h)[>"]', file.read()):
            copy = os.path.join(mutated, name)
            if os.path.exists(copy):
                with open(copy, encoding="utf-8") as header:
                    if "Q_OBJECT" not in header.read():
                        return True
    return False


def uses_json_parser(path):
    with open(path, encoding="utf-8") as file:
        return "<simdjson.h>" in file.read()


for position, argument in enumerate(command):
    if argument.endswith(".cpp") and os.path.exists(argument):
        copy = os.path.join(mutated, os.path.relpath(os.path.abspath(argument), tree))
        if os.path.exists(copy):
            # A source with all its mutants is full of what the compiler would warn of; it is built to be run once.
            command[position] = copy
            # What comes with the JSON parser's templates is slow beyond use when it is not optimised at all.
            level = "-O1" if uses_json_parser(copy) else "-O0"
            command += ["-w", "-fpermissive", "-Wno-narrowing", level, "-g0"]
            command.insert(1, "-I" + mutated)
        elif includes_mutants(argument):
            command.insert(1, "-I" + mutated)
        break
if shutil.which("ccache"):
    command.insert(0, "ccache")
os.execvp(command[0], command)
