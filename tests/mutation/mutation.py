#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Changes the library one statement at a time and tells which changes no test notices.

All changes (mutants) of a source are compiled into it at once, each behind its number, and an environment variable
chooses one. So the build happens once and a mutant costs no more than a run of its tests, up to the first that fails.
"""
import argparse
import concurrent.futures
import hashlib
import json
import os
import pickle
import re
import resource
import select
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True  # nothing is left in the sources
import mutants as find

HERE = os.path.dirname(os.path.abspath(__file__))
TREE = os.path.dirname(os.path.dirname(HERE))
BUILD = os.path.join(TREE, "build", "mutation")
MUTATED = os.path.join(BUILD, "mutated")
SURVIVORS = os.path.join(HERE, "survivors.txt")

# How many mutants a run takes of each module, when nothing else is said, and how many of them may live.
COUNTS = {"tessel": 600, "communicator": 400}
ALLOWED = 0.02
# No file has more than this share of a run, or the route table would be half of it.
LARGEST_SHARE = 0.08

# Directories of a module's sources, and those of the tests of its mutants.
SOURCES = {"tessel": ["tessel"], "communicator": ["communicator", "files", "json"]}
TESTS = {"tessel": ["tests/tessel"], "communicator": ["tests/communicator", "tests/json"]}
# Programs that look at sources and so see nothing of a mutant, or that fill gigabytes in each run.
PASSED_OVER = {"tst_house", "tst_largebody", "tst_layering", "tst_quirks"}
LONG = 10  # seconds, of a test function
# What so many functions of programs of other names have not noticed counts as unnoticed: what every request passes
# through is reached by hundreds.
ENOUGH = 150
NUMBERS_EACH = 4096  # more than any source has mutants
# What the C library writes over memory that is given back, so that whoever still uses it crashes. Not where it would
# write over hundreds of megabytes at each of many thousand reallocations.
FREED = "165"
WITHOUT_FREED = {"tst_jsonreader"}

# The list of route keys that the table lacks, and a key that it holds: what has no route gets this one.
ABSENT_KEYS, PRESENT_KEY = "absentroutekeys.h", '"Device_Hwinfo"'
# A source whose tests do not carry its name, by the names of both without directory and suffix.
TABLE = {
    "httpproxy": ["tst_proxy"],
    "proxyeventqueue": ["tst_proxyeventqueue", "tst_eventdelivery", "tst_proxy"],
    "eventstream": ["tst_events"],
    "eventchannels": ["tst_events"],
    "httpjsonpackage": ["tst_package", "tst_proxy"],
    "httpjsonpackage_p": ["tst_package", "tst_proxy"],
    "httpmutilpartpackage": ["tst_package"],
    "pendingreply": ["tst_package", "tst_proxy"],
    "keytable": ["tst_jsonreader"],
    "outgoingbody": ["tst_engine_parts", "tst_engine_requests"],
    "requesthead": ["tst_engine_requests"],
    "connection": ["tst_engine_reuse", "tst_engine_connections"],
    "connectionpool": ["tst_engine_reuse", "tst_engine_connections"],
    "connector": ["tst_engine_connections", "tst_tls"],
    "exchange": ["tst_engine_replies", "tst_engine_requests"],
    "asyncexchange": ["tst_engine_requests", "tst_engine_reuse"],
    "requestqueue": ["tst_engine_connections", "tst_engine_requests"],
    "exchangereport": ["tst_engine_observers"],
    "atomicfile": ["tst_engine_downloads"],
    "lifecycle": ["tst_exit"],
    "deviceaddress": ["tst_deviceregistry"],
    "engineslot": ["tst_proxy"],
    "exchangeid": ["tst_exchangeids", "tst_cancel"],
    "exchangeobserver": ["tst_exchangeids", "tst_engine_observers"],
    "logging": ["tst_exchangereport"],
    "loginscheme": ["tst_deviceregistry"],
    "observerlist": ["tst_exchangeids", "tst_engine_observers"],
    "proxydevices": ["tst_proxy", "tst_deviceconnections"],
    "refusal": ["tst_exchangereport"],
    "requestlimits": ["tst_connectionpool"],
    "socketengine": ["tst_engine_requests", "tst_proxy"],
    "timelimit": ["tst_exchangereport"],
    "transferlimits": ["tst_replyreader"],
}


# Finding and building

def learn_absent_keys():
    for directory, _, names in os.walk(os.path.join(TREE, "tests")):
        if ABSENT_KEYS in names:
            with open(os.path.join(directory, ABSENT_KEYS), encoding="utf-8") as file:
                find.ABSENT.update(re.findall(r'^\s*("\w+"),', file.read(), re.M))
            find.PRESENT = PRESENT_KEY


def module_of(path):
    """The module of a source, by its path from the root."""
    top = path.split(os.sep)[0]
    return next(module for module, directories in SOURCES.items() if top in directories)


def sources():
    """The sources of the modules, by absolute path."""
    found = {}
    for top in (top for directories in SOURCES.values() for top in directories):
        for directory, _, names in sorted(os.walk(os.path.join(TREE, top))):
            for name in sorted(names):
                if name.endswith((".cpp", ".h")):
                    path = os.path.join(directory, name)
                    found[path] = find.read(path, os.path.relpath(path, TREE))
    return found


def say(text):
    print(text, file=sys.stderr, flush=True)


def configure(options):
    os.makedirs(MUTATED, exist_ok=True)
    launcher = ";".join(["/usr/bin/python3", os.path.join(HERE, "compile.py"), TREE, MUTATED])
    command = ["cmake", "--preset", "dev", "-B", BUILD, "-DTESSEL_BUILD_BENCH=OFF", "-DTESSEL_BUILD_EXAMPLES=OFF",
               "-DCMAKE_CXX_COMPILER_LAUNCHER=" + launcher]
    done = subprocess.run(command, cwd=TREE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode != 0:
        sys.exit(done.stdout)


def units():
    """The compiler's arguments for each source, by absolute path."""
    with open(os.path.join(BUILD, "compile_commands.json"), encoding="utf-8") as file:
        entries = json.load(file)
    result = {}
    for entry in entries:
        words = entry["command"].split()
        path = os.path.abspath(os.path.join(entry["directory"], entry["file"]))
        start = next(i for i, word in enumerate(words) if re.search(r"(g\+\+|c\+\+|clang\+\+)[-\d.]*$", word))
        arguments, words = [], words[start + 1:]
        while words:
            word = words.pop(0)
            if word in ("-o", "-include"):  # a precompiled header is this compiler's own
                words.pop(0)
            elif word not in ("-c", "-Werror") and not word.endswith(".cpp"):
                arguments.append(word)
        result.setdefault(path, arguments)
    return result


