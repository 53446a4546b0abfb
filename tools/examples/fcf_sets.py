"""The refinement-output test files of Halvorin (tests/data/fcf/).

Each file is written in one style of tools/examples/fcf_file.py from one model
of examples/models.py, with a facts file that states what the program must
find: the setting the operator loop stands for, the operator count, F(000), and
the observed and weak reflection counts.  Two sets also get a .mem twin with
the same data (observed rows as F lines, weak rows as listed-only lines), so
that both readers can be compared; one set is written in an origin-shifted
setting that no table holds, with the shift in its facts.
"""

import cmath
import os
from typing import List, Tuple

import numpy
from cctbx import miller, sgtbx
from cctbx.array_family import flex

from .condition_file import prf_text
from .fcf_file import FcfRow, FcfStyle, fcf_text, read_back, split_counts
from .grid import choose_grid
from .mem_file import mem_text
from .models import RUTILE, ZNO, ZRO2, Example
from .structure_factors import ModelData, build_structure, compute, f000_split, model_reflections

# Origin of the shifted zirconia set, in the coordinates of the standard one.
ZRO2_SHIFT = (0.25, 0.0, 0.0)


def _operators(structure) -> List[str]:
    return [", ".join(op.as_xyz().split(",")) for op in structure.space_group().all_ops()]


def _rows_f(data: ModelData) -> List[FcfRow]:
    """F and su(F) of the example's own noisy data, beside the model."""
    return [FcfRow(r.hkl, r.f_model, abs(r.f_obs), r.sigma) for r in data.individual]


def _rows_f2(structure, d_min: float, floor: float, seed: int, friedel: bool) -> List[FcfRow]:
    """F^2 with su(F^2) = hypot(floor, 0.02 F^2) and normal noise, so weak reflections can go negative."""
    rng = numpy.random.RandomState(seed)
    rows = []
    for r in model_reflections(structure, d_min):
        mates = [(r.hkl, r.f_model)]
        if friedel:
            mates.append((tuple(-i for i in r.hkl), r.f_model.conjugate()))
        for hkl, f in mates:
            f2 = abs(f) ** 2
            sigma = float(numpy.hypot(floor, 0.02 * f2))
            rows.append(FcfRow(hkl, f, f2 + sigma * rng.standard_normal(), sigma))
    return rows


def _facts(symbol: str, number: int, setting: int, n_ops: int, f000: float, counts: Tuple[int, int],
           extra: str = "") -> str:
    return (f"space_group_symbol {symbol}\nspace_group_number {number}\nsetting {setting}\n"
            f"n_sym_op {n_ops}\nf000 {f000:.2f}\nnref_f {counts[0]}\nnref_e {counts[1]}\n{extra}")


def _mem_twin(example: Example, data: ModelData, text: str, style: FcfStyle) -> str:
    """The same reflections as a .mem data set: observed ones as F lines, weak ones listed only."""
    weak = [3.0 * sigma > fo for fo, sigma, _ in read_back(text, style)]
    split = ModelData(crystal_symmetry=data.crystal_symmetry, f000_plus=data.f000_plus, f000_minus=0.0,
                      individual=[r for r, w in zip(data.individual, weak) if not w], groups=[],
                      calculated_only=[r for r, w in zip(data.individual, weak) if w])
    return mem_text(example, split, choose_grid(data.crystal_symmetry, example.grid_step))


