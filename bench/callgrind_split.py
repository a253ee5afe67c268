#!/usr/bin/env python3
"""Instructions per exchange from two callgrind profiles of the host thread (the calls inside
q310_bench_measured), one with the trace at level 4 as the exports set it and one with the trace
switched off, and how the trace's share divides:
  - by difference: level 4 less trace off, the whole cost of the trace (building the lines, the level
    and module tests, writing);
  - by callgrind_annotate: the inclusive cost of Kel_P_Trace_Write, which finishes every line (dump,
    File/Line part) and writes it under the trace lock to the console and the files; the rest of the
    difference builds the lines (Kel_P_Trace_Imp's formats, the skeleton helpers) and tests the level.

usage: callgrind_split.py PROFILE_LEVEL4 PROFILE_OFF CALLS [PATH]
PATH names the path in the first line ("serial", "tcp").
"""
import os
import re
import subprocess
import sys


def annotate(path, inclusive):
    """Ir by function name (arguments dropped) from callgrind_annotate."""
    out = subprocess.run(["callgrind_annotate", f"--inclusive={'yes' if inclusive else 'no'}",
                          "--threshold=100", "--auto=no", path],
                         check=True, capture_output=True, text=True,
                         # Away from the source tree, where the annotator would list a function's
                         # relative and absolute source paths as two entries.
                         cwd=os.path.dirname(os.path.abspath(path))).stdout
    costs = {}
    total = None
    for line in out.splitlines():
        match = re.match(r"\s*([\d,]+)\s+\([\s\d.]+%\)\s+(.*)", line)
        if not match:
            continue
        cost = int(match.group(1).replace(",", ""))
        what = match.group(2)
        if what.startswith("=>"):
            continue
        if what.startswith("PROGRAM TOTALS"):
            total = cost
            continue
        name = what.split(":", 1)[1] if ":" in what else what
        name = re.sub(r"\s*\[.*\]$", "", name)
        name = name.split("(", 1)[0]
        # A function is listed once per source its code comes from (its own file, the headers inlined
        # into it): its own file's entry, the largest, is its inclusive cost.
        costs[name] = max(costs.get(name, 0), cost)
    return total, costs


def main():
    if len(sys.argv) not in (4, 5):
        sys.exit(__doc__)
    level4, off, calls = sys.argv[1], sys.argv[2], int(sys.argv[3])
    path = sys.argv[4] if len(sys.argv) == 5 else "serial"
    total, inclusive = annotate(level4, True)
    total_off, _ = annotate(off, True)
    write = inclusive.get("Kel_P_Trace_Write", 0)
    trace = total - total_off
    print(f"instructions per exchange (trace level 4, {path}): {total / calls:.0f}")
    print(f"  level 4:   {total / calls:9.0f} Ir per call ({total} in {calls} calls)")
    print(f"  trace off: {total_off / calls:9.0f} Ir per call; level 4 less trace off: "
          f"{trace / calls:.0f} ({100.0 * trace / total:.1f} %)")
    print(f"    writing the lines (Kel_P_Trace_Write inclusive: dump, lock, console, files): {write / calls:7.0f}"
          f"  {100.0 * write / total:5.1f} %")
    print(f"    building the lines and the level tests (the difference less the writing):   "
          f"{(trace - write) / calls:7.0f}  {100.0 * (trace - write) / total:5.1f} %")


if __name__ == "__main__":
    main()
