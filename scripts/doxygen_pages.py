#!/usr/bin/env python3
"""Writes a page of docs/ as Doxygen wants it.

usage: doxygen_pages.py PAGE

Flow charts, which Doxygen cannot draw, become graphs of Graphviz; other diagrams stay
text. A link to a file that is not in the site becomes its name, and one to a place of the
page its text.
"""

import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
NODE = re.compile(r"\s*([\w-]+?)(\[\(\"?(?P<store>.*?)\"?\)\]|\(\[\"?(?P<round>.*?)\"?\]\)"
                  r"|\{\{\"?(?P<six>.*?)\"?\}\}|\[\"(?P<quoted>.*?)\"\]|\[(?P<box>.*?)\])?"
                  r"(?=\s|$)")
EDGE = re.compile(r"\s*(?:-->|-\.->|--\s+\"?(?P<text>.+?)\"?\s+-->"
                  r"|-\.\s+\"?(?P<dotted>.+?)\"?\s+\.->)")
SHAPES = {"store": "cylinder", "round": "box, style=rounded", "six": "hexagon",
          "quoted": "box", "box": "box"}


class Chart:
    """A flow chart, read line by line and written for Graphviz."""

    def __init__(self, lines):
        self.lines = []
        self.groups = set()
        self.edges = []
        for line in lines[1:]:
            self.read(line.strip())
        direction = lines[0].split()[1].replace("TD", "TB")
        edges = [self.edge(*each) for each in self.edges]
        self.text = ["digraph {", f"rankdir={direction}; compound=true;",
                     'node [fontname="sans-serif", fontsize=11, shape=box];',
                     'edge [fontname="sans-serif", fontsize=10];',
                     *self.lines, *edges, "}"]

    def read(self, line):
        group = re.match(r"subgraph (\w+)\[\"?(.*?)\"?\]$", line)
        if group:
            self.groups.add(group[1])
            self.lines.append(f'subgraph "cluster_{group[1]}" {{ label="{group[2]}";')
            # What an edge of the group ends in.
            self.lines.append(f'"{group[1]}" [shape=point, style=invis];')
        elif line == "end":
            self.lines.append("}")
        elif line:
            self.read_chain(line)

    def node(self, line, at):
        found = NODE.match(line, at)
        if not found:
            raise ValueError(f"no node: {line[at:]}")
        for kind, shape in SHAPES.items():
            if found[kind] is not None:
                label = found[kind].replace("<br/>", "\\n")
                self.lines.append(f'"{found[1]}" [label="{label}", shape={shape}];')
        return found[1], found.end()

    def read_chain(self, line):
        name, at = self.node(line, 0)
        while line[at:].strip():
            edge = EDGE.match(line, at)
            if not edge:
                raise ValueError(f"no edge: {line[at:]}")
            other, at = self.node(line, edge.end())
            self.edges.append((name, other, edge["text"] or edge["dotted"] or "",
                               "-." in edge[0]))
            name = other

    def edge(self, name, other, label, dotted):
        more = "style=dashed, " if dotted else ""
        more += f'ltail="cluster_{name}", ' if name in self.groups else ""
        more += f'lhead="cluster_{other}", ' if other in self.groups else ""
        return f'"{name}" -> "{other}" [{more}label="{label}"];'


def linked(match, folder):
    """A link as it is, or the text of one that leads out of the site."""
    target = match[2].split("#")[0]
    if not target:
        return match[1]
    if re.match(r"https?:", target):
        return match[0]
    path = os.path.normpath(os.path.join(folder, target))
    if path.startswith("docs/") and path.endswith(".md"):
        return f"[{match[1]}]({path})"
    return match[1] if path in match[1] or "`" in match[1] else f"{match[1]} (`{path}`)"


def filtered(lines, folder):
    result = []
    fence = None
    for line in lines:
        if line.startswith("```"):
            if fence is None:
                fence, block = line[3:], []
            else:
                if fence == "mermaid" and block[0].startswith("flowchart"):
                    result += ["\\dot", *Chart(block).text, "\\enddot"]
                else:
                    result += ["@verbatim", *block, "@endverbatim"]
                fence = None
        elif fence is not None:
            block.append(line)
        else:
            parts = re.split(r"(`[^`]*`)", line)
            for index in range(0, len(parts), 2):
                parts[index] = parts[index].replace("<n>", "&lt;n&gt;")
            result.append(re.sub(r"\[([^]]*)\]\(([^)]*)\)",
                                 lambda match: linked(match, folder), "".join(parts)))
    return result


def main():
    page = os.path.abspath(sys.argv[1])
    with open(page, encoding="utf-8") as text:
        lines = text.read().split("\n")
    print("\n".join(filtered(lines, os.path.relpath(os.path.dirname(page), ROOT))))


if __name__ == "__main__":
    main()
