#!/usr/bin/python3
"""Write one structure in every data set format, for the reader tests.

For the centrosymmetric rutile and the non-centrosymmetric zinc oxide model of
examples/models.py, at a lower resolution and on a coarser grid than the
bundled examples so that the files stay small: <name>.mem, <name>.fos,
<name>.BayMEM and <name>.ffo with the same reflections and, where the format
allows, the same weights (see tools/examples/reader_files.py). Rutile's
.BayMEM file names its symmetry by symbol, that of zinc oxide lists the
operators.

Usage: /usr/bin/python3 tools/make_reader_data.py [output directory]
The default directory is tests/data/readers of the repository.
"""

import dataclasses
import os
import sys

from examples.grid import choose_grid
from examples.mem_file import mem_text
from examples.models import RUTILE, ZNO
from examples.reader_files import baymem_text, ffo_text, fos_text
from examples.structure_factors import compute


def main(argv) -> int:
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    directory = argv[1] if len(argv) > 1 else os.path.join(root, "tests", "data", "readers")
    os.makedirs(directory, exist_ok=True)
    for model, by_symbol in ((RUTILE, True), (ZNO, False)):
        example = dataclasses.replace(model, d_min=0.9, e_shell_d_min=0.0, grid_step=0.3)
        data = compute(example)
        grid = choose_grid(data.crystal_symmetry, example.grid_step)
        texts = {".mem": mem_text(example, data, grid), ".fos": fos_text(example, data, grid),
                 ".BayMEM": baymem_text(example, data, grid, by_symbol), ".ffo": ffo_text(example, data)}
        for extension, text in texts.items():
            with open(os.path.join(directory, example.name + extension), "w", encoding="ascii", newline="\n") as out:
                out.write(text)
        print(f"{example.name}: {len(data.individual)} F, grid {grid[0]}x{grid[1]}x{grid[2]}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
