"""Finds the places where mutants can be made in a unit, with libclang."""

import dataclasses
import re

from clang import cindex
from clang.cindex import CursorKind as K, TypeKind

from mutants import BOUNDARY, CONDITION, CONSTANT, DROP, SWAP, TEXT, Site
from sources import flat, other_text

_FUNCTIONS = {K.FUNCTION_DECL, K.CXX_METHOD, K.CONSTRUCTOR, K.DESTRUCTOR,
              K.CONVERSION_FUNCTION, K.FUNCTION_TEMPLATE}
_SCOPES = {K.NAMESPACE, K.LINKAGE_SPEC, K.CLASS_DECL, K.STRUCT_DECL, K.UNION_DECL,
           K.CLASS_TEMPLATE, K.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION, K.ENUM_DECL}
_TYPES_ONLY = {K.STATIC_ASSERT, K.TYPE_ALIAS_DECL, K.TYPEDEF_DECL,
               K.TYPE_ALIAS_TEMPLATE_DECL, K.CONCEPT_DECL, K.USING_DECLARATION,
               K.TEMPLATE_TYPE_PARAMETER, K.TEMPLATE_NON_TYPE_PARAMETER,
               K.TEMPLATE_TEMPLATE_PARAMETER, K.FRIEND_DECL, K.CXX_UNARY_EXPR,
               K.REQUIRES_EXPR, K.CONCEPT_SPECIALIZATION_EXPR, K.TYPE_REF,
               K.TEMPLATE_REF, K.NAMESPACE_REF}
_DROPPABLE = {K.CALL_EXPR, K.BINARY_OPERATOR, K.COMPOUND_ASSIGNMENT_OPERATOR,
              K.UNARY_OPERATOR, K.CXX_DELETE_EXPR, K.CXX_NEW_EXPR, K.CXX_THROW_EXPR}
_NUMBERS = {TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.UCHAR, TypeKind.SHORT,
            TypeKind.USHORT, TypeKind.INT, TypeKind.UINT, TypeKind.LONG,
            TypeKind.ULONG, TypeKind.LONGLONG, TypeKind.ULONGLONG}
_COMPARED = {b'<': (b'<=', 'less'), b'>': (b'>=', 'greater'),
             b'<=': (b'<', 'lessEqual'), b'>=': (b'>', 'greaterEqual')}

_NEGATED = ('(::Mutation::mutant(@) != static_cast<bool>(', '))')
_ADDED = ('(', ' + ::Mutation::mutant(@))')
_DROPPED = ('{ if (!::Mutation::mutant(@)) { ', ' } }')


@dataclasses.dataclass(frozen=True)
class Context:
    """What surrounds a cursor."""
    function: str = ''
    returns_bool: bool = False
    runs: bool = False            # in a function, and not evaluated by the compiler
    statement: tuple = ()         # the enclosing one, if it may stand twice
    formats: bool = False         # inside what checks a format while it compiles
    evaluated: bool = False       # in a function that the compiler may run


def _start(cursor) -> int:
    return cursor.extent.start.offset


def _end(cursor) -> int:
    return cursor.extent.end.offset


def _is_bool(type_) -> bool:
    return type_.get_canonical().kind == TypeKind.BOOL


def _bare(cursor):
    """The expression, without the conversions that nobody wrote."""
    while cursor.kind == K.UNEXPOSED_EXPR:
        children = list(cursor.get_children())
        if len(children) != 1:
            break
        cursor = children[0]
    return cursor