def parse_unit(job):
    """The mutants that one translation unit shows, as plain values, so that another process can find them."""
    path, arguments, wanted = job
    known = {name: find.read(name, os.path.relpath(name, TREE)) for name in wanted}
    find.Finder(known).parse(path, arguments + ["-w"])
    return [(name, source.mutants, source.relaxed) for name, source in known.items()
            if source.mutants or source.relaxed]


def key_of(*texts):
    return hashlib.sha1("\0".join(texts).encode()).hexdigest()


def find_mutants(jobs, module):
    """All sources with their mutants; with a module, those of that one."""
    known, commands = sources(), units()
    blocks = {path: block for block, path in enumerate(sorted(known))}
    if module is not None:
        known = {path: source for path, source in known.items() if module_of(source.path) == module}
    script = open(os.path.join(HERE, "mutants.py"), encoding="utf-8").read()
    headers = sorted(name for name in known if name.endswith(".h"))
    key = key_of(script, *sorted(find.ABSENT), *(known[name].text for name in headers))
    cache = os.path.join(BUILD, "found")
    os.makedirs(cache, exist_ok=True)
    work, results = [], {}
    for path in sorted(known):
        if path not in commands:
            continue
        file = os.path.join(cache, key_of(key, path, known[path].text))
        if os.path.exists(file):
            with open(file, "rb") as stored:
                results[path] = pickle.load(stored)
        else:
            work.append((path, file))
    if work:
        say(f"Reading {len(work)} sources ...")
    with concurrent.futures.ProcessPoolExecutor(jobs) as pool:
        futures = {path: pool.submit(parse_unit, (path, commands[path], [path] + headers)) for path, _ in work}
        for path, file in work:
            results[path] = futures[path].result()
            with open(file, "wb") as stored:
                pickle.dump(results[path], stored)
    for path in sorted(results):
        for name, changes, relaxed in results[path]:
            source = known[name]
            if not source.mutants:  # a header is seen by many, the first one counts
                source.mutants, source.relaxed = changes, relaxed
    for path in sorted(known):
        known[path].finish()
        # Numbers of its own for each source, so that a change of one does not build the others anew.
        for number, mutant in enumerate(known[path].mutants, blocks[path] * NUMBERS_EACH + 1):
            mutant.number = number
    return known


