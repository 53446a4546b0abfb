"""Writers of the other data set formats (.fos, .BayMEM, .ffo) for one model.

Each file carries the same structure as the .mem file of the model, with
uncertainties that give the same weight wherever the format can express it:

    .fos     k = 1 with sigma(k) = 0, and the counts Io = |F|^2 / (4 sigma^2),
             so that the reader's sigma^2(F) = |F|^2 / (4 Io) is sigma^2;
    .BayMEM  sigma as it stands; symmetry as lattice translations times the
             primitive operators, or as a symbol;
    .ffo     a real F only (the phases of a non-centrosymmetric model are
             lost), with X = F / (4 sigma^2), so that the weight 4 X / F is
             1 / sigma^2. Cell, symmetry and grid come from elsewhere. Or
             |F|^2 with its uncertainty, for a Patterson analysis.
"""

from fractions import Fraction
from typing import List

from .mem_file import number
from .models import Example
from .structure_factors import ModelData


def _component(row, shift: float, names) -> str:
    text = ""
    for coefficient, name in zip(row, names):
        if coefficient:
            text += ("+" if coefficient > 0 else "-") + ("" if abs(coefficient) == 1 else f"{abs(coefficient)}*") + name
    fraction = Fraction(shift).limit_denominator(12)
    if fraction:
        text += f"+{fraction}" if fraction > 0 else f"{fraction}"
    return text.lstrip("+") or "0"


def operator_text(op, names=("x1", "x2", "x3")) -> str:
    """An operator of cctbx as comma-separated components in the given names."""
    r = [int(v) for v in op.r().as_double()]
    t = op.t().as_double()
    return ",".join(_component(r[3 * i:3 * i + 3], t[i], names) for i in range(3))


def _header_cell(example: Example) -> str:
    a, b, c, alpha, beta, gamma = example.cell
    return f"{a:.5f} {b:.5f} {c:.5f} {alpha:.4f} {beta:.4f} {gamma:.4f}"


def fos_text(example: Example, data: ModelData, grid) -> str:
    number_of_group = data.crystal_symmetry.space_group_info().type().number()
    lines = [f"# '{example.name}' as a .fos data set, written by tools/make_reader_data.py.",
             example.title, _header_cell(example), example.space_group,
             f"{grid[0]} {grid[1]} {grid[2]} {number_of_group} {example.setting} P",
             "# scale factor and its uncertainty",
             "1.0 0.0",
             f"{number(data.f000_plus, 4)} {number(data.f000_minus, 4)} {example.lambda0:g}",
             f"{len(data.individual)}"]
    for r in data.individual:
        modulus = abs(r.f_obs)
        counts = modulus ** 2 / (4.0 * r.sigma ** 2)
        h, k, l = r.hkl
        lines.append(f"{h:4d}{k:4d}{l:4d} {number(r.f_obs.real, 5):>12} {number(r.f_obs.imag, 5):>12} "
                     f"{modulus:12.5f} {counts:.8e}")
    lines += ["0", "0"]
    return "\n".join(lines) + "\n"


def baymem_text(example: Example, data: ModelData, grid, by_symbol: bool) -> str:
    group = data.crystal_symmetry.space_group()
    a, b, c, alpha, beta, gamma = example.cell
    lines = [f"# '{example.name}' as a .BayMEM data set, written by tools/make_reader_data.py.",
             f"title {example.name}", "dimension 3",
             f"cell {a:.5f} {b:.5f} {c:.5f} {alpha:.4f} {beta:.4f} {gamma:.4f}",
             f"voxel {grid[0]} {grid[1]} {grid[2]}"]
    if by_symbol:
        lines.append("spacegroup " + example.space_group.replace(" ", ""))
    else:
        lines.append("centers")
        lines += [" ".join(f"{v:.10f}" for v in op.t().as_double())
                  for op in group.all_ops() if op.r().is_unit_mx()]
        lines.append("endcenters")
        lines.append("symmetry")
        lines += [operator_text(group(i)) for i in range(group.order_p())]
        lines.append("endsymmetry")
    lines.append(f"electrons {number(data.f000_plus, 4)}")
    lines.append("fbegin")
    for r in data.individual:
        h, k, l = r.hkl
        lines.append(f"{h:4d}{k:4d}{l:4d} {number(r.f_obs.real, 5):>12} {number(r.f_obs.imag, 5):>12} "
                     f"{number(r.sigma, 5):>10}")
    lines.append("endf")
    return "\n".join(lines) + "\n"


def ffo_text(example: Example, data: ModelData, squared: bool = False) -> str:
    """With `squared`, the list holds |F|^2 with sigma(|F|^2) = 2 |F| sigma: the
    coefficients of a Patterson function."""
    lines = [f"< '{example.name}' as an .ffo list, written by tools/make_reader_data.py:",
             "<   h   k   l        d            F   ...            X"]
    for r in data.individual:
        h, k, l = r.hkl
        f = r.f_obs.real if r.f_obs.imag == 0.0 else abs(r.f_obs)
        x = f / (4.0 * r.sigma ** 2)
        if squared:
            f, x = abs(r.f_obs) ** 2, 1.0 / (16.0 * r.sigma ** 2)
        lines.append(f"{h:4d}{k:4d}{l:4d} {r.d:8.5f} {f:12.5f} 0 0 0 0 {x:.8e}")
    return "\n".join(lines) + "\n"
