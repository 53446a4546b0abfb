"""Checks of a written example before it is accepted.

The .mem text is read back by the rules the program's reader follows (logical
lines, comments skipped anywhere, counted blocks), and the reflections read back
are Fourier-summed with cctbx: the map must peak on the atoms of the model, with
the sign of each atom's scattering power.  That catches a wrong index order, a
wrong phase convention or a mangled block, which the counts alone would not.
"""

from dataclasses import dataclass, field
from typing import List, Tuple

from cctbx import miller
from cctbx.array_family import flex

from .models import Example
from .structure_factors import ModelData, build_structure


@dataclass
class ReadBack:
    title: str = ""
    cell: Tuple[float, ...] = ()
    header: Tuple[int, ...] = ()          # space group, setting, grid
    totals: Tuple[float, ...] = ()        # F000 (and negative total) and lambda
    f_lines: List[Tuple[Tuple[int, int, int], complex, float]] = field(default_factory=list)
    groups: List[List[Tuple[int, int, int]]] = field(default_factory=list)
    g_values: List[Tuple[float, float]] = field(default_factory=list)
    e_lines: List[Tuple[int, int, int]] = field(default_factory=list)


def _logical_lines(text: str):
    for line in text.splitlines():
        words = line.split()
        if words and not words[0].startswith("#"):
            yield line


def _hkl(words) -> Tuple[int, int, int]:
    return tuple(int(w) for w in words[:3])


def read_back(text: str) -> ReadBack:
    lines = _logical_lines(text)
    result = ReadBack()
    result.title = next(lines)
    result.cell = tuple(float(w) for w in next(lines).split())
    next(lines)  # free text
    result.header = tuple(int(w) for w in next(lines).split())
    result.totals = tuple(float(w) for w in next(lines).split())
    for _ in range(int(next(lines))):
        words = next(lines).split()
        result.f_lines.append((_hkl(words), complex(float(words[3]), float(words[4])), float(words[5])))
    for _ in range(int(next(lines))):
        members = []
        for position in range(int(next(lines))):
            words = next(lines).split()
            members.append(_hkl(words))
            if position == 0:
                result.g_values.append((float(words[3]), float(words[4])))
        result.groups.append(members)
    for _ in range(int(next(lines))):
        result.e_lines.append(_hkl(next(lines).split()))
    if next(lines, None) is not None:
        raise ValueError("text after the last block")
    return result


def _require(condition: bool, what: str) -> None:
    if not condition:
        raise ValueError(what)


def check_read_back(example: Example, data: ModelData, grid, text: str) -> ReadBack:
    back = read_back(text)
    _require(back.title == example.title, "title")
    _require(back.header[2:] == tuple(grid), "grid")
    _require(len(back.f_lines) == len(data.individual), "count of F lines")
    _require(len(back.groups) == len(data.groups), "count of groups")
    _require(len(back.e_lines) == len(data.calculated_only), "count of E lines")
    expected_totals = 3 if data.has_negative_density else 2
    _require(len(back.totals) == expected_totals, "values on the F(000) line")
    for (hkl, f, sigma), reflection in zip(back.f_lines, data.individual):
        _require(hkl == reflection.hkl, f"indices {hkl}")
        _require(abs(f - reflection.f_obs) < 1e-5 and abs(sigma - reflection.sigma) < 1e-5, f"values of {hkl}")
    for members, (g, sigma), group in zip(back.groups, back.g_values, data.groups):
        _require(members == [m.hkl for m in group.members], f"members of the group of {members[0]}")
        _require(abs(g - group.g_obs) < 1e-5 and abs(sigma - group.sigma) < 1e-5, f"G of {members[0]}")
    return back


def _fourier_map(data: ModelData, back: ReadBack):
    symmetry = data.crystal_symmetry
    indices = flex.miller_index([hkl for hkl, _, _ in back.f_lines])
    values = flex.complex_double([f for _, f, _ in back.f_lines])
    array = miller.array(miller.set(symmetry, indices, anomalous_flag=False), values)
    f000 = data.f000_plus + data.f000_minus
    fft_map = array.fft_map(resolution_factor=1.0 / 3.0, f_000=f000)
    fft_map.apply_volume_scaling()
    return fft_map.real_map_unpadded()


def check_density(example: Example, data: ModelData, back: ReadBack) -> None:
    """Every atom must stand out in the map of the written data with the sign of its scattering."""
    density = _fourier_map(data, back)
    structure = build_structure(example)
    registry = structure.scattering_type_registry()
    spread = max(abs(v) for v in density)
    for scatterer in structure.scatterers():
        value = density.eight_point_interpolation(scatterer.site)
        power = registry.gaussian(scatterer.scattering_type).at_stol(0.0)
        _require(value * power > 0.0, f"{scatterer.label}: density of the wrong sign")
        # Oxygen beside a heavy cation reaches some 15 % of the highest peak;
        # anywhere away from the atoms the map stays near 1 %.
        _require(abs(value) > 0.1 * spread, f"{scatterer.label}: no peak at the atom")