def write_if_changed(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if os.path.exists(path):
        with open(path, encoding="utf-8") as file:
            if file.read() == text:
                return
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


class Build:
    """The mutated sources, and the programs made from them."""

    def __init__(self, known):
        self.known = known
        self.state = os.path.join(BUILD, "dropped.json")
        self.dropped, self.stiff, self.stored = {}, {}, {}
        if os.path.exists(self.state):
            with open(self.state, encoding="utf-8") as file:
                self.stored = json.load(file)
            for path, source in known.items():
                entry = self.stored.get(source.path)
                if entry and entry["key"] == key_of(source.text):
                    self.dropped[path], self.stiff[path] = set(entry["dropped"]), set(entry["stiff"])
        self.spans, self.live = {}, {}

    def store(self):
        state = dict(self.stored)  # what a run of another module found stays
        state.update({source.path: {"key": key_of(source.text), "dropped": sorted(self.dropped.get(path, ())),
                                    "stiff": sorted(self.stiff.get(path, ()))}
                      for path, source in self.known.items() if source.mutants})
        with open(self.state, "w", encoding="utf-8") as file:
            json.dump(state, file, indent=1)

    def write(self):
        header = open(os.path.join(HERE, "mutation.h"), encoding="utf-8").read()
        write_if_changed(os.path.join(MUTATED, "mutation.h"), header)
        for path, source in self.known.items():
            copy = os.path.join(MUTATED, source.path)
            text, spans, live = source.schema(self.dropped.get(path, set()), self.stiff.get(path, set()))
            self.spans[path], self.live[path] = spans, live
            if live or path.endswith(".cpp"):
                # On the first line, so that all lines keep their numbers.
                head = '#include "mutation.h"\n'
                if path.endswith(".h"):
                    head += "#pragma GCC system_header\n"
                write_if_changed(copy, head + "#line 1\n" + text)
            elif os.path.exists(copy):
                os.remove(copy)

    def run(self, jobs, targets):
        for _ in range(60):
            self.write()
            done = subprocess.run(["cmake", "--build", BUILD, "-j", str(jobs), "--target", *targets, "--", "-k0"],
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            self.store()
            if done.returncode == 0:
                return
            # What follows from a constant that is none any more is no mutant's fault.
            count = self.harden(done.stdout) or self.blame(done.stdout)
            if not count:
                with open(os.path.join(BUILD, "failed.log"), "w", encoding="utf-8") as file:
                    file.write(done.stdout)
                sys.exit(done.stdout[-6000:] + "\nThe mutated sources do not build, and no mutant is to blame.")
            say(f"  {count} that do not compile are left out")
            self.store()
        sys.exit("The mutated sources do not build after 60 attempts.")

    def harden(self, output):
        """Keeps those constants as they are that the compiler needs, such as the size of an array."""
        needed = set()
        for line in output.splitlines():
            if "constant expression" in line:
                needed |= {name.split("::")[-1] for name in re.findall(r"[‘']([^‘’']+)[’']", line)}
        count = 0
        for path, source in self.known.items():
            stiff = self.stiff.setdefault(path, set())
            for start, word, _, body in source.relaxed:
                name = re.match(r"[^={;]*?(\w+)\s*(?:\[[^]]*\]\s*)?[={;]", source.text[word:body[1]] + ";")
                if start not in stiff and name and name.group(1) in needed:
                    stiff.add(start)
                    count += 1
        return count

    def blame(self, output):
        """Leaves out what the compiler's errors point at."""
        by_copy = {os.path.join(MUTATED, source.path): path for path, source in self.known.items()}
        blamed, unblamed, context = set(), [], []
        for line in output.splitlines():
            match = re.match(r"(\S+?):(\d+):(?:(\d+):)? (.*)", line)
            if not match:
                continue
            path = by_copy.get(os.path.abspath(os.path.join(BUILD, match.group(1))))
            here = (path, int(match.group(2)), int(match.group(3) or 1))
            message = match.group(4)
            is_error = re.match(r"(fatal )?error:", message)
            if path is None:
                if is_error:
                    context.append(None)
                continue
            # An error inside a header of somebody else's is told with the lines that lead to it.
            leads = "required from" in message or "note:" in message or "here" in message
            if is_error or (leads and context and context[-1] is None):
                found = self.innermost(*here)
                if found:
                    blamed.add((path, found))
                    context.append(path)
                elif is_error:
                    unblamed.append((path, message))
        for path, identity in blamed:
            self.dropped.setdefault(path, set()).add(identity)
        count = len(blamed)
        if not count:
            for path, message in unblamed:
                source = self.known[path]
                stiff = self.stiff.setdefault(path, set())
                names = set(re.findall(r"[‘']([\w:]+)[’']", message))
                soft = [r for r in source.relaxed if r[0] not in stiff]
                chosen = [r for r in soft if any(re.search(rf"\b{re.escape(n.split('::')[-1])}\b",
                                                           source.text[r[1]:r[3][1]]) for n in names)] or soft
                stiff.update(r[0] for r in chosen)
                count += len(chosen)
        return count

    def innermost(self, path, line, column):
        with open(os.path.join(MUTATED, self.known[path].path), encoding="utf-8") as file:
            text = file.read()
        start = text.index("#line 1\n") + len("#line 1\n")
        lines = text[start:].split("\n")
        before = "\n".join(lines[:line - 1]) + ("\n" if line > 1 else "")
        offset = len(before) + len(lines[line - 1].encode()[:column - 1].decode(errors="ignore"))
        around = [(e - s, i) for i, (s, e) in self.spans[path].items() if s <= offset < max(e, s + 1)]
        if around:
            return min(around)[1]
        # Such as a statement's prefix, which is over before the statement is, or an operand on the next line.
        near = [(abs(s - offset), i) for i, (s, e) in self.spans[path].items() if abs(s - offset) < 400]
        return min(near)[1] if near else None


# Running

class Program:
    """A test program, or one function of it."""

    def __init__(self, name, command, module, environment, function=""):
        self.name, self.command, self.module, self.environment = name, command, module, environment
        self.function = function
        self.seconds, self.silence, self.reach = 0.0, 0.0, frozenset()

    def __str__(self):
        return self.name + (":" + self.function if self.function else "")

    def functions(self):
        """A program for each function, all of which run alone and in any order; itself if it has none."""
        environment = dict(os.environ, **self.environment)
        listed = subprocess.run([*self.command, "-functions"], env=environment, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, timeout=60)
        names = re.findall(r"^(\w+)\(\)$", listed.stdout, re.M)
        if listed.returncode != 0 or not names or len(names) != len(listed.stdout.split()):
            return [self]
        return [Program(self.name, [*self.command, name], self.module, self.environment, name) for name in names]


# The tests of a module that need more than it: how waits end with the application, each in a process of its own.
ELSEWHERE = {"tst_integration_applicationend": "tessel"}


def programs():
    listed = subprocess.run(["ctest", "--test-dir", BUILD, "--show-only=json-v1"], stdout=subprocess.PIPE,
                            check=True, text=True).stdout
    result = []
    for test in json.loads(listed)["tests"]:
        properties = {p["name"]: p["value"] for p in test.get("properties", [])}
        directory = os.path.relpath(properties.get("WORKING_DIRECTORY", BUILD), BUILD)
        module = next((m for m, directories in TESTS.items() if directory in directories),
                      ELSEWHERE.get(test["name"]))
        if module and test["name"] not in PASSED_OVER:
            environment = dict(e.split("=", 1) for e in properties.get("ENVIRONMENT", []))
            # CTest does not name the command of a program that is still to be built.
            command = test.get("command", [os.path.join(BUILD, directory, test["name"])])
            result.append(Program(test["name"], command, module, environment))
    return result


def limit_resources():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    # A loop that fills the memory ends here and not with the machine.
    resource.setrlimit(resource.RLIMIT_AS, (16 << 30, 16 << 30))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 30, 1 << 30))


