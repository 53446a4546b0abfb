"""Writer of CIF reflection files (.fcf) as structure refinement programs write them.

A refinement program lists, for every measured reflection, the measured
magnitude (as F or as F squared, each with its su) beside the structure factor
of the refined model (as A and B, or as |Fc| and its phase in degrees), after
the cell, F(000) and the symmetry operators.  The styles below cover the
variants found in such files: both symmetry dictionaries with and without an id
column, quoted operators, operator loops in any order with repeats, CR LF line
ends, several data blocks, Friedel mates listed separately.

The split of the rows into observed and weak ones (three su) is computed here
from the values as written, so that the facts file states what a reader must
find independently of the program.
"""

import math
import random
from dataclasses import dataclass, field
from typing import List, Sequence, Tuple

from .mem_file import number
from .models import Example

Index = Tuple[int, int, int]


@dataclass
class FcfRow:
    hkl: Index
    f_model: complex     # structure factor of the refined model
    measured: float      # F, or F squared (may be negative)
    sigma: float         # su of the measured value


@dataclass(frozen=True)
class FcfStyle:
    name: str
    squared: bool = False           # F^2 and su(F^2) rather than F and su(F)
    phase: bool = False             # |Fc| and phase rather than A and B
    dictionary: str = "symmetry"    # "symmetry" (_symmetry_equiv_pos) or "space_group" (_space_group_symop)
    with_id: bool = False
    quoted: bool = True
    shuffled: bool = False          # operators in another order, some twice
    crlf: bool = False
    two_blocks: bool = False        # cell and symmetry in one data block, reflections in a second
    cell_su: Tuple[str, ...] = field(default=())  # cell values as written, su in parentheses


def _cell_lines(example: Example, style: FcfStyle) -> List[str]:
    names = ("_cell_length_a", "_cell_length_b", "_cell_length_c",
             "_cell_angle_alpha", "_cell_angle_beta", "_cell_angle_gamma")
    values = style.cell_su or tuple(f"{v:.5f}" for v in example.cell)
    return [f"{name:<27} {value}" for name, value in zip(names, values)]


def _symmetry_lines(operators: Sequence[str], style: FcfStyle, seed: int) -> List[str]:
    ops = list(operators)
    if style.shuffled:
        rng = random.Random(seed)
        ops = ops + rng.sample(ops, max(1, len(ops) // 3))
        rng.shuffle(ops)
    if style.dictionary == "symmetry":
        tags = ["_symmetry_equiv_pos_site_id", "_symmetry_equiv_pos_as_xyz"]
    else:
        tags = ["_space_group_symop_id", "_space_group_symop_operation_xyz"]
    if not style.with_id:
        tags = tags[1:]
    lines = ["loop_"] + [f" {tag}" for tag in tags]
    for i, op in enumerate(ops):
        text = f"'{op}'" if style.quoted else op.replace(" ", "")
        lines.append(f" {i + 1} {text}" if style.with_id else f" {text}")
    return lines


def _reflection_tags(style: FcfStyle) -> List[str]:
    tags = ["_refln_index_h", "_refln_index_k", "_refln_index_l"]
    tags += (["_refln_F_squared_meas", "_refln_F_squared_sigma"] if style.squared
             else ["_refln_F_meas", "_refln_F_sigma"])
    tags += ["_refln_F_calc", "_refln_phase_calc"] if style.phase else ["_refln_A_calc", "_refln_B_calc"]
    return tags


def _row_text(row: FcfRow, style: FcfStyle) -> str:
    h, k, l = row.hkl
    first = f"{h:4d}{k:4d}{l:4d} {number(row.measured, 5):>12} {number(row.sigma, 5):>10}"
    if style.phase:
        magnitude = abs(row.f_model)
        angle = math.degrees(math.atan2(row.f_model.imag, row.f_model.real)) if magnitude > 0 else 0.0
        return f"{first} {number(magnitude, 5):>11} {number(angle, 4):>9}"
    return f"{first} {number(row.f_model.real, 5):>11} {number(row.f_model.imag, 5):>11}"


def fcf_text(example: Example, style: FcfStyle, f000: float, operators: Sequence[str],
             rows: Sequence[FcfRow], seed: int = 0) -> str:
    head = [f"data_{style.name}", "",
            "# Written by tools/make_examples.py from an independent-atom model with noise.",
            f"_exptl_crystal_F_000 {number(f000, 2)}", ""]
    head += _cell_lines(example, style) + [""]
    head += _symmetry_lines(operators, style, seed) + [""]
    if style.two_blocks:
        head += [f"data_{style.name}_hkl", ""]
    lines = head + ["loop_"] + [f" {tag}" for tag in _reflection_tags(style)]
    lines += [_row_text(row, style) for row in rows]
    end = "\r\n" if style.crlf else "\n"
    return end.join(lines) + end


def read_back(text: str, style: FcfStyle) -> List[Tuple[float, float, float]]:
    """(Fo, sigma, Fc) of each row after the column transformations, from the text as written."""
    values = []
    for line in text.splitlines():
        fields = line.split()
        if len(fields) != 7 or not fields[0].lstrip("-").isdigit():
            continue
        fo, sigma, third, fourth = (float(x) for x in fields[3:7])
        fc = third if style.phase else math.hypot(third, fourth)
        if style.squared:
            sigma_f2 = sigma
            fo = math.sqrt(fo) if fo > 0 else 0.0
            sigma = sigma_f2 / (fo * math.sqrt(2.0)) if fo > 0 else sigma_f2
        if fo == 0.0 and style.phase:
            sigma /= fc * math.sqrt(2.0)
        values.append((fo, sigma, fc))
    return values


def split_counts(text: str, style: FcfStyle) -> Tuple[int, int]:
    """Observed and weak rows: weak when three su exceed the magnitude."""
    weak = sum(1 for fo, sigma, _ in read_back(text, style) if 3.0 * sigma > fo)
    total = len(read_back(text, style))
    return total - weak, weak
