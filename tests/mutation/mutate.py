#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Rewrites C++ sources so that they hold all of their mutants at once (mutant.h says how one of them is chosen).

What is left alone: constants that the compiler needs (constexpr functions and variables, array bounds, template
arguments, case labels), default arguments, members' initial values, and what macros expand to.
"""

import re

from clang import cindex
from clang.cindex import CursorKind, TypeKind

COMPARISONS = {"<": "Less", ">": "Greater", "<=": "LessEqual", ">=": "GreaterEqual", "==": "Equal", "!=": "Unequal"}
ARITHMETIC = {"+": "Add", "-": "Subtract", "*": "Multiply", "/": "Divide", "%": "Modulo", "<<": "ShiftLeft",
              ">>": "ShiftRight"}
NUMBERS = {TypeKind.BOOL, TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.USHORT,
           TypeKind.SHORT, TypeKind.UINT, TypeKind.INT, TypeKind.ULONG, TypeKind.LONG, TypeKind.ULONGLONG,
           TypeKind.LONGLONG, TypeKind.FLOAT, TypeKind.DOUBLE}
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
             CursorKind.FUNCTION_TEMPLATE, CursorKind.CONVERSION_FUNCTION}
SKIPPED = {CursorKind.STATIC_ASSERT, CursorKind.ENUM_DECL, CursorKind.PARM_DECL, CursorKind.FIELD_DECL,
           CursorKind.TEMPLATE_NON_TYPE_PARAMETER, CursorKind.CXX_UNARY_EXPR, CursorKind.DECL_REF_EXPR,
           CursorKind.TYPE_REF, CursorKind.TEMPLATE_REF, CursorKind.TYPE_ALIAS_DECL, CursorKind.TYPE_ALIAS_TEMPLATE_DECL}
TRANSPARENT = {CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR}


class Mutant:
    """One change: what a report says of it."""

    def __init__(self, number, path, line, kind, text, source):
        self.number, self.path, self.line, self.kind, self.text, self.source = number, path, line, kind, text, source
        self.count = 1  # of those in its file that are written alike

    def key_alike(self, other):
        return (self.text, self.kind, self.source) == (other.text, other.kind, other.source)

    def key(self):
        """Its name, which stays when lines are added elsewhere in the file."""
        again = f" (number {self.count})" if self.count > 1 else ""
        return f"{self.path}: {self.text} | {self.kind} | {self.source}{again}"


class Rewriter:
    """The mutants of one file."""

    def __init__(self, path, data, first_number, left_out):
        self.path, self.data, self.number, self.left_out = path, data, first_number, left_out
        self.mutants = []
        self.edits = []  # (offset, rank, order, length, text)
        self.macros = []

    def take_numbers(self, cursor, kinds):
        """Numbers for mutants of a place, or 0 where its line is left out."""
        line = cursor.extent.start.line
        if line in self.left_out:
            return 0
        begin, end = cursor.extent.start.offset, cursor.extent.end.offset
        text = re.sub(r"\s+", " ", self.data[begin:end].decode("utf-8", "replace"))
        number = self.number
        source = self.data.split(b"\n")[line - 1].decode("utf-8", "replace").strip()
        for kind in kinds:
            mutant = Mutant(self.number, self.path, line, kind, text[:160], source)
            mutant.count = 1 + sum(one.key_alike(mutant) for one in self.mutants)
            self.mutants.append(mutant)
            self.number += 1
        return number

    def wrap(self, cursor, before, after, depth):
        self.edits.append((cursor.extent.start.offset, 2, depth, 0, before))
        self.edits.append((cursor.extent.end.offset, 0, -depth, 0, after))

    def is_plain(self, cursor):
        """Whether the place is written in this file and does not begin or end inside of a macro."""
        extent = cursor.extent
        if not extent.start.file or extent.start.file.name != self.path or extent.end.file.name != self.path:
            return False
        return not any(low <= extent.start.offset < high or low < extent.end.offset <= high
                       for low, high in self.macros)

    def operator_of(self, cursor):
        """(operands, offset and length of the operator, operator) of a binary expression."""
        operands = list(cursor.get_children())
        if len(operands) != 2 or not all(self.is_plain(one) for one in operands):
            return None
        low, high = operands[0].extent.end.offset, operands[1].extent.start.offset
        gap = self.data[low:high].decode("utf-8", "replace")
        found = re.fullmatch(r"\s*([-+*/%<>=!&|^]+)\s*", gap)
        if not found:
            return None
        return operands, low + found.start(1), len(found[1]), found[1]

    def visit(self, cursor, depth):
        kind = cursor.kind
        if kind in SKIPPED or self.is_constant(cursor):
            return
        children = list(cursor.get_children())
        if kind in FUNCTIONS:
            for child in children:
                if child.kind == CursorKind.COMPOUND_STMT or child.kind.is_expression():
                    self.visit(child, depth + 1)
            return
        if kind == CursorKind.CASE_STMT:
            children = children[1:]
        elif kind == CursorKind.VAR_DECL:
            # Bounds and template arguments come before the initial value.
            has_value = children and children[-1].kind.is_expression() and (
                children[-1].kind != CursorKind.INTEGER_LITERAL or cursor.type.kind in NUMBERS)
            children = children[-1:] if has_value else []
        elif kind in (CursorKind.COMPOUND_STMT, CursorKind.IF_STMT, CursorKind.FOR_STMT, CursorKind.WHILE_STMT):
            self.mutate_statements(cursor, children, depth)
        if kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.CONDITIONAL_OPERATOR) and children:
            self.mutate_condition(children[0], depth)
        elif kind == CursorKind.BINARY_OPERATOR:
            self.mutate_operator(cursor, depth)
        elif kind == CursorKind.INTEGER_LITERAL:
            self.mutate_number(cursor, depth)
        if kind == CursorKind.INIT_LIST_EXPR:
            children = [child for child in children if child.kind != CursorKind.INTEGER_LITERAL]
        if kind == CursorKind.MEMBER_REF_EXPR:
            children = [child for child in children if child.kind != CursorKind.INTEGER_LITERAL]
        for child in children:
            self.visit(child, depth + 1)

    def is_constant(self, cursor):
        if cursor.kind == CursorKind.VAR_DECL or cursor.kind in FUNCTIONS:
            begin, end = cursor.extent.start.offset, cursor.extent.end.offset
            head = re.split(rb"[={(]", self.data[begin:end], maxsplit=1)[0]
            # A function's name may hold brackets: operator().
            if re.search(rb"\b(constexpr|consteval|constinit)\b", head):
                return True
            return cursor.kind == CursorKind.VAR_DECL and cursor.semantic_parent.kind in (
                CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL, CursorKind.CLASS_TEMPLATE)
        if cursor.kind == CursorKind.IF_STMT:
            begin = cursor.extent.start.offset
            return re.match(rb"if\s+constexpr\b", self.data[begin:begin + 40]) is not None
        return False

    @staticmethod
    def bare(cursor):
        """Without brackets and implicit conversions."""
        while cursor.kind in TRANSPARENT:
            inner = list(cursor.get_children())
            if len(inner) != 1:
                break
            cursor = inner[0]
        return cursor

    def mutate_statements(self, cursor, children, depth):
        """Leaves out statements that are expressions: calls, assignments, steps."""
        bodies = children if cursor.kind == CursorKind.COMPOUND_STMT else children[1:]
        if cursor.kind == CursorKind.FOR_STMT:
            bodies = children[-1:]
        for body in bodies:
            if not body.kind.is_expression() or not self.is_plain(body):
                continue
            number = self.take_numbers(body, ["statement left out"])
            if number:
                self.wrap(body, f"static_cast<void>(narvo_mutant::Keep({number}) && (static_cast<void>(", "), true))",
                          depth)

    def mutate_condition(self, cursor, depth):
        """True and false instead of a condition that has no mutants of its own."""
        bare = self.bare(cursor)
        if not cursor.kind.is_expression() or not self.is_plain(cursor):
            return
        if bare.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            return
        if bare.kind == CursorKind.BINARY_OPERATOR:
            found = self.operator_of(bare)
            if found and found[3] in (*COMPARISONS, "&&", "||"):
                return
        number = self.take_numbers(cursor, ["true", "false"])
        if number:
            self.wrap(cursor, f"narvo_mutant::Condition({number}, static_cast<bool>(", "))", depth)

    def mutate_operator(self, cursor, depth):
        found = self.operator_of(cursor)
        if not found or not self.is_plain(cursor):
            return
        operands, offset, length, operator = found
        if operator in ("&&", "||"):
            for operand in operands:
                self.mutate_condition(operand, depth + 1)
            return
        if operator in COMPARISONS:
            name = COMPARISONS[operator]
            kinds = {"<": ["<=", ">="], ">": [">=", "<="], "<=": ["<", ">"], ">=": [">", "<"], "==": ["!=", "false"],
                     "!=": ["==", "true"]}[operator]
        elif operator in ARITHMETIC and all(one.type.get_canonical().kind in NUMBERS for one in operands):
            name = ARITHMETIC[operator]
            kinds = [{"+": "-", "-": "+", "*": "+", "/": "*", "%": "/", "<<": ">>", ">>": "<<"}[operator]]
        else:
            return
        number = self.take_numbers(cursor, kinds)
        if number:
            self.wrap(cursor, f"narvo_mutant::{name}({number}, ", ")", depth)
            self.edits.append((offset, 1, 0, length, ","))

    def mutate_number(self, cursor, depth):
        if not self.is_plain(cursor) or cursor.type.get_canonical().kind not in NUMBERS:
            return
        number = self.take_numbers(cursor, ["one more"])
        if number:
            self.wrap(cursor, f"narvo_mutant::Number({number}, ", ")", depth)

    def text(self):
        """The file with all mutants."""
        out = bytearray()
        place = 0
        for offset, _, _, length, text in sorted(self.edits, key=lambda one: one[:3]):
            out += self.data[place:offset] + text.encode()
            place = offset + length
        return bytes(out + self.data[place:])


def mutate(path, arguments, first_number, left_out):
    """The mutants of a file as it is compiled by these arguments. @return (mutants, new text)"""
    with open(path, "rb") as file:
        data = file.read()
    # A header is parsed as if it were a source.
    unit = cindex.Index.create().parse(path, args=["-x", "c++", *arguments],
                                       options=cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
    errors = [one for one in unit.diagnostics if one.severity >= cindex.Diagnostic.Error]
    if errors:
        raise SystemExit(f"{path}: {errors[0]}")
    rewriter = Rewriter(path, data, first_number, left_out)
    for cursor in unit.cursor.get_children():
        if cursor.kind == CursorKind.MACRO_INSTANTIATION and cursor.extent.start.file and \
                cursor.extent.start.file.name == path:
            rewriter.macros.append((cursor.extent.start.offset, cursor.extent.end.offset))
    for cursor in unit.cursor.get_children():
        if cursor.location.file and cursor.location.file.name == path and not cursor.kind.is_preprocessing():
            rewriter.visit(cursor, 0)
    return rewriter.mutants, rewriter.text()
