#!/usr/bin/python3
"""Write a non-centrosymmetric data set of real size for the optimiser benchmarks.

A P 1 21 1 cell of a small organic molecule: 24 C, N and O atoms placed at
random (fixed seed) with at least 1.3 angstrom between any two in the cell,
isotropic displacements of 0.02-0.04 A^2, X-ray data to 0.68 angstrom with 1 %
noise, which gives about 3,300 unique reflections with complex F.  Written with
the generator of the bundled examples, deterministic.

Usage: /usr/bin/python3 bench/make_p21_set.py DIRECTORY   (writes p21.mem, p21.prf)
"""

import os
import sys

import numpy

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tools"))

from examples.condition_file import prf_text  # noqa: E402
from examples.grid import choose_grid  # noqa: E402
from examples.mem_file import mem_text  # noqa: E402
from examples.models import Atom, Example, NoiseModel  # noqa: E402
from examples.structure_factors import compute  # noqa: E402

CELL = (9.62, 11.05, 8.71, 90.0, 103.4, 90.0)


def atoms(count: int, seed: int):
    """Random sites that keep 1.3 A to every symmetry mate placed before them."""
    rng = numpy.random.RandomState(seed)
    a, b, c, _, beta, _ = CELL
    cb, sb = numpy.cos(numpy.radians(beta)), numpy.sin(numpy.radians(beta))
    orth = numpy.array([[a, 0.0, c * cb], [0.0, b, 0.0], [0.0, 0.0, c * sb]])
    placed = []   # fractional sites of the whole cell
    sites = []
    while len(sites) < count:
        x = rng.uniform(0.0, 1.0, 3)
        mates = [x, numpy.array([-x[0], x[1] + 0.5, -x[2]])]
        ok = True
        for m in mates:
            for p in placed:
                d = (m - p + 0.5) % 1.0 - 0.5
                if numpy.linalg.norm(orth @ d) < 1.3:
                    ok = False
        if numpy.linalg.norm(orth @ ((mates[0] - mates[1] + 0.5) % 1.0 - 0.5)) < 1.3:
            ok = False
        if not ok:
            continue
        placed += [m % 1.0 for m in mates]
        element = "CCCNO"[len(sites) % 5]
        u = rng.uniform(0.02, 0.04)
        sites.append(Atom(f"{element}{len(sites) + 1}", element, tuple(float(v) for v in x),
                          (u, u, u, 0.0, u * cb, 0.0)))
    return tuple(sites)


P21 = Example(
    name="p21",
    title="Organic-like P 21 cell, 24 random C/N/O atoms, X-ray model data with noise",
    radiation="xray",
    cell=CELL,
    space_group="P 1 21 1",
    setting=1,
    atoms=atoms(24, 2124),
    d_min=0.68,
    noise=NoiseModel(floor=0.05, relative=0.01, seed=2121),
    grid_step=0.2,
    lambda0=0.01,
    max_cycles=10000,
)


def main(argv) -> int:
    directory = argv[1] if len(argv) > 1 else "."
    os.makedirs(directory, exist_ok=True)
    data = compute(P21)
    grid = choose_grid(data.crystal_symmetry, P21.grid_step)
    for ext, text in ((".mem", mem_text(P21, data, grid)), (".prf", prf_text(P21, False))):
        with open(os.path.join(directory, "p21" + ext), "w", encoding="ascii", newline="\n") as out:
            out.write(text)
    print(f"p21: {len(data.individual)} F, grid {grid[0]}x{grid[1]}x{grid[2]}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
