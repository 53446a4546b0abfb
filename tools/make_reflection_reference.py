#!/usr/bin/python3
"""Writes tests/data/reflection_reference.txt: symmetry facts of reflections
computed with cctbx, for the tests of the reflection expansion.

For each space group the file gives the symmetry operators (rotation rows and
translation reduced to [0, 1)), the fractionalisation matrix of a cell that
fits the group, and for every reflection of a small index box: whether it is
systematically absent, the number of distinct equivalents after Friedel mates
were added where the group lacks an inversion, the stabiliser order
(operators mapping the reflection onto itself), 1/d, and for allowed
reflections every equivalent with its phase shift h.t in cycles and the sign
factor (-1 for a Friedel mate that symmetry does not give).

Format, one record per line, blank-separated:
  group <label> <centric 0|1> <number of operators> <group number> <setting number>
  op r11 r12 r13 r21 r22 r23 r31 r32 r33 t1 t2 t3
  frac f11 f12 f13 f21 f22 f23 f31 f32 f33
  refl h k l <absent> <items> <stabiliser order> <1/d>
  eq h k l <phase> <sign>
  end
"""
import itertools
import os
import sys

from cctbx import miller, sgtbx, uctbx

GROUPS = [
    # label, symbol, cell, and the group and setting numbers of the program's tables
    ("P121/c1", "P 1 21/c 1", (5.1, 6.3, 7.2, 90, 103.5, 90), 14, 1),
    ("P63mc", "P 63 m c", (4.2, 4.2, 6.9, 90, 90, 120), 186, 1),
    ("P3221", "P 32 2 1", (4.9, 4.9, 5.4, 90, 90, 120), 154, 1),
    ("Fd-3m:2", "F d -3 m :2", (8.4, 8.4, 8.4, 90, 90, 90), 227, 2),
    ("R3c:H", "R 3 c :H", (5.0, 5.0, 13.7, 90, 90, 120), 161, 1),
]

BOX = [range(0, 3), range(-2, 3), range(-2, 3)]


def fractional(x):
    return x - int(x // 1)


def write_group(out, label, symbol, cell, number, setting):
    info = sgtbx.space_group_info(symbol)
    group = info.group()
    ops = group.all_ops()
    centric = 1 if group.is_centric() else 0
    friedel = 1 - centric
    assert info.type().number() == number
    out.write("group %s %d %d %d %d\n" % (label, centric, len(ops), number, setting))
    for op in ops:
        r = op.r().as_double()
        t = [fractional(v) for v in op.t().as_double()]
        out.write("op %s %s\n" % (" ".join("%d" % v for v in r),
                                   " ".join(repr(v) for v in t)))
    uc = uctbx.unit_cell(cell)
    assert group.is_compatible_unit_cell(uc)
    out.write("frac %s\n" % " ".join(repr(v) for v in uc.fractionalization_matrix()))
    for h in itertools.product(*BOX):
        if h == (0, 0, 0):
            continue
        equiv = miller.sym_equiv_indices(group, h)
        absent = 1 if group.is_sys_absent(h) else 0
        distinct = equiv.multiplicity(True)
        # With Friedel mates added, h and -h both count.
        items = equiv.multiplicity(not friedel)
        stabiliser = group.order_z() // distinct
        out.write("refl %d %d %d %d %d %d %r\n"
                  % (h + (absent, items, stabiliser, 1.0 / uc.d(h))))
        if absent:
            continue
        seen = {}
        for e in equiv.indices():
            hr = e.hr()
            if hr not in seen:
                seen[hr] = fractional(e.ht() / e.t_den())
        rows = [(hr, p, 1) for hr, p in seen.items()]
        if friedel:
            for hr, p in list(seen.items()):
                minus = tuple(-v for v in hr)
                if minus not in seen:
                    rows.append((minus, fractional(-p), -1))
        assert len(rows) == items, (h, len(rows), items)
        for hr, p, sign in rows:
            out.write("eq %d %d %d %r %d\n" % (hr + (p, sign)))
    out.write("end\n")


def main():
    root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
    path = sys.argv[1] if len(sys.argv) > 1 else os.path.join(
        root, "tests", "data", "reflection_reference.txt")
    with open(path, "w") as out:
        out.write("# Symmetry facts of reflections, computed with cctbx by "
                  "tools/make_reflection_reference.py.\n")
        for group in GROUPS:
            write_group(out, *group)


if __name__ == "__main__":
    main()
