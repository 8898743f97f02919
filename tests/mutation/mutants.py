# SPDX-License-Identifier: MIT
"""Finds what can be changed in a source, and writes the source with all changes in it, each behind its number."""
import ctypes
import difflib
import hashlib
import os
import re
import sys

sys.path.append("/usr/lib/python3/dist-packages")  # where Debian keeps python3-clang, whichever Python runs
try:
    from clang import cindex
    from clang.cindex import CursorKind as Kind
except ImportError:
    cindex = None


class Mutant:
    """One change: what stands at [start, end) becomes `replacement`. `prefix`, `middle` (at `at`) and `suffix` go
    around the text to choose between both at run time."""

    def __init__(self, kind, start, end, replacement, prefix, suffix="", at=None, middle=""):
        self.kind, self.start, self.end, self.replacement = kind, start, end, replacement
        self.prefix, self.suffix, self.at, self.middle = prefix, suffix, at, middle
        self.path = self.function = self.original = self.id = None
        self.line = self.number = 0

    def __str__(self):
        text = f"{one_line(self.original)} -> {one_line(self.replacement) or 'nothing'}"
        return f"{self.id} {self.path}:{self.line} {self.function}: {self.kind}: {text}"

    def diff(self, text):
        changed = text[:self.start] + self.replacement + text[self.end:]
        return "".join(difflib.unified_diff(text.splitlines(True), changed.splitlines(True),
                                            "a/" + self.path, "b/" + self.path))


def one_line(text, length=100):
    text = " ".join(text.split())
    return text if len(text) <= length else text[:length - 4] + " ..."


def mask(text):
    """The text with comments and the content of strings blanked, at the same offsets."""
    def blank(match):
        found = match.group(0)
        if found[0] in "\"'":
            return found[0] + " " * (len(found) - 2) + found[0]
        return re.sub(r"[^\n]", " ", found)
    return re.sub(r'//[^\n]*|/\*.*?\*/|"(?:[^"\\\n]|\\.)*"|(?<![0-9A-Fa-f])\'(?:[^\'\\\n]|\\.)+\'', blank, text,
                  flags=re.S)


def closing(masked, position):
    """The offset of the bracket that closes the one at `position`."""
    depth = 0
    for offset in range(position, len(masked)):
        if masked[offset] in "([{":
            depth += 1
        elif masked[offset] in ")]}":
            depth -= 1
            if depth == 0:
                return offset
    return -1


def balanced(text):
    depth = 0
    for character in mask(text):
        if character in "([{":
            depth += 1
        elif character in ")]}":
            depth -= 1
            if depth < 0:
                return False
    return depth == 0


FLIPS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&"}
BUILT_IN_FLIPS = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&"}

# Left alone: what the compiler alone reads, what a debug build alone runs, what is for speed alone, what does nothing here
# (the end of a list of arguments), what the sanitizers tell and no test reliably does (locks, releases), and debug lines.
NOT_COUNTED = re.compile(r"Q_UNUSED|Q_ASSERT|static_assert|assert\b|\(void\)|"
                         r"curl_easy_cleanup\b|va_end\b|"
                         r".*(\.|->)(reserve|shrink_to_fit|squeeze|setLoadHints)\([^;]*\)$", re.S)
# How much room there is for more, which is for speed alone, and whether a moment is over or just now: nobody can choose
# the moment.
ROOM = re.compile(r"(\.|->)capacity\(\)")
MOMENT = re.compile(r"[cC]lock::now\(\)")
# How much is read, sent or handled at once, and how much room is taken or kept, of which a test sees nothing.
PIECES = re.compile(r"(bytesPerTurn|eventsPerRound|bufferBytes|chunkBytes|fileBlock|longestPoll|maxReserve|padding|"
                    r"headroom|numberLength|longestUnit|initial(Slots|Capacity)|retained(Capacity|Entries|Members))$")
DEBUG_LINE = re.compile(r"\b(qDebug|qCDebug)\b")


def next_letter(character):
    if character.isdigit():
        return str((int(character) + 1) % 10)
    return {"z": "a", "Z": "A"}.get(character, chr(ord(character) + 1))


