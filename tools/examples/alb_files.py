"""The Alb route: control files, and independent references for its tests.

hkl0_reference lists what the program must generate for a data set: the
reflections of the index box |h_c| <= n_c/2 - 1 (h >= 0) that are unique in
the Patterson symmetry, each as the first triple met when h, then k, then l
run downward, split into those the true group forbids and those that neither
it forbids nor the data hold. cctbx's own Patterson group and systematic
absences decide; the program's tables play no part.
"""

from cctbx import miller
from cctbx.eltbx import tiny_pse, xray_scattering


def alb_text(title: str, cell, number: int, setting: int, grid, data_file: str, f000: float,
             cycles: int) -> str:
    a, b, c, alpha, beta, gamma = cell
    return "\n".join([
        "# Alb control file written by tools/make_reader_data.py",
        title,
        f"{a:.5f} {b:.5f} {c:.5f} {alpha:.4f} {beta:.4f} {gamma:.4f}",
        f"{number} {setting} {grid[0]} {grid[1]} {grid[2]}",
        "free line",
        "0",
        f"0 {f000:.4f} 0",
        data_file,
        "0.71073",
        "F",
        "0.01",
        "1.0",
        "free", "free", "free",
        f"{cycles}",
    ]) + "\n"


def _visiting_order(hmax):
    for h in range(hmax[0], -1, -1):
        for k in range(hmax[1], -hmax[1] - 1, -1):
            for l in range(hmax[2], -hmax[2] - 1, -1):
                yield (h, k, l)


def hkl0_reference(name: str, symmetry, grid, data_indices) -> list:
    """Lines 'name run h k l d*' for the forbidden (run 1) and added (run 4) reflections."""
    group = symmetry.space_group()
    patterson = group.build_derived_patterson_group()
    hmax = [max(n // 2 - 1, 0) for n in grid]
    inside = lambda x: all(abs(x[c]) <= hmax[c] for c in range(3))
    seen, unique = set(), []
    for hkl in _visiting_order(hmax):
        if hkl in seen or hkl == (0, 0, 0):
            continue
        orbit = [e.h() for e in miller.sym_equiv_indices(patterson, hkl).indices()]
        seen.update(x for x in orbit if inside(x))
        if not patterson.is_sys_absent(hkl):
            unique.append(hkl)
    data = set(data_indices)
    cell = symmetry.unit_cell()
    lines = []
    for hkl in unique:
        forbidden = group.is_sys_absent(hkl)
        orbit = {e.h() for e in miller.sym_equiv_indices(patterson, hkl).indices()}
        orbit |= {(-h, -k, -l) for h, k, l in orbit}
        if forbidden or not (orbit & data):
            run = 1 if forbidden else 4
            lines.append(f"{name} {run} {hkl[0]} {hkl[1]} {hkl[2]} {cell.d_star_sq(hkl) ** 0.5:.10f}")
    return lines


def form_factor_reference() -> list:
    """'symbol Z f(0) f(0.5)' of the five-Gaussian fit of every neutral atom cctbx tabulates."""
    lines = []
    for entry in xray_scattering.wk1995_iterator():
        label = entry.label()
        if not (label.isalpha() and len(label) <= 2):
            continue
        f = entry.fetch()
        z = tiny_pse.table(label).atomic_number()
        lines.append(f"{label} {z} {f.at_stol(0.0):.6f} {f.at_stol(0.5):.6f}")
    return lines
