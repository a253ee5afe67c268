#!/usr/bin/env python3
"""Instructions per exchange from two callgrind profiles of the host thread (the calls inside
q310_bench_measured), one with the trace at level 4 as the exports set it and one with the trace
switched off, and the share of trace formatting:
  - by callgrind_annotate: the inclusive cost of Kel_P_Trace_Imp, which formats and writes every trace
    line (the skeleton helpers around it and the level checks stay in the rest);
  - by difference: level 4 less trace off, which takes the helpers and checks in as well.

usage: callgrind_split.py PROFILE_LEVEL4 PROFILE_OFF CALLS
"""
import re
import subprocess
import sys


def annotate(path, inclusive):
    """Ir by function name (arguments dropped) from callgrind_annotate."""
    out = subprocess.run(["callgrind_annotate", f"--inclusive={'yes' if inclusive else 'no'}",
                          "--threshold=100", "--auto=no", path],
                         check=True, capture_output=True, text=True).stdout
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
        # A function may be listed under more than one path of its file: take it once.
        costs.setdefault(name, cost)
    return total, costs


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    level4, off, calls = sys.argv[1], sys.argv[2], int(sys.argv[3])
    total, inclusive = annotate(level4, True)
    total_off, _ = annotate(off, True)
    trace = inclusive.get("Kel_P_Trace_Imp", 0)
    print(f"  level 4:   {total / calls:9.0f} Ir per call ({total} in {calls} calls)")
    print(f"    trace formatting and writing (Kel_P_Trace_Imp inclusive): {trace / calls:9.0f}"
          f"  {100.0 * trace / total:5.1f} %")
    print(f"    the rest (export, protocol, channel, platform, level checks): {(total - trace) / calls:5.0f}"
          f"  {100.0 * (total - trace) / total:5.1f} %")
    print(f"  trace off: {total_off / calls:9.0f} Ir per call; level 4 less trace off: "
          f"{(total - total_off) / calls:.0f} ({100.0 * (total - total_off) / total:.1f} %)")

if __name__ == "__main__":
    main()
