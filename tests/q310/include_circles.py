#!/usr/bin/env python3
"""Fails when the production sources include each other in a circle. A file, the header of the same name
and its private header are one unit (kel_x.h, kel_x.cpp and kel_x_private.h), so a circle is units that
need each other, directly or through others. Usage: include_circles.py REPOSITORY"""
import os, re, sys

root = sys.argv[1]
search = [root, os.path.join(root, "shared", "src"), os.path.join(root, "sim")]
unit = lambda path: re.sub(r"(_private)?\.\w+$", "", os.path.relpath(path, root))
edges = {}
for folder in ["shared", "protocols", "Q310", "sim", "tools", "examples"]:
    for directory, _, names in os.walk(os.path.join(root, folder)):
        for path in [os.path.join(directory, n) for n in names if n.endswith((".h", ".cpp", ".c"))]:
            for written in re.findall(r'^\s*#\s*include\s+"([^"]+)"', open(path, errors="replace").read(), re.M):
                found = [os.path.join(b, written) for b in [directory] + search if os.path.isfile(os.path.join(b, written))]
                if found and unit(found[0]) != unit(path):
                    edges.setdefault(unit(path), set()).add(unit(found[0]))

# A unit is in a circle when it can reach itself through others.
def reaches(start):
    seen, todo = set(), list(edges.get(start, ()))
    while todo:
        node = todo.pop()
        if node not in seen:
            seen.add(node)
            todo.extend(edges.get(node, ()))
    return seen

circles = sorted(node for node in edges if node in reaches(node))
print("".join(f"in an include circle: {node}\n" for node in circles) + f"{len(edges)} units, {len(circles)} in circles")
sys.exit(1 if circles else 0)