def run_program(program, seconds, silence, extra, until_failure=True):
    """Runs a test program with a home of its own, for so many seconds and without a passed test for so many.
    @return "passed", "failed", "crashed" or "hung", its output, and the longest time without a passed test."""
    with tempfile.TemporaryDirectory(prefix="mutation-", ignore_cleanup_errors=True) as home:
        environment = dict(os.environ, **program.environment, TMPDIR=home, HOME=home, LC_ALL="C.UTF-8",
                           QTEST_DISABLE_STACK_DUMP="1", **extra)
        if program.name not in WITHOUT_FREED:
            environment["MALLOC_PERTURB_"] = FREED
        for name in ("QT_LOGGING_RULES", "QT_MESSAGE_PATTERN", "LANGUAGE"):
            environment.pop(name, None)
        process = subprocess.Popen(program.command, cwd=home, env=environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True,
                                   preexec_fn=limit_resources)
        started = passed = time.monotonic()
        output, rest, code, longest, failed, hung = [], b"", None, 0.0, False, False
        try:
            while not (failed and until_failure):
                left = min(started + seconds, passed + silence) - time.monotonic()
                if left <= 0:
                    hung = True
                    break
                if not select.select([process.stdout], [], [], left)[0]:
                    continue
                read = os.read(process.stdout.fileno(), 1 << 16)
                if not read:
                    try:
                        code = process.wait(left)
                    except subprocess.TimeoutExpired:
                        hung = True
                    break
                *lines, rest = (rest + read).split(b"\n")
                if len(output) < 20000:
                    output += lines
                failed = failed or any(line.startswith((b"FAIL!", b"XPASS")) for line in lines)
                if any(line.startswith(b"PASS") for line in lines):
                    longest = max(longest, time.monotonic() - passed)
                    passed = time.monotonic()
        finally:
            try:
                os.killpg(process.pid, signal.SIGKILL)  # what the program started and left as well
            except ProcessLookupError:
                pass
            code = process.wait() if code is None else code
            process.stdout.close()
    longest = max(longest, time.monotonic() - passed)
    text = b"\n".join([*output, rest]).decode(errors="replace")
    if hung:
        return "hung", text, longest
    if failed:
        return "failed", text, longest
    if code < 0:
        return "crashed", text, longest
    return ("passed" if code == 0 else "failed"), text, longest


