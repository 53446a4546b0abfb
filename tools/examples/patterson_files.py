"""The Patterson route: squared amplitudes of a non-symmorphic crystal, and references.

Rutile (P 42/m n m: a 4_2 screw axis and an n glide) at 0.8 angstrom, as a
refinement program would list it for intensities: F^2 with an uncertainty
sqrt(5^2 + (0.03 F^2)^2) and noise of that size. The same numbers go into a
.mep data set (weak reflections, F^2 < 3 su, in its list of reflections that
are only calculated) and into a LIST 4 style .fcf (h k l Fc^2 Fo^2 su status,
no F(000), no phases) that an .alb control file names. The references are two
maps on the analysis grid, made with cctbx alone: the Patterson function of
the model (all |F|^2 of the grid's index box) and the Fourier synthesis of the
data themselves (F(000)^2 and the observed F^2).
"""

import dataclasses
import math

import numpy
from cctbx import miller
from cctbx.array_family import flex

from .grid import choose_grid
from .models import RUTILE
from .reader_files import operator_text
from .structure_factors import build_structure, f000_split, model_reflections

EXAMPLE = dataclasses.replace(RUTILE, name="rutile_patterson", d_min=0.8, e_shell_d_min=0.0,
                              grid_step=0.25)
LAMBDA0 = 0.01
CYCLES = 3000


@dataclasses.dataclass
class PattersonData:
    structure: object
    grid: tuple
    total: float          # F(000)^2
    rows: list            # (hkl, Fc^2, Fo^2, su)

    def observed(self):
        return [r for r in self.rows if r[2] >= 3.0 * r[3]]

    def weak(self):
        return [r for r in self.rows if r[2] < 3.0 * r[3]]


def compute() -> PattersonData:
    structure = build_structure(EXAMPLE)
    plus, _ = f000_split(structure)
    rng = numpy.random.RandomState(1971)
    rows = []
    for r in model_reflections(structure, EXAMPLE.d_min):
        square = abs(r.f_model) ** 2
        su = math.hypot(5.0, 0.03 * square)
        rows.append((r.hkl, square, round(square + su * rng.standard_normal(), 2), round(su, 2)))
    return PattersonData(structure, choose_grid(structure.crystal_symmetry(), EXAMPLE.grid_step),
                         plus ** 2, rows)


def _cell_line() -> str:
    return " ".join(f"{v:.4f}" for v in EXAMPLE.cell)


def mep_text(data: PattersonData) -> str:
    n = data.grid
    lines = ["# Squared amplitudes of rutile as a .mep data set, written by tools/make_patterson_data.py.",
             "Rutile TiO2, F squared (no phases), generated", _cell_line(), EXAMPLE.space_group,
             f"136 1 {n[0]} {n[1]} {n[2]}", "# F(000) squared, starting lambda",
             f"{data.total:.4f} {LAMBDA0:g}", f"{len(data.observed())}"]
    lines += [f"{h:4d}{k:4d}{l:4d} {fo:10.2f} 0 {su:8.2f}" for (h, k, l), _, fo, su in data.observed()]
    lines += ["0", f"{len(data.weak())}"]
    lines += [f"{h:4d}{k:4d}{l:4d}" for (h, k, l), _, _, _ in data.weak()]
    return "\n".join(lines) + "\n"


def fcf_text(data: PattersonData) -> str:
    a, b, c, alpha, beta, gamma = EXAMPLE.cell
    group = data.structure.space_group()
    lines = ["data_rutile_patterson", "_shelx_refln_list_code 4",
             f"_cell_length_a {a:.4f}", f"_cell_length_b {b:.4f}", f"_cell_length_c {c:.4f}",
             f"_cell_angle_alpha {alpha:.4f}", f"_cell_angle_beta {beta:.4f}",
             f"_cell_angle_gamma {gamma:.4f}", "loop_", " _space_group_symop_operation_xyz"]
    lines += [f" '{operator_text(op, ('x', 'y', 'z'))}'" for op in group.all_ops()]
    lines += ["loop_", " _refln_index_h", " _refln_index_k", " _refln_index_l",
              " _refln_F_squared_calc", " _refln_F_squared_meas", " _refln_F_squared_sigma",
              " _refln_observed_status"]
    lines += [f"{h:4d}{k:4d}{l:4d} {fc:10.2f} {fo:10.2f} {su:8.2f} o" for (h, k, l), fc, fo, su in data.rows]
    return "\n".join(lines) + "\n"


def alb_text(data: PattersonData, fcf_name: str) -> str:
    n = data.grid
    return "\n".join(["# Alb control file written by tools/make_patterson_data.py",
                      "Rutile TiO2, F squared (no phases), generated", _cell_line(),
                      f"136 1 {n[0]} {n[1]} {n[2]}", "free line", "0", f"0 {data.total:.4f} 0",
                      fcf_name, "0.71073", "F^2", f"{LAMBDA0:g}", "1.0", "free", "free", "free",
                      f"{CYCLES}"]) + "\n"


def _synthesis(unique: miller.array, total: float, grid, volume: float) -> numpy.ndarray:
    """F(000)^2 + the sum of F^2 cos(2 pi h.u) over every equivalent, on the grid, / V."""
    full = unique.expand_to_p1().generate_bijvoet_mates()
    h = numpy.array(full.indices(), dtype=float)
    values = numpy.array(full.data())
    axes = [numpy.arange(n) / n for n in grid]
    z, y, x = numpy.meshgrid(axes[2], axes[1], axes[0], indexing="ij")
    points = numpy.stack([x.ravel(), y.ravel(), z.ravel()], axis=1)
    result = numpy.full(points.shape[0], total)
    for start in range(0, len(values), 500):
        phase = 2.0 * math.pi * points @ h[start:start + 500].T
        result += numpy.cos(phase) @ values[start:start + 500]
    return result / volume


def reference_maps(data: PattersonData) -> str:
    """'model fourier' per grid point, x fastest: the model's Patterson and the data's synthesis."""
    symmetry = data.structure.crystal_symmetry()
    n = data.grid
    box = [m // 2 - 1 for m in n]
    indices = miller.index_generator(symmetry.space_group_info().type(), False, tuple(box)).to_array()
    model = miller.set(symmetry, indices, anomalous_flag=False).structure_factors_from_scatterers(
        data.structure, algorithm="direct").f_calc()
    model_sq = model.customized_copy(data=flex.double([abs(f) ** 2 for f in model.data()]))
    observed = data.observed()
    measured = miller.array(miller.set(symmetry, flex.miller_index([r[0] for r in observed]), anomalous_flag=False),
                            data=flex.double([r[2] for r in observed]))
    volume = symmetry.unit_cell().volume()
    a = _synthesis(model_sq, data.total, n, volume)
    b = _synthesis(measured, data.total, n, volume)
    head = [f"# model Patterson and Fourier synthesis of the data on {n[0]} x {n[1]} x {n[2]}, x fastest",
            "# (tools/make_patterson_data.py, cctbx)"]
    return "\n".join(head + [f"{p:.6g} {q:.6g}" for p, q in zip(a, b)]) + "\n"
