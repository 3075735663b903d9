"""All small faults that a source file of the library could have.

A fault is a dictionary: `file`, `line`, `column`, `source` (the whole line), `kind`, `original` and `mutated` for people, and
`replacement`, which stands in the place of the bytes from `begin` to `end`, with @ for its number. Only expressions and statements in bodies of functions can
be chosen while the program runs; constants that have a name are changed where they are used.
"""
import pathlib
import re
import subprocess

from clang import cindex
from clang.cindex import CursorKind, TypeKind

repository = pathlib.Path(__file__).resolve().parent.parent.parent.parent

COMPARISONS = {"<": ["<=", ">"], "<=": ["<", ">="], ">": [">=", "<"], ">=": [">", "<="], "==": ["!="], "!=": ["=="]}
SUMS = {"+": "-", "-": "+"}
PRODUCTS = {"*": "/", "/": "*"}
LOGIC = {"&&": "||", "||": "&&"}
ASSIGNMENTS = {"+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|="}
SIBLINGS = {"min": "max", "max": "min", "sin": "cos", "cos": "sin", "floor": "ceil", "ceil": "floor"}
# Of these the order of the arguments does not matter.
SYMMETRIC = {"min", "max", "hypot", "swap", "fmin", "fmax"}

ARITHMETIC = {TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.UCHAR, TypeKind.SHORT, TypeKind.USHORT, TypeKind.INT, TypeKind.UINT,
              TypeKind.LONG, TypeKind.ULONG, TypeKind.LONGLONG, TypeKind.ULONGLONG, TypeKind.FLOAT, TypeKind.DOUBLE}