def measure(program, size):
    """Runs a program with no mutant on, for its time and for what it reaches."""
    with tempfile.NamedTemporaryFile(prefix="reached-") as file:
        file.truncate(size)
        for attempt in range(3):
            start = time.monotonic()
            outcome, text, program.silence = run_program(program, 600, 600, {"TESSEL_MUTANTS_REACHED": file.name},
                                                         until_failure=False)
            program.seconds = time.monotonic() - start
            if outcome == "passed":
                break
        file.seek(0)
        program.reach = frozenset(match.start() for match in re.finditer(b"\x01", file.read()))
    return outcome, text


class Measured:
    """What was measured of programs that have not been built anew since."""

    def __init__(self):
        self.file = os.path.join(BUILD, "measured")
        self.entries = {}
        if os.path.exists(self.file):
            with open(self.file, "rb") as file:
                self.entries = pickle.load(file)

    def stamp(self, program):
        """When it was built, or a program beside it that it may start."""
        with os.scandir(os.path.dirname(program.command[0])) as beside:
            return max(entry.stat().st_mtime_ns for entry in beside
                       if entry.is_file() and os.access(entry.path, os.X_OK) and
                       (entry.path == program.command[0] or not entry.name.startswith("tst_")))

    def measure(self, program, size):
        stamp = self.stamp(program)
        entry = self.entries.get(str(program))
        if entry and entry[0] == stamp:
            program.seconds, program.silence, program.reach = entry[1:]
            return "passed", ""
        outcome, text = measure(program, size)
        if outcome == "passed":
            self.entries[str(program)] = (stamp, program.seconds, program.silence, program.reach)
        return outcome, text

    def store(self):
        with open(self.file, "wb") as file:
            pickle.dump(self.entries, file)


def stem(name):
    return os.path.splitext(os.path.basename(name))[0]


def order(mutant, module, available):
    """The tests that reach a mutant: those of programs that carry its source's name first, then the fast ones, and
    last those that take long."""
    subject = stem(mutant.path)
    named = TABLE.get(subject, [])

    def rank(program):
        test = program.name[len("tst_"):]
        if program.name in named or test == subject:
            return 0
        return 1 if test.startswith(subject) or subject.startswith(test) else 2

    reaching = [p for p in available if mutant.number in p.reach]
    # A library may be reached by the tests of what stands on it; the module's own have to be enough.
    ordered = sorted((p for p in reaching if p.module == module),
                     key=lambda p: (p.seconds > LONG, rank(p), p.seconds, str(p)))
    others = [p for p in ordered if rank(p) == 2]
    kept = set(others[:ENOUGH])
    return [p for p in ordered if rank(p) < 2 or p in kept]