# Names that a table lacks, whose spelling so makes no difference, and one that it holds.
ABSENT, PRESENT = set(), None


def other_literal(text):
    """Another literal of the same type, a string of the same length; None when there is none."""
    if text in ABSENT and PRESENT:
        return PRESENT
    if text in ("true", "false"):
        return "false" if text == "true" else "true"
    if text == "1L":
        return "0L"  # a switch of libcurl's, which any number but 0 turns on
    match = re.fullmatch(r"(\d+)([uUlL]*|[a-z]+)", text)
    if match:
        digits = match.group(1)
        if digits.startswith("0") and len(digits) > 1:
            return "1"
        return str(int(digits) + 1) + match.group(2)
    if re.fullmatch(r"0[xX][0-9a-fA-F']+[uUlL]*|[\d']+[uUlL]*|[\d.]+([eE][-+]?\d+)?[fF]?", text):
        return f"({text} + 1)"
    if re.fullmatch(r"'[A-Za-z0-9]'", text):
        return f"'{next_letter(text[1])}'"
    if re.fullmatch(r"'(\\.+|[^\\])'", text):
        return "'Z'"
    match = re.fullmatch(r'((?:QStringLiteral\()?")([^"\\]*)(.*"\)?)', text, re.S)
    if match:
        letters = [i for i, c in enumerate(match.group(2))
                   if c.isascii() and c.isalnum() and (i == 0 or match.group(2)[i - 1] != "%")]
        if letters:
            body = list(match.group(2))
            place = letters[len(letters) // 2]
            body[place] = next_letter(body[place])
            return match.group(1) + "".join(body) + match.group(3)
    return None


class Scope:
    def __init__(self, name, result="", in_lambda=False):
        self.name, self.result, self.in_lambda = name, result, in_lambda


class Source:
    """What can be changed in one file."""

    def __init__(self, path, text):
        self.path, self.text, self.masked = path, text, mask(text)
        self.mutants, self.relaxed, self.bodies = [], [], []

    def add(self, scope, mutant):
        if mutant.start >= mutant.end or not balanced(self.text[mutant.start:mutant.end]):
            return
        mutant.path, mutant.function = self.path, scope.name
        mutant.original = self.text[mutant.start:mutant.end]
        mutant.line = self.text.count("\n", 0, mutant.start) + 1
        if one_line(mutant.original, 9999) != one_line(mutant.replacement, 9999):
            self.mutants.append(mutant)

    def choice(self, scope, kind, start, end, replacement):
        self.add(scope, Mutant(kind, start, end, replacement, f"(mutation::on(@) ? ({replacement}) : (", "))"))

    def prefixed(self, scope, kind, start, end, replacement, statement):
        self.add(scope, Mutant(kind, start, end, replacement, f"if (mutation::on(@)) {statement} else "))

    def finish(self):
        """Leaves out what overlaps or stands twice, and names each change."""
        unique = {}
        for mutant in self.mutants:
            unique.setdefault((mutant.start, mutant.end, mutant.replacement), mutant)
        rank = {"drop": 0, "return": 0}
        ordered = sorted(unique.values(), key=lambda m: (m.start, -m.end, rank.get(m.kind, 1), m.kind))
        self.mutants, open_ends, seen = [], [], {}
        for mutant in ordered:
            while open_ends and open_ends[-1] <= mutant.start:
                open_ends.pop()
            if open_ends and mutant.end > open_ends[-1]:
                continue
            open_ends.append(mutant.end)
            # The name outlives a move of the file and of the line.
            name = "|".join([os.path.basename(self.path), mutant.function, mutant.kind,
                             one_line(mutant.original, 9999), one_line(mutant.replacement, 9999)])
            seen[name] = seen.get(name, 0) + 1
            mutant.id = hashlib.sha1(f"{name}|{seen[name]}".encode()).hexdigest()[:8]
            self.mutants.append(mutant)

    def schema(self, dropped, stiff):
        """The text with all mutants but those in `dropped`, with the offsets that each takes there. Constants whose
        offset is in `stiff` stay constant expressions."""
        live = [m for m in self.mutants if m.id not in dropped]
        edits = []
        for start, end, replacement, body in self.relaxed:
            if start not in stiff and any(body[0] <= m.start and m.end <= body[1] for m in live):
                edits.append((start, end, replacement))
            else:
                live = [m for m in live if not (body[0] <= m.start and m.end <= body[1])]
        opening, closings, middles, replaced = {}, {}, {}, {s: (e, r) for s, e, r in edits}
        for mutant in live:  # outer ones first
            opening.setdefault(mutant.start, []).append(mutant)
            closings.setdefault(mutant.end, []).insert(0, mutant)
            if mutant.at is not None:
                middles.setdefault(mutant.at, []).append(mutant)
        out, length, spans = [], 0, {}

        def emit(piece):
            nonlocal length
            out.append(piece)
            length += len(piece)

        position = 0
        places = sorted(set(opening) | set(closings) | set(middles) | set(replaced) | {len(self.text)})
        for place in places:
            emit(self.text[position:place])
            position = place
            for mutant in closings.get(place, []):
                emit(mutant.suffix.replace("@", str(mutant.number)))
                spans[mutant.id] = (spans[mutant.id][0], length)
            for mutant in middles.get(place, []):
                emit(mutant.middle.replace("@", str(mutant.number)))
            for mutant in opening.get(place, []):
                spans[mutant.id] = (length, length)
                emit(mutant.prefix.replace("@", str(mutant.number)))
            if place in replaced:
                position, replacement = replaced[place]
                emit(replacement)
        return "".join(out), spans, {m.id for m in live}


class Finder:
    """Walks a translation unit and finds the changes in the files it is asked for."""

    def __init__(self, sources):
        self.sources = sources  # by absolute path
        self.lib = cindex.conf.lib
        self.get_location = self.lib.clang_getFileLocation
        self.get_location.argtypes = [cindex.SourceLocation, ctypes.POINTER(ctypes.c_void_p),
                                      ctypes.POINTER(ctypes.c_uint), ctypes.POINTER(ctypes.c_uint),
                                      ctypes.POINTER(ctypes.c_uint)]
        self.get_location.restype = None

    def parse(self, path, arguments):
        unit = cindex.Index.create().parse(path, args=arguments)
        fatal = [str(d) for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
        if fatal:
            raise RuntimeError(f"{path} does not parse: {fatal[0]}")
        self.walk_declarations(unit.cursor, "")

    def offset(self, location):
        # Where a macro's argument was written, not where the macro stands.
        file, line, column, offset = ctypes.c_void_p(), ctypes.c_uint(), ctypes.c_uint(), ctypes.c_uint()
        self.get_location(location, ctypes.byref(file), ctypes.byref(line), ctypes.byref(column),
                          ctypes.byref(offset))
        return offset.value

    def range(self, cursor):
        extent = cursor.extent
        start, end = self.offset(extent.start), self.offset(extent.end)
        # Offsets count bytes.
        return self.source.at(start), self.source.at(end)

    def children(self, cursor):
        return list(cursor.get_children())

    def peel(self, cursor):
        while cursor.kind == Kind.UNEXPOSED_EXPR:
            inner = self.children(cursor)
            if len(inner) != 1:
                break
            cursor = inner[0]
        return cursor

    # Declarations

    def walk_declarations(self, parent, prefix):
        for cursor in parent.get_children():
            file = cursor.location.file
            source = self.sources.get(os.path.abspath(file.name)) if file else None
            if source is None:
                continue
            self.source = source
            kind = cursor.kind
            if kind in (Kind.NAMESPACE, Kind.UNEXPOSED_DECL, Kind.LINKAGE_SPEC):
                self.walk_declarations(cursor, prefix)
            elif kind in (Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE,
                          Kind.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION):
                self.walk_declarations(cursor, prefix + cursor.spelling + "::")
            elif kind in (Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR,
                          Kind.FUNCTION_TEMPLATE, Kind.CONVERSION_FUNCTION):
                self.walk_function(cursor, prefix)
            elif kind == Kind.VAR_DECL or kind == Kind.FIELD_DECL and not self.is_blank(cursor):
                self.walk_variable(cursor, Scope(prefix + cursor.spelling))

    def owner(self, cursor, prefix):
        parent = cursor.semantic_parent
        if not prefix and parent is not None and parent.kind in (Kind.CLASS_DECL, Kind.STRUCT_DECL,
                                                                 Kind.CLASS_TEMPLATE):
            return self.owner(parent, "") + parent.spelling + "::"
        return prefix

    def walk_function(self, cursor, prefix):
        start, end = self.range(cursor)
        if re.match(r"(?s)(template\s*<.*?>\s*)?([\w\s]*\s)?constexpr\b", self.source.masked[start:end]):
            return
        name = self.owner(cursor, prefix) + cursor.spelling
        if name == "KeyTable::hash":
            return  # any number does
        scope = Scope(name, cursor.result_type.get_canonical().spelling)
        for child in self.children(cursor):
            if child.kind == Kind.COMPOUND_STMT:
                body = self.range(child)
                if self.source.text[body[0]:body[0] + 1] != "{" or body in self.source.bodies:
                    continue
                self.source.bodies.append(body)
                self.walk(child, scope)
                self.walk_string_macros(scope, body)
            elif cursor.kind == Kind.CONSTRUCTOR and child.kind.is_expression():
                self.walk(child, scope)

    def is_blank(self, cursor):
        """Whether a member starts as nothing, which is as good as a declaration."""
        start, end = self.range(cursor)
        return re.search(r"(=\s*|\{)(0|-1|false|nullptr)?\}?$", self.source.masked[start:end]) is not None

    def walk_variable(self, cursor, scope):
        if PIECES.match(cursor.spelling):
            return
        start, end = self.range(cursor)
        head = re.match(r"(?:\s|inline\b|static\b)*constexpr\b", self.source.masked[start:end])
        if head:
            keyword = start + head.end() - len("constexpr")
            rest = self.source.masked[keyword + len("constexpr"):end]
            word = "" if re.match(r"\s*const\b", rest) else "const"
            if "static" in head.group(0) and scope.name.count("::"):
                word = "inline " + word
            self.source.relaxed.append((keyword, keyword + len("constexpr"), word, (start, end)))
        for child in self.children(cursor):
            if child.kind.is_expression():
                self.walk(child, scope)
        if not head:
            self.walk_string_macros(scope, (start, end))

    def walk_string_macros(self, scope, body):
        """A string in a macro that builds it has no place in the tree of its own."""
        source = self.source
        for match in re.finditer(r'QStringLiteral\("(?:[^"\\\n]|\\.)*"\)', source.text[body[0]:body[1]]):
            start, end = body[0] + match.start(), body[0] + match.end()
            if source.masked[start] == "Q" and not self.in_debug_line(start):
                replacement = other_literal(match.group(0))
                if replacement:
                    source.choice(scope, "literal", start, end, replacement)

    def in_debug_line(self, position):
        start = max(self.source.masked.rfind(c, 0, position) for c in ";{}") + 1
        return DEBUG_LINE.search(self.source.masked[start:position]) is not None

    # Statements and expressions

    def walk(self, cursor, scope):
        kind = cursor.kind
        if kind in (Kind.TYPE_REF, Kind.TEMPLATE_REF, Kind.NAMESPACE_REF, Kind.SIZE_OF_PACK_EXPR,
                    Kind.CXX_UNARY_EXPR, Kind.STATIC_ASSERT, Kind.PARM_DECL):
            return
        handler = {
            Kind.COMPOUND_STMT: self.compound, Kind.IF_STMT: self.if_statement,
            Kind.FOR_STMT: self.loop, Kind.WHILE_STMT: self.loop, Kind.DO_STMT: self.plain,
            Kind.CXX_FOR_RANGE_STMT: self.loop, Kind.CASE_STMT: self.case, Kind.DEFAULT_STMT: self.case,
            Kind.SWITCH_STMT: self.switch, Kind.RETURN_STMT: self.return_statement,
            Kind.CALL_EXPR: self.call, Kind.LAMBDA_EXPR: self.lambda_,
            Kind.BINARY_OPERATOR: self.binary, Kind.UNARY_OPERATOR: self.unary,
            Kind.CONDITIONAL_OPERATOR: self.conditional, Kind.VAR_DECL: self.local,
            Kind.INTEGER_LITERAL: self.literal, Kind.FLOATING_LITERAL: self.literal,
            Kind.STRING_LITERAL: self.literal, Kind.CHARACTER_LITERAL: self.literal,
            Kind.CXX_BOOL_LITERAL_EXPR: self.literal,
        }.get(kind, self.plain)
        handler(cursor, scope)

    def plain(self, cursor, scope):
        for child in self.children(cursor):
            self.walk(child, scope)

    def local(self, cursor, scope):
        self.walk_variable(cursor, Scope(scope.name, scope.result, scope.in_lambda))

    def compound(self, cursor, scope):
        for child in self.children(cursor):
            self.statement(child, scope)

    def statement(self, cursor, scope):
        """Whatever stands on its own and can be left out."""
        start, end = self.range(cursor)
        text = self.source.text[start:end]
        inner = self.peel(cursor)
        if NOT_COUNTED.match(text):
            return
        droppable = (Kind.CALL_EXPR, Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR,
                     Kind.UNARY_OPERATOR, Kind.CXX_DELETE_EXPR, Kind.FOR_STMT, Kind.WHILE_STMT,
                     Kind.CXX_FOR_RANGE_STMT, Kind.BREAK_STMT, Kind.CONTINUE_STMT)
        if (inner.kind in droppable or cursor.kind == Kind.UNEXPOSED_EXPR) and text:
            # `if (on) {} else statement`: needs no look behind the statement's end.
            self.source.prefixed(scope, "drop", start, end, "" if text.endswith("}") else "(void)0", "{}")
        self.walk(cursor, scope)

    def header(self, start):
        """The bracket after `if`, `for` or `while`, and the one that closes it."""
        opening = self.source.masked.find("(", start)
        return opening, closing(self.source.masked, opening)

    def if_statement(self, cursor, scope):
        start, _ = self.range(cursor)
        opening, end = self.header(start)
        constant = "constexpr" in self.source.masked[start:opening] or \
            ROOM.search(self.source.masked[opening:end]) is not None
        declares = False
        for child in self.children(cursor):
            if self.range(child)[0] > end:
                self.statement(child, scope)
            elif child.kind in (Kind.DECL_STMT, Kind.VAR_DECL):
                declares = True
                self.walk(child, scope)
            elif not constant:
                if child.kind.is_expression() and not declares:
                    self.negate(child, scope)
                self.walk(child, scope)

    def negate(self, cursor, scope):
        start, end = self.range(cursor)
        text = self.source.text[start:end]
        inner = self.peel(cursor)
        if inner.kind == Kind.CXX_BOOL_LITERAL_EXPR or self.operator(inner) in ("==", "!="):
            return  # flipped anyway
        if text.startswith("!") and inner.kind in (Kind.UNARY_OPERATOR, Kind.CALL_EXPR) and \
                not self.operator(inner):
            replacement = text[1:].strip()
        else:
            replacement = f"!({text})"
        self.source.add(scope, Mutant("negate", start, end, replacement, "(mutation::on(@) != bool(", "))"))

    def loop(self, cursor, scope):
        start, _ = self.range(cursor)
        _, end = self.header(start)
        for child in self.children(cursor):
            if self.range(child)[0] > end:
                self.statement(child, scope)
            else:
                self.walk(child, scope)

    def switch(self, cursor, scope):
        for child in self.children(cursor):
            if child.kind == Kind.COMPOUND_STMT:
                inside = self.children(child)
                for position, statement in enumerate(inside):
                    if position + 1 < len(inside) or statement.kind != Kind.BREAK_STMT:  # the last one does nothing
                        self.statement(statement, scope)
            else:
                self.walk(child, scope)

    def case(self, cursor, scope):
        children = self.children(cursor)
        if children:
            self.statement(children[-1], scope)

    def return_statement(self, cursor, scope):
        source = self.source
        start, end = self.range(cursor)
        children = self.children(cursor)
        if not children:
            source.prefixed(scope, "drop", start, end, "(void)0", "{}")
            return
        value = children[0]
        first, last = self.range(value)
        text = source.text[first:last]
        inner = self.peel(value)
        result = scope.result if not scope.in_lambda else value.type.get_canonical().spelling
        if result == "bool":
            if not re.match(r"\{", text):
                self.negate(value, scope)
        elif result in ("void", "") or "<dependent" in result:
            pass
        elif not result.rstrip().endswith("&") and not re.fullmatch(
                r"[\w:]*(<.*>)?(\(\)|\{\})|nullptr|std::nullopt|0|\"\"", text, re.S) and \
                inner.kind != Kind.LAMBDA_EXPR and not self.is_zero(inner):
            if not scope.in_lambda:
                source.prefixed(scope, "return", start, end, "return {}", "return {};")
            elif "[" not in source.masked[first:last]:
                source.prefixed(scope, "return", start, end, "return {}",
                                f"return std::decay_t<decltype({text})>{{}};")
        self.walk(value, scope)

    def is_zero(self, cursor):
        """Whether this is the enumerator that `{}` stands for."""
        declared = cursor.referenced if cursor.kind in (Kind.DECL_REF_EXPR, Kind.MEMBER_REF_EXPR) else None
        return declared is not None and declared.kind == Kind.ENUM_CONSTANT_DECL and declared.enum_value == 0

    def lambda_(self, cursor, scope):
        if self.source.text[self.range(cursor)[0]] != "[":
            return  # a macro's
        inside = Scope(scope.name, "", True)
        for child in self.children(cursor):
            if child.kind == Kind.COMPOUND_STMT:
                self.walk(child, inside)
            elif child.kind.is_expression() and child.kind != Kind.DECL_REF_EXPR and \
                    child.kind != Kind.VARIABLE_REF:
                self.walk(child, scope)

    def call(self, cursor, scope):
        source = self.source
        start, end = self.range(cursor)
        text = source.text[start:end]
        children = self.children(cursor)
        if self.operator(cursor):
            self.flip(cursor, scope)
        elif text.startswith("!") and cursor.spelling == "operator!":
            self.negate(cursor, scope)
        elif text.endswith(")") and source.masked[start:end].count("("):
            self.link(cursor, scope, start, end, children)
            self.swap(cursor, scope, start, end)
        if re.match(r"(Q_ASSERT|Q_UNUSED)", text):
            return
        for child in children:
            self.walk(child, scope)

    def link(self, cursor, scope, start, end, children):
        """`object.call(...)` without the call, where what is left has the same type."""
        source = self.source
        if not children:
            return
        member = self.peel(children[0])
        if member.kind != Kind.MEMBER_REF_EXPR:
            return
        bases = self.children(member)
        if not bases or not bases[0].kind.is_expression():
            return
        base = bases[0]
        first, last = self.range(base)
        rest = source.masked[last:end]
        if first != start or not re.match(r"\s*\.\s*(template\s+)?\w+\s*(<[^()]*>)?\(", rest):
            return
        if closing(source.masked, last + rest.index("(")) != end - 1:
            return
        result = cursor.type.get_canonical().spelling
        plain = re.sub(r"^const |\s*&+$", "", result)
        of_base = re.sub(r"^const |\s*&+$", "", self.peel(base).type.get_canonical().spelling)
        referenced = cursor.referenced
        returns = referenced.result_type.get_canonical().spelling if referenced is not None else ""
        if plain != of_base or "dependent" in plain or not plain:
            return
        text = source.text[first:last]
        if returns.rstrip().endswith("&") and not returns.startswith("const "):
            call = source.text[last:end]
            source.add(scope, Mutant("link", start, end, text, "mutation::link(@, ", "; })", last,
                                     ", [&](auto& chain) { chain"))
        elif not returns.rstrip().endswith("&"):
            source.choice(scope, "link", start, end, text)

    def swap(self, cursor, scope, start, end):
        source = self.source
        if cursor.spelling in ("min", "max", "clamp", "qstrnicmp", "isNamed"):
            return  # the same either way, or compared with 0
        arguments = [a for a in cursor.get_arguments() if a is not None]
        ranges = [self.range(a) for a in arguments]
        types = [re.sub(r"^const |\s*&+$", "", a.type.get_canonical().spelling) for a in arguments]
        for (a, b), (c, d), (first, second) in zip(ranges, ranges[1:], zip(types, types[1:])):
            if start < a < b < c < d < end and first == second and source.text[a:b] != source.text[c:d] and \
                    re.fullmatch(r"\s*,\s*", source.masked[b:c]):
                text = source.text
                source.choice(scope, "swap", start, end,
                              text[start:a] + text[c:d] + text[b:c] + text[a:b] + text[d:end])
                return

    def operator(self, cursor):
        """What stands between the two operands of an expression, if anything does."""
        if cursor.kind not in (Kind.BINARY_OPERATOR, Kind.CALL_EXPR):
            return None
        children = [c for c in self.children(cursor) if c.kind.is_expression()]
        if len(children) < 2:
            return None
        left, right = self.range(children[0]), self.range(children[-1])
        start, end = self.range(cursor)
        if left[0] != start or right[1] != end or left[1] > right[0]:
            return None
        between = self.source.masked[left[1]:right[0]].strip()
        return between if between in FLIPS or between in BUILT_IN_FLIPS else None

    def binary(self, cursor, scope):
        self.flip(cursor, scope)
        self.plain(cursor, scope)

    def flip(self, cursor, scope):
        operator = self.operator(cursor)
        other = FLIPS.get(operator) or (
            BUILT_IN_FLIPS.get(operator) if cursor.kind == Kind.BINARY_OPERATOR else None)
        if not other:
            return
        children = [c for c in self.children(cursor) if c.kind.is_expression()]
        left, right = self.range(children[0]), self.range(children[-1])
        between = self.source.text[left[1]:right[0]]
        text = self.source.text
        if operator in ("<", "<=", ">", ">=") and MOMENT.search(text[left[0]:right[1]]):
            return
        if operator in between:
            self.source.choice(scope, "operator", left[0], right[1],
                               text[left[0]:left[1]] + between.replace(operator, other) + text[right[0]:right[1]])

    def unary(self, cursor, scope):
        start, end = self.range(cursor)
        text = self.source.text[start:end]
        if text == "-1":  # "none", as any other number below 0 would be
            self.source.choice(scope, "literal", start, end, "0")
            return
        if text.startswith("!"):
            self.negate(cursor, scope)
        for operator, other in (("++", "--"), ("--", "++")):
            if text.startswith(operator):
                self.source.choice(scope, "operator", start, end, other + text[2:])
            elif text.endswith(operator):
                self.source.choice(scope, "operator", start, end, text[:-2] + other)
        self.plain(cursor, scope)

    def conditional(self, cursor, scope):
        children = self.children(cursor)
        if children:
            self.negate(children[0], scope)
        self.plain(cursor, scope)

    def literal(self, cursor, scope):
        start, end = self.range(cursor)
        text = self.source.text[start:end]
        if cursor.kind == Kind.STRING_LITERAL and self.in_debug_line(start):
            return
        replacement = other_literal(text)
        if replacement:
            if text.startswith('"'):
                # Both have the same length, so that the choice is an array as the literal was.
                self.source.add(scope, Mutant("literal", start, end, replacement,
                                              f"(mutation::on(@) ? {replacement} : ", ")"))
            else:
                self.source.choice(scope, "literal", start, end, replacement)


def read(path, shown):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    source = Source(shown, text)
    if text.isascii():
        source.at = lambda offset: offset
    else:
        data = text.encode()
        source.at = lambda offset: len(data[:offset].decode(errors="ignore"))
    return source
