# SPDX-License-Identifier: MIT
"""Checks the mutation run on sample.cpp: what it finds there, that all of it compiles, and which mutants live."""
import os
import shutil
import subprocess
import tempfile

import mutants as find
import mutation

HERE = os.path.dirname(os.path.abspath(__file__))


def is_to_live(mutant):
    # What is empty may as well be appended, and nobody asks for the other value.
    return mutant.function == "untested" or (mutant.function, mutant.kind, mutant.original) in (
        ("joined", "drop", "continue"), ("shifted", "literal", "0"), ("bounded", "literal", "100"),
        ("bounded", "return", "return 100"), ("bounded", "literal", "0"))


def run():
    sample = os.path.join(HERE, "sample.cpp")
    source = find.read(sample, "sample.cpp")
    find.Finder({sample: source}).parse(sample, ["-std=c++17"])
    # The part that plays the test stays as it is.
    source.mutants = [m for m in source.mutants if m.function not in ("check", "main")]
    source.finish()
    for number, mutant in enumerate(source.mutants, 1):
        mutant.number = number
    found = {f"{m.function}: {m.kind}: {find.one_line(m.original)} -> {find.one_line(m.replacement)}"
             for m in source.mutants}
    missing = {
        "joined: drop: continue -> (void)0",
        "joined: drop: text.append(part) -> (void)0",
        "joined: negate: part.empty() -> !(part.empty())",
        "joined: return: return text.take() -> return {}",
        'greeting: link: Text().append("to ") -> Text()',
        'greeting: link: Text().append("to ").append(name) -> Text().append("to ")',
        'greeting: literal: "to " -> "tp "',
        "isSmall: operator: number >= 0 && number < limit -> number >= 0 || number < limit",
        "isSmall: operator: number < limit -> number <= limit",
        "shifted: swap: difference(a, b) -> difference(b, a)",
        "shifted: negate: wanted -> !(wanted)",
        "shifted: literal: true -> false",
        "difference: operator: a - b -> a + b",
        "limit: literal: 3 -> 4",
        "place: literal: -1 -> 0",
        "next: literal: 1L -> 0L",
        "untested: literal: 1 -> 2",
    } - found
    unwanted = {text for text in found if text.startswith("bounded:")} - {
        "bounded: literal: 0 -> 1",
        "bounded: literal: 100 -> 101",
        "bounded: negate: std::chrono::steady_clock::now() >= until -> !(std::chrono::steady_clock::now() >= until)",
        "bounded: return: return 100 -> return {}",
        "bounded: return: return std::clamp(number, place(0), limit) -> return {}",
    }
    failures = [f"not found: {text}" for text in sorted(missing)]
    failures += [f"changes nothing: {text}" for text in sorted(unwanted)]
    if len({m.id for m in source.mutants}) != len(source.mutants):
        failures.append("two mutants have one name")
    if "\n-        text.append(part);\n" not in "".join(m.diff(source.text) for m in source.mutants):
        failures.append("the difference of a dropped call does not show it")

    compiler = os.environ.get("CXX") or shutil.which("c++") or "g++"
    with tempfile.TemporaryDirectory(prefix="mutation-") as home:
        text, _, live = source.schema(set(), set())
        copy, program = os.path.join(home, "sample.cpp"), os.path.join(home, "sample")
        with open(copy, "w", encoding="utf-8") as file:
            file.write('#include "mutation.h"\n' + text)
        built = subprocess.run([compiler, "-std=c++17", "-O0", "-w", "-I" + HERE, copy, "-o", program],
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if built.returncode != 0:
            print(built.stdout)
            return 1
        test = mutation.Program("tst_sample", [program], "sample", {})
        outcome, output = mutation.measure(test, len(source.mutants) + 1)
        if outcome != "passed":
            failures.append(f"without a mutant it {outcome}: {output}")
        for mutant in source.mutants:
            outcome, _ = mutation.judge(mutant, "sample", [test])
            if (outcome == "lives") != is_to_live(mutant):
                failures.append(f"{outcome}: {mutant}")
    for failure in failures:
        print(failure)
    print(f"{len(source.mutants)} mutants of the sample, {len(failures)} failures")
    return 1 if failures else 0