class Finder:
    """Collects the places in some of the files that a unit is made of."""

    def __init__(self, sources: dict):
        self._sources = sources # by path, those whose places are wanted
        self._source = None
        self.sites = []

    def visit_unit(self, unit) -> None:
        for cursor in unit.cursor.get_children():
            file = cursor.location.file
            self._source = self._sources.get(file.name) if file else None
            if self._source is not None:
                self._visit(cursor, Context(), None)

    # --- which cursor is what ------------------------------------------------

    def _visit(self, cursor, context, parent) -> None:
        kind = cursor.kind
        if kind in _TYPES_ONLY:
            return
        if kind == K.LAMBDA_EXPR:
            self._visit_lambda(cursor, context)
            return
        if self._source.macro_call_at(_start(cursor)):
            if context.runs:
                self._macro(self._source.macro_call_at(_start(cursor)), context)
            return
        if kind in _FUNCTIONS:
            self._visit_function(cursor)
        elif kind in _SCOPES:
            self._visit_all(cursor, dataclasses.replace(
                context, function=_qualified(cursor), runs=False))
        elif kind in (K.VAR_DECL, K.ENUM_CONSTANT_DECL):
            self._visit_variable(cursor, context)
        elif kind in (K.PARM_DECL, K.FIELD_DECL):
            pass
        elif kind.is_statement():
            self._visit_statement(cursor, context)
        else:
            self._visit_expression(cursor, context, parent)

    def _visit_all(self, cursor, context) -> None:
        for child in cursor.get_children():
            self._visit(child, context, cursor)

    def _visit_lambda(self, cursor, context) -> None:
        inside = Context(context.function, runs=True)
        for child in cursor.get_children():
            if child.kind == K.COMPOUND_STMT:
                self._visit(child, inside, cursor)

    def _visit_function(self, cursor) -> None:
        if not cursor.is_definition():
            return
        inside = Context(_qualified(cursor), _is_bool(cursor.result_type), True)
        for child in cursor.get_children():
            if child.kind in (K.COMPOUND_STMT, K.CXX_TRY_STMT):
                head = self._source.blanked[_start(cursor):_start(child)]
                # What is defaulted has a body, but nobody wrote it.
                if b'consteval' not in head and self._text(child)[:1] in b'{t':
                    self._visit_body(child, dataclasses.replace(
                        inside, evaluated=b'constexpr' in head), cursor)
            elif child.kind.is_expression() and cursor.kind == K.CONSTRUCTOR:
                self._visit(child, inside, cursor)

    def _visit_body(self, body, context, parent) -> None:
        statements = list(body.get_children())
        if len(statements) == 1 and _bare(statements[0]).kind == K.CXX_THROW_EXPR:
            # Such a function does not return: what it does without its throw is
            # undefined, so only what it throws can be wrong.
            context = dataclasses.replace(context, statement=self._simple(statements[0]))
            self._visit(statements[0], context, None)
        else:
            self._visit(body, context, parent)

    def _visit_variable(self, cursor, context) -> None:
        name = cursor.location.offset
        head = self._source.blanked[_start(cursor):name]
        runs = context.runs and not re.search(rb'\bconst(expr|init)\b', head)
        inside = dataclasses.replace(
            context, runs=runs, statement=(),
            function=context.function if context.function and context.runs
            else _qualified(cursor))
        values = [c for c in cursor.get_children()
                  if c.kind.is_expression() and _start(c) >= name]
        for child in values:
            if self._source.before(_start(child)) == b'[':
                continue
            if runs and _is_bool(cursor.type):
                self._condition(child, inside)
            self._visit(child, inside, cursor)

    def _visit_statement(self, cursor, context) -> None:
        kind, children = cursor.kind, list(cursor.get_children())
        inside = dataclasses.replace(context, statement=())
        if kind == K.COMPOUND_STMT:
            self._visit_block(children, inside)
            return
        if kind in (K.CASE_STMT, K.DEFAULT_STMT):
            body = children[1:] if kind == K.CASE_STMT else children
            self._visit_block(body, inside)
            return
        if kind == K.IF_STMT:
            children = self._visit_if(cursor, children, inside)
        elif kind == K.WHILE_STMT and children[0].kind.is_expression():
            self._condition(children[0], inside)
        elif kind == K.DO_STMT:
            self._condition(children[-1], inside)
        elif kind == K.FOR_STMT:
            self._visit_for(cursor, children, inside)
        elif kind == K.RETURN_STMT and children:
            if context.returns_bool or _is_bool(children[0].type):
                self._condition(children[0], inside)
            end = self._source.semicolon_behind(_end(cursor))
            inside = dataclasses.replace(inside, statement=(_start(cursor), end))
        for child in children:
            self._visit(child, inside, cursor)

    def _visit_block(self, statements, context) -> None:
        previous = None
        for statement in statements:
            simple = None
            if statement.kind.is_expression():
                simple = self._simple(statement)
            if simple is None:
                self._visit(statement, context, None)
            else:
                start, end = simple
                self._add(start, end, DROP, context, b'', 'wrap', _DROPPED)
                if previous is not None:
                    self._swap(previous, simple, context)
                self._visit(statement,
                            dataclasses.replace(context, statement=simple), None)
            previous = simple

    def _simple(self, statement):
        """Where a statement stands that is an expression and can be left out."""
        bare = _bare(statement)
        start = _start(statement)
        if bare.kind not in _DROPPABLE or self._source.macro_call_at(start):
            return None
        if bare.kind == K.UNARY_OPERATOR and b'++' not in self._text(bare) \
                and b'--' not in self._text(bare):
            return None
        end = self._source.semicolon_behind(_end(statement))
        if end is None or self._source.text[start:end].startswith(b'__builtin'):
            return None
        return start, end

    def _visit_if(self, cursor, children, context):
        opening = self._source.blanked.index(b'(', _start(cursor))
        head = self._source.blanked[_start(cursor):opening]
        closing = self._source.matching(opening)
        bodies = [c for c in children if _start(c) > closing]
        if b'constexpr' in head:
            return bodies
        inside = [c for c in children if _start(c) <= closing]
        if inside and inside[-1].kind.is_expression():
            last = inside[-1]
            around = [c for c in inside[:-1] if _start(c) <= _start(last) < _end(c)]
            if not around:
                self._condition(last, context)
            else:
                name = self._text(last).strip() or last.spelling.encode()
                declared = self._source.text[_start(around[0]):closing]
                if re.fullmatch(rb'\w+', name):
                    self._add(_start(around[0]), closing, CONDITION, context,
                              declared + b'; !' + name, 'declared',
                              ('; ::Mutation::mutant(@) != static_cast<bool>('
                               + name.decode() + ')',))
                inside = inside[:-1]
        return inside + bodies

    def _visit_for(self, cursor, children, context) -> None:
        opening = self._source.blanked.index(b'(', _start(cursor))
        first = self._source.statement_end(opening + 1)
        second = self._source.statement_end(first)
        for child in children:
            if first <= _start(child) < second and child.kind.is_expression():
                self._condition(child, context)

    def _visit_expression(self, cursor, context, parent) -> None:
        kind = cursor.kind
        if kind == K.INTEGER_LITERAL or kind == K.CXX_BOOL_LITERAL_EXPR:
            self._constant(cursor, context, parent)
            return
        if kind == K.STRING_LITERAL:
            self._string(cursor, context)
            return
        if kind == K.DECL_REF_EXPR and context.runs:
            self._named_constant(cursor, context, parent)
        children = list(cursor.get_children())
        if context.runs:
            if kind == K.BINARY_OPERATOR and len(children) == 2:
                self._binary(cursor, children, context)
            elif kind == K.CONDITIONAL_OPERATOR:
                self._condition(children[0], context)
            elif kind == K.UNARY_OPERATOR and self._text(cursor)[:1] == b'!':
                self._condition(children[0], context)
        if 'format_string' in cursor.type.spelling:
            context = dataclasses.replace(context, formats=True)
        for child in children:
            self._visit(child, context, cursor)

    def _binary(self, cursor, children, context) -> None:
        left, right = children
        between = self._source.blanked[_end(left):_start(right)]
        operator = between.strip()
        if operator in (b'&&', b'||'):
            self._condition(left, context)
            self._condition(right, context)
        elif operator in _COMPARED:
            other, function = _COMPARED[operator]
            at = _end(left) + between.index(operator)
            text = self._source.text
            changed = (text[_start(cursor):at] + other
                       + text[at + len(operator):_end(cursor)])
            self._add(_start(cursor), _end(cursor), BOUNDARY, context, changed,
                      'operator', (f'::Mutation::{function}(@, ', ')'),
                      (at, at + len(operator)))

    # --- what kinds of mutants there are -------------------------------------

    def _add(self, start, end, kind, context, replacement, form, parts=(),
             middle=()) -> None:
        if self._source.macro_call_at(start) and form != 'copy' \
                and start != self._source.macro_call_at(start)[0]:
            return
        if end <= start:
            return
        site = Site(self._source.name, start, end, kind, context.function, replacement,
                    form, parts, middle, context.evaluated)
        site.describe(self._source)
        self.sites.append(site)

    def _text(self, cursor) -> bytes:
        return self._source.text[_start(cursor):_end(cursor)]

    def _condition(self, cursor, context) -> None:
        text = self._text(cursor)
        if self._source.macro_call_at(_start(cursor)) or text in (b'true', b'false'):
            return
        if text[:1] == b'!':
            return # what is behind it is one
        self._add(_start(cursor), _end(cursor), CONDITION, context,
                  b'!(' + text + b')', 'wrap', _NEGATED)

    def _swap(self, first, second, context) -> None:
        text = self._source.text
        one, other = text[slice(*first)], text[slice(*second)]
        if one == other or b'(' not in one or b'(' not in other:
            return
        between = text[first[1]:second[0]]
        self._add(first[0], second[1], SWAP, context, other + between + one, 'swap',
                  middle=(second[0],))

    def _constant(self, cursor, context, parent) -> None:
        text = self._text(cursor)
        start, end = _start(cursor), _end(cursor)
        if self._is_template_argument(cursor, parent) or not text[:1].isalnum():
            return
        if cursor.kind == K.CXX_BOOL_LITERAL_EXPR:
            other = {b'true': b'false', b'false': b'true'}.get(text)
            parts = ('(::Mutation::mutant(@) != ', ')')
        else:
            other, parts = b'(' + text + b' + 1)', _ADDED
        if other is None:
            return
        form = 'wrap' if context.runs else 'rebuilt'
        self._add(start, end, CONSTANT, context, other, form, parts)

    def _named_constant(self, cursor, context, parent) -> None:
        referenced = cursor.referenced
        if referenced is None or referenced.kind != K.VAR_DECL:
            return
        type_ = cursor.type.get_canonical()
        if type_.kind not in _NUMBERS or not type_.is_const_qualified() \
                or not re.fullmatch(r'k[A-Z]\w*', cursor.spelling) \
                or self._is_template_argument(cursor, parent):
            return
        text = self._text(cursor)
        self._add(_start(cursor), _end(cursor), CONSTANT, context,
                  b'(' + text + b' + 1)', 'wrap', _ADDED)

    def _is_template_argument(self, cursor, parent) -> bool:
        if parent is not None and parent.kind in (K.DECL_REF_EXPR, K.MEMBER_REF_EXPR):
            return True
        compared = parent is not None and parent.kind == K.BINARY_OPERATOR
        return self._source.before(_start(cursor)) == b'<' and not compared

    def _string(self, cursor, context) -> None:
        start, end = _start(cursor), _end(cursor)
        if b'"' not in self._text(cursor):
            return # __func__ is one to the compiler
        other = other_text(self._source.text[start:end])
        if other is None:
            return
        if not context.runs or (context.formats and not context.statement):
            self._add(start, end, TEXT, context, other, 'rebuilt')
        elif context.formats:
            self._copy(start, end, TEXT, context, other, context.statement)
        else:
            self._add(start, end, TEXT, context, other, 'wrap',
                      ('(::Mutation::mutant(@) ? ' + flat(other).decode() + ' : ', ')'))

    def _copy(self, start, end, kind, context, replacement, statement) -> None:
        text = self._source.text
        changed = flat(text[statement[0]:start] + replacement + text[end:statement[1]])
        self._add(start, end, kind, context, replacement, 'copy',
                  ('if (::Mutation::mutant(@)) { ' + changed.decode() + ' } else { ',
                   ' }'), statement)

    def _macro(self, call, context) -> None:
        """A macro call that is a statement: it may go, and so may its constants."""
        start, end = call
        if self._source.before(start) not in (b'{', b'}', b';', b':'):
            return
        statement = start, self._source.statement_end(start)
        if any(site.start == start and site.kind == DROP
               and site.file == self._source.name for site in self.sites):
            return
        self._add(*statement, DROP, context, b'', 'wrap', _DROPPED)
        for first, last in self._source.strings_in(*statement):
            other = other_text(self._source.text[first:last])
            if other is not None:
                self._copy(first, last, TEXT, context, other, statement)
        for number in re.finditer(rb'(?<=[ (])\d+u?(?=[,)])',
                                  self._source.blanked[start:end]):
            self._copy(start + number.start(), start + number.end(), CONSTANT, context,
                       number.group() + b' + 1', statement)


