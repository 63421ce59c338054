#!/usr/bin/env python3
"""Writes a header as Doxygen wants it, line by line where it stands.

usage: doxygen_filter.py HEADER

A comment above a declaration ("// ...") is about that one. It is also about those that
follow it without an empty line and have no comment of their own, if they are plainly of
the same kind: other forms of a function, constants and members, or whatever follows a
comment that says "Each ...". A comment behind a member is about that member. A comment
that stands alone at the beginning is about the file. What has no comment, but a name of
docs/Vocabulary.md, has that one's. All else is left out
of what Doxygen sees as documentation, and so is what the language makes ("= default",
"= delete").
"""

import fnmatch
import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

COMMENT = re.compile(r"^\s*//\s?(.*)$")
TRAILING = re.compile(r"^(.*?\S)\s*//\s(.*)$")
SCOPE = re.compile(r"(^|[\s>])(namespace|class|struct|union|enum)\b")
MADE = re.compile(r"=\s*(default|delete)\s*;\s*$")
ACCESS = re.compile(r"^\s*(public|private|protected)\s*:")
COLLECTIVE = ("Each ", "Both ", "--- ")  # begins what is about all that follow
RULE = re.compile(r"^-{2,}\s|\s-{2,}(?=\s|$)")  # a title between dashes


def escaped(text):
    """Text without what Doxygen takes for commands; code in quotes stays code."""
    parts = re.split(r"(`[^`]*`)", text)
    for index, part in enumerate(parts):
        if index % 2 == 0:
            part = re.sub(r"([\\@&$#<>%\"|])", r"\\\1", part)
            part = part.replace("::", "\\::").replace("*", "\\*").replace("_", "\\_")
        parts[index] = part
    return "".join(parts)


def bare(code):
    """Code without what stands in quotes and comments."""
    code = re.sub(r'"(\\.|[^"\\])*"', '""', code)
    code = re.sub(r"'(\\.|[^'\\])'", "''", code)
    return re.sub(r"//.*", "", code)


def vocabulary():
    """Pairs of a pattern of names and what is said about them."""
    pairs = []
    with open(os.path.join(ROOT, "docs/Vocabulary.md"), encoding="utf-8") as page:
        for line in page:
            cells = [cell.strip() for cell in line.split("|")]
            if len(cells) == 4 and cells[1].startswith("`"):
                pairs += [(name, escaped(cells[2]))
                          for name in re.findall(r"`([^`]+)`", cells[1])]
    return pairs


def matches(name, pattern):
    """Whether a name of the vocabulary, perhaps with a star, is this one."""
    if pattern.startswith("operator"):
        return name == pattern
    return fnmatch.fnmatchcase(name, pattern)


def declared(code, class_names):
    """The name that a declaration declares."""
    code = " ".join(bare(line).strip() for line in code)
    code = re.sub(r"^(template <.*?> ?(?=[a-zA-Z]))+", "", code)
    code = re.sub(r"^requires .*?(?= [A-Z~]\w*\(| static | constexpr )", "", code).strip()
    code = re.sub(r"^(\[\[\w+\]\] ?)+", "", code)
    found = re.match(r"using (\w+)", code) or \
        re.match(r"(?:class|struct)(?: [A-Z]+_EXPORT)? (?:\w+::)*(\w+)", code) or \
        re.match(r"[^(;={]*?(operator(?: [\w:]+|[^\w\s(]+|\(\)))\s*\(", code) or \
        re.match(r"[^;={]*?\(\*(\w+)\)\(", code) or \
        re.match(r"[^(;={]*?(\w+)\s*[(;={]", code)
    name = found[1] if found else ""
    if name in class_names and found[0].endswith("("):
        return "destructor" if found[0].endswith(f"~{name}(") else "constructor"
    return name


def is_function(code):
    """Whether a declaration, of which this is the beginning, is a function's."""
    code = re.sub(r"^template <.*> ?", "", code)
    return re.match(r"[^=;{]*\(", code) is not None and not re.search(r"\(\*\w+\)", code)


def has_same_words(name, other, text):
    """Whether what is said about one function is said about the other, too."""
    form = re.compile(r"(Is|Del|DelAll|Inc|Dec|32|64|Wide)?$")
    return text.startswith(COLLECTIVE) or \
        name != "constructor" and form.sub("", name) == form.sub("", other)


