"""Writer of the positional MEM data set (.mem).

The reader takes logical lines in a fixed order and skips blank lines and lines
whose first non-blank character is '#', anywhere in the file.  So every logical
line below is written on its own line, comments explain the blocks, and no
logical line may itself start with '#'.  Lines stay well below the reader's
limit of 119 characters.
"""

from typing import List

from .models import Example
from .structure_factors import ModelData, OverlapGroup, Reflection

TITLE_LIMIT = 79


def number(value: float, decimals: int) -> str:
    """Fixed-point text without a negative zero, so that a real F never shows '-0.00000'."""
    text = f"{value:.{decimals}f}"
    return text[1:] if text.startswith("-") and float(text) == 0.0 else text


def _f_line(reflection: Reflection) -> str:
    h, k, l = reflection.hkl
    return (f"{h:4d}{k:4d}{l:4d} {number(reflection.f_obs.real, 5):>12} "
            f"{number(reflection.f_obs.imag, 5):>12} {number(reflection.sigma, 5):>10}")


def _group_lines(group: OverlapGroup) -> List[str]:
    # The first member carries the common magnitude and its sigma; the others only indices.
    lines = [f"{len(group.members)}"]
    for position, member in enumerate(group.members):
        h, k, l = member.hkl
        line = f"{h:4d}{k:4d}{l:4d}"
        if position == 0:
            line += f" {number(group.g_obs, 5):>12} {number(group.sigma, 5):>10}"
        lines.append(line)
    return lines


def _e_line(reflection: Reflection) -> str:
    h, k, l = reflection.hkl
    return f"{h:4d}{k:4d}{l:4d}"


def mem_text(example: Example, data: ModelData, grid) -> str:
    if len(example.title) > TITLE_LIMIT or example.title.lstrip().startswith("#"):
        raise ValueError(f"{example.name}: the title must be a plain line of at most {TITLE_LIMIT} characters")
    a, b, c, alpha, beta, gamma = example.cell
    lines = [
        f"# Example data set '{example.name}' of Halvorin, written by tools/make_examples.py.",
        "# Structure factors of an independent-atom model with noise; see examples/README.md.",
        "# Title",
        example.title,
        "# a b c (angstrom), alpha beta gamma (degrees)",
        f"{a:.5f} {b:.5f} {c:.5f} {alpha:.4f} {beta:.4f} {gamma:.4f}",
        "# Space-group symbol (for the reader of this file; the program takes the numbers below)",
        example.space_group,
        "# Space-group number, setting number, voxels along a, b, c",
        f"{data.crystal_symmetry.space_group_info().type().number()} {example.setting} "
        f"{grid[0]} {grid[1]} {grid[2]}",
    ]
    if data.has_negative_density:
        lines += ["# F(000) of the positive and of the negative density (fm), starting lambda",
                  f"{number(data.f000_plus, 4)} {number(data.f000_minus, 4)} {example.lambda0:g}"]
    else:
        unit = "fm" if example.radiation == "neutron" else "electrons"
        lines += [f"# F(000) ({unit} in the cell), starting lambda",
                  f"{number(data.f000_plus, 4)} {example.lambda0:g}"]
    lines += ["# Number of individual reflections; then h k l, Re F, Im F, sigma(F)",
              f"{len(data.individual)}"]
    lines += [_f_line(r) for r in data.individual]
    lines += ["# Number of overlap groups; each: member count, then h k l G sigma(G) for the",
              "# first member and h k l for the others",
              f"{len(data.groups)}"]
    for group in data.groups:
        lines += _group_lines(group)
    lines += ["# Number of reflections that are only calculated; then h k l",
              f"{len(data.calculated_only)}"]
    lines += [_e_line(r) for r in data.calculated_only]
    return "\n".join(lines) + "\n"