class Places:
    """All faults that one source file could have."""

    def __init__(self, path, kernels):
        self.path = path
        self.text = path.read_bytes()
        self.found = {}
        unit = parse(path, kernels)
        self.macros = [(cursor.extent.start.offset, cursor.extent.end.offset) for cursor in unit.cursor.get_children()
                       if cursor.kind == CursorKind.MACRO_INSTANTIATION and self.is_ours(cursor)]
        for cursor in unit.cursor.get_children():
            if self.is_ours(cursor):
                self.declarations(cursor)

    def is_ours(self, cursor):
        return cursor.location.file is not None and cursor.location.file.name == str(self.path)

    def declarations(self, cursor):
        """Only what stands in bodies of functions can be chosen at run time."""
        functions = (CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
                     CursorKind.CONVERSION_FUNCTION, CursorKind.FUNCTION_TEMPLATE)
        if cursor.kind in functions:
            if cursor.is_definition() and b"constexpr" not in self.source(cursor).split(b"{")[0]:
                for child in cursor.get_children():
                    if child.kind.is_statement() or child.kind.is_expression():
                        self.walk(child, cursor)
        elif cursor.kind in (CursorKind.NAMESPACE, CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL,
                             CursorKind.CLASS_TEMPLATE, CursorKind.LINKAGE_SPEC, CursorKind.UNEXPOSED_DECL):
            for child in cursor.get_children():
                self.declarations(child)

    def span(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def source(self, cursor):
        begin, end = self.span(cursor)
        return self.text[begin:end]

    def in_macro(self, *spans):
        return any(first <= begin and end <= last for begin, end in spans for first, last in self.macros)

    def add(self, kind, cursor, mutated, replacement=None):
        """`replacement` has @ for the number of the fault; without one it is made of `mutated`."""
        begin, end = self.span(cursor)
        original = self.text[begin:end].decode()
        if not original or self.in_macro((begin, end)) or mutated == original:
            return
        replacement = replacement or f"(qv_fault == @ ? ({mutated}) : ({original}))"
        start = self.text.rfind(b"\n", 0, begin) + 1
        self.found[(begin, end, kind, mutated)] = dict(
            file=str(self.path.relative_to(repository)), line=self.text.count(b"\n", 0, begin) + 1, column=begin - start + 1,
            source=self.text[start:].split(b"\n")[0].decode().strip(), kind=kind, begin=begin, end=end,
            original=squeezed(original), mutated=squeezed(mutated), replacement=replacement)

    def walk(self, cursor, parent):
        kind = cursor.kind
        if kind == CursorKind.VAR_DECL and re.match(rb"\s*(static|constexpr)\b", self.source(cursor)):
            return
        children = list(cursor.get_children())
        if kind == CursorKind.CASE_STMT:
            children = children[1:]
        elif kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR) and len(children) == 2:
            self.operator(cursor, children[0], children[1])
        elif kind == CursorKind.CALL_EXPR:
            self.call(cursor, children)
        elif kind == CursorKind.UNARY_OPERATOR and len(children) == 1 and self.source(cursor).startswith(b"!"):
            self.add("drop a !", cursor, f"static_cast<bool>({self.source(children[0]).decode()})")
        elif kind in (CursorKind.INTEGER_LITERAL, CursorKind.FLOATING_LITERAL):
            self.literal(cursor)
        elif kind == CursorKind.DECL_REF_EXPR:
            self.named_constant(cursor)
        self.statement(cursor, parent)
        for child in children:
            self.walk(child, cursor)

    def operator(self, cursor, left, right):
        (_, left_end), (right_begin, _) = self.span(left), self.span(right)
        if left_end > right_begin or self.in_macro(self.span(left)) and self.in_macro(self.span(right)):
            return
        sign = re.sub(rb"/\*.*?\*/|//[^\n]*", b"", self.text[left_end:right_begin], flags=re.S).strip().decode()
        one, other = self.source(left).decode(), self.source(right).decode()
        for flipped in COMPARISONS.get(sign, []):
            self.add("comparison", cursor, f"{one} {flipped} {other}")
        if sign in LOGIC:
            self.add("and, or", cursor, f"{one} {LOGIC[sign]} {other}",
                     f"(qv_fault == @ ? (({one}) {LOGIC[sign]} ({other})) : ({one} {sign} {other}))")
        if sign in ASSIGNMENTS:
            self.add("sum" if sign[0] in "+-" else "product", cursor, f"{one} {ASSIGNMENTS[sign]} {other}")
        for signs, change, drop in (SUMS, "sum", "drop a term"), (PRODUCTS, "product", "drop a factor"):
            if sign in signs:
                self.add(change, cursor, f"{one} {signs[sign]} {other}")
                self.keep(drop, cursor, left)
                if sign in "+*":
                    self.keep(drop, cursor, right)

    def keep(self, kind, cursor, rest):
        """Of a sum or product only the rest stays."""
        whole, left = cursor.type.get_canonical(), rest.type.get_canonical()
        text = self.source(rest).decode()
        if whole.kind in ARITHMETIC:
            self.add(kind, cursor, f"static_cast<{whole.spelling}>({text})")
        elif whole.kind != TypeKind.VECTOR or left.kind == TypeKind.VECTOR:
            self.add(kind, cursor, text)

    def call(self, cursor, children):
        callee = cursor.referenced
        name = cursor.spelling
        if name.startswith("operator") and len(children) == 3:
            # An operator of a class: its left side, its name, its right side.
            self.operator(cursor, children[0], children[2])
            return
        text = self.source(cursor).decode()
        if name in SIBLINGS and children:
            begin, end = self.span(children[0])
            start = self.span(cursor)[0]
            if begin == start:
                head = re.sub(rf"\b{name}\b", SIBLINGS[name], text[:end - start])
                self.add("min, max, sin, cos", cursor, head + text[end - start:])
        if callee is None or name in SYMMETRIC or name.startswith("operator"):
            return
        if callee.kind == CursorKind.CONSTRUCTOR and not re.match(rf"(\w+::)*{re.escape(name)}\s*[({{]", text):
            return
        arguments = [argument for argument in cursor.get_arguments() if argument is not None]
        for one, other in zip(arguments, arguments[1:]):
            self.swap(cursor, one, other)

    def swap(self, cursor, one, other):
        (begin, end), (first, last) = self.span(one), self.span(other)
        same = one.type.get_canonical().spelling.replace("const ", "") == other.type.get_canonical().spelling.replace(
            "const ", "")
        if not (begin < end <= first < last) or not same or self.in_macro((begin, end)) or self.in_macro((first, last)):
            return
        start, stop = self.span(cursor)
        if begin < start or last > stop:
            return
        text = self.text
        swapped = text[start:begin] + text[first:last] + text[end:first] + text[begin:end] + text[last:stop]
        self.add("swapped arguments", cursor, swapped.decode())

    def literal(self, cursor):
        text = self.source(cursor).decode()
        whole = re.fullmatch(r"(0[xX][0-9a-fA-F']+|[0-9']+)([uUlL]*)", text)
        broken = re.fullmatch(r"([0-9']*\.?[0-9']*(?:[eE][+-]?\d+)?)([fFlL]?)", text)
        if whole:
            digits = whole[1].replace("'", "")
            self.add("constant", cursor, f"{int(digits, 0) + 1}{whole[2]}")
            tenth = int(digits, 0) // 10
            if tenth > 1:
                self.add("constant", cursor, f"{int(digits, 0) + tenth}{whole[2]}")
        elif broken and broken[1]:
            value = float(broken[1].replace("'", ""))
            self.add("constant", cursor, f"{value + 1!r}{broken[2]}")
            if value != 0:
                self.add("constant", cursor, f"{value * 1.1!r}{broken[2]}")

    def named_constant(self, cursor):
        """A constant that has a name is changed where it is used."""
        variable = cursor.referenced
        if variable is None or variable.kind != CursorKind.VAR_DECL or not re.match(r"k[A-Z]", variable.spelling):
            return
        kind = variable.type.get_canonical()
        plain = re.sub(r"\bconst\b\s*", "", kind.spelling)
        text = self.source(cursor).decode()
        if kind.kind not in ARITHMETIC or not text.endswith(variable.spelling):
            return
        changes = [f"{text} + 1"]
        if kind.kind in (TypeKind.FLOAT, TypeKind.DOUBLE):
            changes.append(f"{text} * 1.1")
        for change in changes:
            self.add("constant", cursor, change,
                     f"(qv_fault == @ ? static_cast<{plain}>({change}) : static_cast<{plain}>({text}))")

    def statement(self, cursor, parent):
        text = self.source(cursor).decode()
        alone_in_if = parent.kind == CursorKind.IF_STMT and len(list(parent.get_children())) == 2 and (
            self.span(list(parent.get_children())[1]) == self.span(cursor))
        if cursor.kind in (CursorKind.RETURN_STMT, CursorKind.CONTINUE_STMT, CursorKind.BREAK_STMT):
            if alone_in_if:
                self.add("drop a statement", cursor, ";", f"if (qv_fault != @) {text}")
        elif cursor.kind.is_expression() and (alone_in_if or parent.kind == CursorKind.COMPOUND_STMT):
            self.add("drop a statement", cursor, ";", f"(qv_fault == @ ? (void)0 : (void)({text}))")


def squeezed(text):
    return re.sub(r"\s+", " ", re.sub(r"//[^\n]*", "", text)).strip()


_index = None
_resources = None


def parse(path, kernels):
    global _index, _resources
    if _index is None:
        _index = cindex.Index.create()
        _resources = subprocess.run(["clang++", "-print-resource-dir"], capture_output=True, text=True).stdout.strip()
    options = ["-x", "c++", "-std=c++17", f"-I{repository}"]
    if _resources:
        options += ["-resource-dir", _resources]
    if path.name.endswith("_kernels.cpp"):
        options += [f"-DQV_KERNELS=qv_kernels_{kernels}"]
        options += ["-DQV_KERNELS_PLAIN=1"] if kernels == "plain" else ["-march=x86-64-v4"]
    return _index.parse(str(path), options, options=cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)


def places_of(name):
    """Runs in a process of its own."""
    path = repository / name
    found = {}
    for kernels in (["v4", "plain"] if name.endswith("_kernels.cpp") else [None]):
        found.update(Places(path, kernels).found)
    return [found[key] for key in sorted(found)]