class Reader:
    """Follows the code: which blocks are open, and whether a declaration has begun."""

    def __init__(self):
        self.blocks = []  # "scope", "enum" or "body"
        self.head = ""  # what was read of the declaration
        self.round = 0

    def in_body(self):
        return "body" in self.blocks

    def begins(self):
        """Whether a declaration may begin here."""
        return not self.in_body() and not self.head.strip() and self.round == 0

    def read(self, code):
        for char in bare(code):
            if char in "([":
                self.round += 1
            elif char in ")]":
                self.round -= 1
            if self.in_body():
                if char == "{":
                    self.blocks.append("body")
                elif char == "}":
                    self.blocks.pop()
                    if not self.in_body() and self.round == 0:
                        self.head = self.after
                continue
            if char == "{":
                head = re.sub(r"\btemplate\s*<.*?>(?=\s*(class|struct)\b)", "", self.head)
                kind = "body"
                if self.round == 0 and SCOPE.search(head) and "(" not in \
                        re.sub(r"alignas\([^)]*\)|requires.*?(?=class|struct)", "", head) \
                        and "=" not in head:
                    kind = "enum" if re.search(r"\benum\b", head) else "scope"
                # An initializer goes on to its semicolon or body, a function ends here.
                goes_on = re.search(r"(=\s*|[\w>])$", self.head)
                self.after = self.head if goes_on else ""
                self.blocks.append(kind)
                if kind != "body":
                    self.head = ""
            elif char == "}":
                if self.blocks:
                    self.blocks.pop()
                self.head = ""
            elif char == ";" and self.round == 0:
                self.head = ""
            elif char == "," and self.round == 0 and self.blocks[-1:] == ["enum"]:
                self.head = ""
            else:
                self.head += char
        if not self.in_body():
            self.head += " "
            if ACCESS.match(self.head):
                self.head = ""


def is_declaration(line):
    stripped = line.strip()
    return stripped and not stripped.startswith(("#", "}", ")")) and \
        not ACCESS.match(line) and not stripped.startswith(("namespace", "friend",
                                                              "static_assert"))


def is_forward(line):
    return re.match(r"^\s*(template\s*<.*>\s*)?(class|struct)\s+\w+;$", line)


def make_documentation(lines, block):
    """Marks the comment of these lines as documentation; returns its text."""
    words = [escaped(COMMENT.match(lines[index])[1]) for index in block]
    for index, word in zip(block, words):
        lines[index] = lines[index][:lines[index].index("//")] + "/// " + \
            RULE.sub("", word)
    return " ".join(words)


def filtered(lines):
    reader = Reader()
    result = []
    block = []  # indexes of the comment just above
    shared = ""  # what the declarations of this paragraph share
    trailing_column = None
    sharing = ""
    in_directive = False
    words_of_all = vocabulary()
    class_names = set(re.findall(r"(?m)^\s*(?:class|struct)(?: [A-Z]+_EXPORT)? (\w+)",
                                 "\n".join(lines)))
    for at, line in enumerate(lines):
        comment = COMMENT.match(line)
        if comment:
            column = line.index("//")
            if trailing_column is not None and column == trailing_column:
                result.append(line[:column] + "///< " + escaped(comment[1]))
                continue
            block.append(len(result))
            result.append(line)
            continue
        trailing_column = None
        if in_directive or line.lstrip().startswith("#"):
            if line.startswith("#define") and block:
                make_documentation(result, block)
                block = []
            in_directive = line.endswith("\\")
            result.append(line)
            continue
        if not line.strip() or line.startswith("namespace"):
            if block and not reader.blocks:
                make_documentation(result, block)
                result[block[0] - 1] += "/// @file"  # which is an empty line
            block, shared = [], ""
            if line:
                reader.read(line)
            result.append(line)
            continue
        in_body = reader.in_body()
        begins = reader.begins()
        text = line
        if begins and is_declaration(line) and not is_forward(line):
            name = declared(lines[at:at + 5], class_names)
            code = " ".join(bare(each).strip() for each in lines[at:at + 3])
            if MADE.search(bare(line)) and not block:
                reader.read(line)
                result.append("")
                block = []
                continue
            if block:
                shared = make_documentation(result, block)
                sharing = name
            elif shared and (re.match(r"static constexpr|using|[\w:&* ]+\(\*", code) and
                             not is_function(code) or
                             has_same_words(sharing, name, shared)):
                indent = len(line) - len(line.lstrip())
                text = line[:indent] + "/** " + RULE.sub("", shared) + " */ " + line[indent:]
            elif not TRAILING.match(line):
                said = next((said for pattern, said in words_of_all
                             if matches(name, pattern)), None)
                if said:
                    indent = len(line) - len(line.lstrip())
                    text = line[:indent] + "/** " + said + " */ " + line[indent:]
        trailing = TRAILING.match(line)
        scopes = [block for block in reader.blocks if block != "body"]
        reader.read(line)
        if trailing and not in_body and not line.strip().startswith("#") and \
                not reader.in_body() and '"' not in trailing[2][:0]:
            if bare(line).strip().endswith((";", ",")) or \
                    reader.blocks[-1:] == ["enum"]:
                trailing_column = line.rindex("// ")
                head = text[:len(text) - len(line)] + line[:trailing_column]
                if "/**" in text:
                    head = re.sub(r"/\*\*.*?\*/ ", "", text)
                    head = head[:head.rindex("// ")]
                text = head + "///< " + escaped(trailing[2])
        if scopes != [block for block in reader.blocks if block != "body"]:
            shared = ""
        block = []
        result.append(text)
    return result


def main():
    with open(sys.argv[1], encoding="utf-8") as header:
        # What is said about a type in namespace std is not about this project.
        text = re.sub(r"(?m)^(template <.*>\n)?(struct|class) std::(.|\n)*?^};",
                      lambda match: "\n" * match[0].count("\n"), header.read())
    print("\n".join(filtered(text.split("\n"))), end="")


if __name__ == "__main__":
    main()