def _shifted_rows(structure, data: ModelData) -> Tuple[object, List[FcfRow]]:
    """The zirconia set with its origin moved; cctbx recomputes the model there.

    F'(h) = F(h) exp(2 pi i h.t) is checked, the relation the end-to-end test
    uses to compare the analysis in both settings.
    """
    t = ZRO2_SHIFT
    cb = sgtbx.change_of_basis_op(f"x+{t[0]},y+{t[1]},z+{t[2]}")
    shifted = structure.change_basis(cb)
    indices = miller.set(shifted.crystal_symmetry(), flex.miller_index([r.hkl for r in data.individual]),
                         anomalous_flag=False)
    f_calc = indices.structure_factors_from_scatterers(shifted, algorithm="direct").f_calc()
    f_by_hkl = {tuple(h): complex(f) for h, f in zip(f_calc.indices(), f_calc.data())}
    rows = []
    for r in data.individual:
        f = f_by_hkl[r.hkl]
        expected = r.f_model * cmath.exp(2j * cmath.pi * sum(a * b for a, b in zip(r.hkl, t)))
        if abs(f - expected) > 1e-6 * max(1.0, abs(f)):
            raise ValueError(f"origin shift: F{r.hkl} is {f}, expected {expected}")
        rows.append(FcfRow(r.hkl, f, abs(r.f_obs), r.sigma))
    return shifted, rows


def write_fcf_sets(directory: str) -> List[str]:
    os.makedirs(directory, exist_ok=True)
    written = []

    def write(name: str, text: str) -> None:
        with open(os.path.join(directory, name), "w", encoding="ascii", newline="") as out:
            out.write(text)
        written.append(name)

    def one(example, structure, style, rows, symbol, setting, f000, extra="", twin_data=None):
        text = fcf_text(example, style, f000, _operators(structure), rows, seed=len(rows))
        write(f"{style.name}.fcf", text)
        counts = split_counts(text, style)
        number = structure.space_group_info().type().number()
        write(f"{style.name}.facts", _facts(symbol, number, setting, structure.space_group().order_z(),
                                            f000, counts, extra))
        if twin_data is not None:
            write(f"{style.name}.mem", _mem_twin(example, twin_data, text, style))
        return counts

    # Zirconia: F and phase, the id column, cell su; a .mem twin; the shifted set.
    zro2 = build_structure(ZRO2)
    zro2_data = compute(ZRO2)
    f000 = f000_split(zro2)[0]
    one(ZRO2, zro2, FcfStyle("zro2", phase=True, with_id=True,
                             cell_su=("5.1507(3)", "5.2028(3)", "5.3156(4)", "90", "99.194(5)", "90")),
        _rows_f(zro2_data), "P 21/c", 1, f000, twin_data=zro2_data)
    shifted, rows = _shifted_rows(zro2, zro2_data)
    one(ZRO2, shifted, FcfStyle("zro2_shifted", dictionary="space_group", with_id=True, quoted=False),
        rows, "Custom", 1, f000, extra="origin_shift {} {} {}\n".format(*ZRO2_SHIFT))

    # Zinc oxide: F with A and B in a shuffled operator loop with repeats, and a .mem twin;
    # F^2 with A and B and Friedel mates listed separately, CR LF line ends.
    zno = build_structure(ZNO)
    zno_data = compute(ZNO)
    f000 = f000_split(zno)[0]
    one(ZNO, zno, FcfStyle("zno", dictionary="space_group", with_id=True, shuffled=True),
        _rows_f(zno_data), "P 63 m c", 1, f000, twin_data=zno_data)
    one(ZNO, zno, FcfStyle("zno_friedel", squared=True, dictionary="space_group", crlf=True),
        _rows_f2(zno, 0.6, 0.5, 1969, friedel=True), "P 63 m c", 1, f000)

    # Rutile: F^2 with |Fc| and phase, as a refinement program's list file:
    # no id column, two data blocks, negative and tiny F^2.
    rutile = build_structure(RUTILE)
    f000 = f000_split(rutile)[0]
    one(RUTILE, rutile, FcfStyle("rutile_list", squared=True, phase=True, two_blocks=True,
                                 cell_su=("4.5937(2)", "4.5937(2)", "2.9587(1)", "90", "90", "90")),
        _rows_f2(rutile, 0.5, 1.0, 1971, friedel=False), "P 42/m n m", 1, f000)

    # Runs zro2.fcf; the tests point it at the other files.
    write("fcf.prf", prf_text(ZRO2, False, data_file="zro2.fcf", lm_type=0, resolution=0.25))
    return written