def judge(mutant, module, available):
    """@return how the mutant ended, and by which program; or that it lives, and a remark."""
    reaching = order(mutant, module, available)
    for program in reaching:
        # So many times its clean run, for a machine that is busy meanwhile.
        outcome, _, _ = run_program(program, 6 + 6 * program.seconds, 6 + 6 * program.silence,
                                    {"TESSEL_MUTANT": str(mutant.number)})
        if outcome != "passed":
            return outcome, str(program)
    return "lives", "" if reaching else "no test reaches it"


# Choosing and telling

def choose(known, live, options):
    """The mutants to run, module by module; the same for the same sources and seed."""
    chosen = []
    for module, count in COUNTS.items():
        if options.module not in (None, module):
            continue
        count = options.count if options.count is not None else count
        files = {}
        for path, source in sorted(known.items()):
            if module_of(source.path) == module:
                if options.only and not any(stem(source.path) == stem(only) for only in options.only):
                    continue
                changes = [m for m in source.mutants if m.id in live[path]]
                # An order that a change elsewhere in the file leaves as it is.
                changes.sort(key=lambda m: key_of(options.seed, m.id))
                files[path] = changes
        total = sum(len(c) for c in files.values())
        if options.only or options.all or total <= count:
            for changes in files.values():
                if options.only and options.count is not None:
                    changes = changes[:options.count]
                chosen += changes
            continue
        cap = count if options.only else int(count * LARGEST_SHARE)
        shares, left, rest = {}, count, dict(files)
        while rest:
            total = sum(len(c) for c in rest.values())
            large = [p for p, c in rest.items() if total and left * len(c) / total > cap]
            if not large:
                break
            for path in large:
                shares[path] = min(cap, len(rest.pop(path)))
                left -= shares[path]
        total = sum(len(c) for c in rest.values())
        given = 0
        for path in sorted(rest):  # whole numbers that add up
            before = round(left * given / total)
            given += len(rest[path])
            shares[path] = round(left * given / total) - before
        for path in sorted(shares):
            chosen += files[path][:shares[path]]
    return chosen


def explained():
    """The reasons of known survivors, by their names."""
    reasons, current = {}, None
    if os.path.exists(SURVIVORS):
        with open(SURVIVORS, encoding="utf-8") as file:
            for line in file:
                if line.startswith("#") or not line.strip():
                    continue
                if line[0].isspace():
                    if current is None:
                        sys.exit(f"{SURVIVORS}: a reason without a mutant: {line.strip()}")
                    reasons[current] = (reasons[current] + " " + line.strip()).strip()
                else:
                    current = line.split()[0]
                    reasons[current] = ""
    return reasons


def tell(results, whole, everything, module):
    """Prints what lives. @return the exit code."""
    reasons, failed = explained(), False
    for mutant, outcome, remark in results:
        if outcome == "lives" and not reasons.get(mutant.id):
            failed = True
            print(f"SURVIVES, unexplained{', ' + remark if remark else ''}: {mutant}")
    for mutant, outcome, program in results:
        if mutant.id in reasons and outcome != "lives":
            print(f"explained, but no longer survives ({program}): {mutant}")
    existing = {m.id for m in everything}
    for name in reasons:
        if module is None and name not in existing:
            print(f"explained, but no longer there: {name}")
    for module in COUNTS:
        mine = [(m, o) for m, o, _ in results if module_of(m.path) == module]
        if not mine:
            continue
        counts = {}
        for _, outcome in mine:
            counts[outcome] = counts.get(outcome, 0) + 1
        lives = counts.get("lives", 0)
        named = sum(1 for m, o in mine if o == "lives" and reasons.get(m.id))
        details = ", ".join(f"{n} {o}" for o, n in sorted(counts.items()))
        print(f"{module}: {len(mine)} mutants, {lives} live ({100 * lives / len(mine):.1f} %), "
              f"{named} of them explained; {details}")
        if whole and lives > ALLOWED * len(mine):
            failed = True
            print(f"{module}: more than {100 * ALLOWED:.0f} % live")
    return 1 if failed else 0


