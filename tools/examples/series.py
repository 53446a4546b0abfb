"""A temperature series of refinement outputs (.fcf) for the series recipes.

Rutile, the structure of the bundled example, "measured" at ten temperatures:
the cell and the sites stay, the displacement parameters grow with
temperature.  A simple model of that growth is enough here: a zero-point part
of a quarter of the room-temperature value and a part linear in T,

    U(T) = U(295 K) * (0.25 + 0.75 T / 295 K),

for every component of every atom, which keeps each tensor's site symmetry.
Each file gets its own noise seed.  Beside them stands series.prf, a template
condition file that names the first data set, so that it runs on its own as
well as through `halvorin --conditions series.prf <data>`.
"""

import dataclasses
import os
from typing import List

from .condition_file import prf_text
from .fcf_file import FcfRow, FcfStyle, fcf_text
from .models import RUTILE, Atom, Example, NoiseModel
from .structure_factors import build_structure, compute, f000_split

TEMPERATURES = (100, 150, 200, 250, 300, 350, 400, 450, 500, 550)
ROOM_TEMPERATURE = 295.0
ZERO_POINT_FRACTION = 0.25
D_MIN = 0.6          # few reflections, so that the ten analyses take seconds
RESOLUTION = 0.15    # voxel edge for the template (angstrom); an .fcf has no grid
MAX_CYCLES = 3000
TEMPLATE_HEADING = "# Template of the rutile temperature series; see examples/README.md.\n"


def _scaled(atom: Atom, temperature: float) -> Atom:
    factor = ZERO_POINT_FRACTION + (1.0 - ZERO_POINT_FRACTION) * temperature / ROOM_TEMPERATURE
    return dataclasses.replace(atom, u_cif=tuple(u * factor for u in atom.u_cif))


def at_temperature(temperature: int) -> Example:
    return dataclasses.replace(
        RUTILE,
        name=f"rutile_{temperature}K",
        title=f"Rutile TiO2, X-ray, {temperature} K, IAM model data with noise",
        atoms=tuple(_scaled(atom, temperature) for atom in RUTILE.atoms),
        d_min=D_MIN,
        noise=NoiseModel(floor=0.05, relative=0.01, seed=1971 + temperature),
        e_shell_d_min=0.0,
        max_cycles=MAX_CYCLES,
    )


def write_series(directory: str) -> List[str]:
    os.makedirs(directory, exist_ok=True)
    written = []
    for temperature in TEMPERATURES:
        example = at_temperature(temperature)
        structure = build_structure(example)
        operators = [", ".join(op.as_xyz().split(",")) for op in structure.space_group().all_ops()]
        rows = [FcfRow(r.hkl, r.f_model, abs(r.f_obs), r.sigma) for r in compute(example).individual]
        text = fcf_text(example, FcfStyle(example.name), f000_split(structure)[0], operators, rows)
        with open(os.path.join(directory, example.name + ".fcf"), "w", encoding="ascii", newline="\n") as out:
            out.write(text)
        written.append(f"{example.name}.fcf ({len(rows)} F)")
    first = at_temperature(TEMPERATURES[0])
    template = prf_text(first, False, data_file=f"{first.name}.fcf", lm_type=0, resolution=RESOLUTION)
    template = TEMPLATE_HEADING + template.split("\n", 1)[1]
    with open(os.path.join(directory, "series.prf"), "w", encoding="ascii", newline="\n") as out:
        out.write(template)
    written.append("series.prf")
    return written