def _qualified(cursor) -> str:
    names = []
    while cursor is not None and cursor.kind != K.TRANSLATION_UNIT:
        if cursor.kind != K.NAMESPACE and cursor.spelling:
            names.append(cursor.spelling)
        cursor = cursor.semantic_parent
    return '::'.join(reversed(names))


def arguments_of(command: list) -> list:
    """Those arguments of a compiler's command that libclang needs."""
    taken, skip = [], False
    for argument in command[1:]:
        if skip:
            skip = False
        elif argument in ('-o', '-include', '-c', '-MF', '-MT', '-MQ', '-x'):
            skip = argument != '-c'
        elif argument.startswith(('-I', '-D', '-std=')) or taken[-1:] == ['-isystem']:
            taken.append(argument)
        elif argument == '-isystem':
            taken.append(argument)
    return ['-xc++', *taken]


class NotCompiled(Exception):
    pass


def find(path: str, text: str, arguments: list, sources: dict) -> list:
    """The places in a unit of this text, in those files of it that are among the
    sources, by path."""
    unit = cindex.Index.create().parse(path, arguments, unsaved_files=[(path, text)])
    wrong = [d for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
    if wrong:
        raise NotCompiled(f'{path} cannot be read: {wrong[0]}')
    finder = Finder(sources)
    finder.visit_unit(unit)
    return finder.sites