def arguments():
    parser = argparse.ArgumentParser(prog="tests/mutation/run", description=__doc__.split("\n")[0])
    parser.add_argument("--seed", default="1", help="another choice of mutants (default: 1)")
    parser.add_argument("--count", type=int, help="so many of each module; with --only, of each file")
    parser.add_argument("--module", choices=sorted(COUNTS), help="of this module only")
    parser.add_argument("--all", action="store_true", help="every mutant there is")
    parser.add_argument("--only", action="append", metavar="FILE", help="of this source only; may be repeated")
    parser.add_argument("--mutant", action="append", metavar="ID", help="this one only; may be repeated")
    parser.add_argument("--survivors", action="store_true", help="those only that lived in the last run")
    parser.add_argument("--list", action="store_true", help="list the chosen mutants and run nothing")
    parser.add_argument("--show", action="store_true", help="show the chosen mutants as differences and run nothing")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="so many at once (default: processors)")
    parser.add_argument("--self-test", action="store_true", help="check this program on a sample")
    options = parser.parse_args()
    if options.jobs < 1 or (options.count is not None and options.count < 1):
        parser.error("--jobs and --count take a number above 0")
    return options


def main():
    options = arguments()
    if find.cindex is None:
        say("python3-clang is missing; tests/mutation/run installs it")
        return 77
    if options.self_test:
        import selftest
        return selftest.run()

    configure(options)
    learn_absent_keys()
    known = find_mutants(options.jobs, options.module)
    build = Build(known)
    everything = [m for source in known.values() for m in source.mutants]

    if options.list or options.show:
        build.write()
    else:
        available = [p for p in programs() if options.module in (None, p.module)]
        say(f"Building {len(everything)} mutants into {len(available)} test programs ...")
        build.run(options.jobs, [p.name for p in available])
    if options.mutant or options.survivors:
        wanted = set(options.mutant or [])
        if options.survivors:
            with open(os.path.join(BUILD, "survivors.json"), encoding="utf-8") as file:
                wanted |= set(json.load(file))
        chosen = [m for m in everything if m.id in wanted]
        for name in wanted - {m.id for m in chosen}:
            say(f"there is no mutant {name} (any more)")
    else:
        chosen = choose(known, build.live, options)
    if options.list or options.show:
        for mutant in chosen:
            print(mutant.diff(known[os.path.join(TREE, mutant.path)].text) if options.show else mutant)
        return 0

    modules = {module_of(m.path) for m in chosen}
    available = [p for p in available if p.module in modules]
    names = [p.name for p in available]
    available = [function for program in available for function in program.functions()]
    say(f"Running {len(available)} functions of {len(names)} test programs without a mutant ...")
    broken = False
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        size = max(m.number for m in everything) + 1
        measured = Measured()
        for program, (outcome, text) in zip(available, pool.map(lambda p: measured.measure(p, size), available)):
            if outcome != "passed":
                broken = True
                say(f"{program} {outcome} without a mutant:")
                say("\n".join(line for line in text.splitlines() if "FAIL!" in line or "Loc:" in line) or text[-2000:])
                program.reach = frozenset()
        measured.store()
        for name in names:
            if not any(p.reach for p in available if p.name == name):
                broken = True
                say(f"{name} reaches no mutant: are its variables kept from it?")
        say(f"Running {len(chosen)} mutants ...")
        results, started = [], time.monotonic()
        log = open(os.path.join(BUILD, "results.txt"), "w", encoding="utf-8")

        def one(mutant):
            return (mutant, *judge(mutant, module_of(mutant.path), available))

        for number, result in enumerate(pool.map(one, chosen), 1):
            results.append(result)
            log.write(f"{result[1]} ({result[2]}) {result[0]}\n")
            log.flush()
            if number % 50 == 0 or number == len(chosen):
                lives = sum(1 for r in results if r[1] == "lives")
                say(f"  {number} of {len(chosen)}, {lives} live, {time.monotonic() - started:.0f} s")
    if not options.mutant:
        with open(os.path.join(BUILD, "survivors.json"), "w", encoding="utf-8") as file:
            json.dump([m.id for m, outcome, _ in results if outcome == "lives"], file)
    whole = not (options.mutant or options.survivors or options.only)
    code = tell(results, whole, everything, options.module)
    return 1 if broken else code


if __name__ == "__main__":
    sys.exit(main())
