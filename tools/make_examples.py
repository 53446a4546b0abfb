#!/usr/bin/python3
"""Write the bundled example data sets of Halvorin.

For each published structure in examples/models.py: compute phased structure
factors of the independent-atom model with cctbx, add noise with the stated
sigma model and a fixed seed, and write

    <name>.mem    the data set,
    <name>.prf    a condition file that runs it with ZSPA,
    <name>.facts  what the program must report for it (for end-to-end tests).

It also writes the refinement-output files (.fcf) of the reader tests, with
their facts and .mem twins (examples/fcf_sets.py), into tests/data/fcf/, and
the temperature series of the series recipes (examples/series.py) into
series/ of the output directory.

Usage: /usr/bin/python3 tools/make_examples.py [output directory [fcf directory]]
The default directories are examples/ and tests/data/fcf/ of the repository.  The output is
deterministic: running the tool again rewrites identical files.
"""

import os
import sys

from examples.check import check_density, check_read_back
from examples.condition_file import prf_text
from examples.facts_file import facts_text
from examples.fcf_sets import write_fcf_sets
from examples.grid import asymmetric_unit_voxels, choose_grid
from examples.mem_file import mem_text
from examples.models import ALL_EXAMPLES, Example
from examples.series import write_series
from examples.structure_factors import compute


def write(path: str, text: str) -> None:
    with open(path, "w", encoding="ascii", newline="\n") as out:
        out.write(text)


def make_example(example: Example, directory: str) -> str:
    data = compute(example)
    grid = choose_grid(data.crystal_symmetry, example.grid_step)
    mem = mem_text(example, data, grid)
    check_density(example, data, check_read_back(example, data, grid, mem))
    nasym = asymmetric_unit_voxels(data.crystal_symmetry, grid)
    stem = os.path.join(directory, example.name)
    write(stem + ".mem", mem)
    write(stem + ".prf", prf_text(example, data.has_negative_density))
    write(stem + ".facts", facts_text(example, data, grid, nasym))
    return (f"{example.name}: {len(data.individual)} F, {len(data.groups)} groups "
            f"({sum(len(g.members) for g in data.groups)} members), {len(data.calculated_only)} E, "
            f"grid {grid[0]}x{grid[1]}x{grid[2]}, {nasym} voxels in the asymmetric unit")


def main(argv) -> int:
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    directory = argv[1] if len(argv) > 1 else os.path.join(root, "examples")
    os.makedirs(directory, exist_ok=True)
    for example in ALL_EXAMPLES:
        print(make_example(example, directory))
    fcf_directory = argv[2] if len(argv) > 2 else os.path.join(root, "tests", "data", "fcf")
    print("fcf:", " ".join(write_fcf_sets(fcf_directory)))
    print("series:", " ".join(write_series(os.path.join(directory, "series"))))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
