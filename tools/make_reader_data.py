#!/usr/bin/python3
"""Write one structure in every data set format, for the reader tests.

For the centrosymmetric rutile and the non-centrosymmetric zinc oxide model of
examples/models.py, at a lower resolution and on a coarser grid than the
bundled examples so that the files stay small: <name>.mem, <name>.fos,
<name>.BayMEM and <name>.ffo with the same reflections and, where the format
allows, the same weights (see tools/examples/reader_files.py). Rutile's
.BayMEM file names its symmetry by symbol, that of zinc oxide lists the
operators. For the route that generates unobserved reflections: rutile.alb
(naming rutile_p.ffo, the squared amplitudes), zno.mep and mono.mep, with the lists the program must
generate for them (hkl0_reference.txt), and form factors of every neutral
atom for the element table (form_factors.txt).

Usage: /usr/bin/python3 tools/make_reader_data.py [output directory]
The default directory is tests/data/readers of the repository.
"""

import dataclasses
import os
import sys

from cctbx import crystal

from examples.alb_files import alb_text, form_factor_reference, hkl0_reference
from examples.grid import choose_grid
from examples.mem_file import mem_text
from examples.models import RUTILE, ZNO
from examples.reader_files import baymem_text, ffo_text, fos_text
from examples.structure_factors import compute


def main(argv) -> int:
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    directory = argv[1] if len(argv) > 1 else os.path.join(root, "tests", "data", "readers")
    os.makedirs(directory, exist_ok=True)
    reference = []

    def write(name, text):
        with open(os.path.join(directory, name), "w", encoding="ascii", newline="\n") as out:
            out.write(text)

    for model, by_symbol in ((RUTILE, True), (ZNO, False)):
        example = dataclasses.replace(model, d_min=0.9, e_shell_d_min=0.0, grid_step=0.3)
        data = compute(example)
        grid = choose_grid(data.crystal_symmetry, example.grid_step)
        texts = {".mem": mem_text(example, data, grid), ".fos": fos_text(example, data, grid),
                 ".BayMEM": baymem_text(example, data, grid, by_symbol), ".ffo": ffo_text(example, data)}
        for extension, text in texts.items():
            write(example.name + extension, text)
        indices = [r.hkl for r in data.individual]
        if by_symbol:   # rutile: its squared amplitudes through an Alb control file
            write(example.name + "_p.ffo", ffo_text(example, data, squared=True))
            write(example.name + ".alb", alb_text(example.title, example.cell, 136, 1, grid,
                                                  example.name + "_p.ffo", data.f000_plus ** 2, 300))
        else:           # zinc oxide: the same data as a .mep data set
            write(example.name + ".mep", texts[".mem"])
        reference += hkl0_reference(example.name, data.crystal_symmetry, grid, indices)
        print(f"{example.name}: {len(data.individual)} F, grid {grid[0]}x{grid[1]}x{grid[2]}")
    # A monoclinic cell (P 1 21/c 1) with a few reflections: only the generated list matters.
    monoclinic = crystal.symmetry(unit_cell=(5.1, 6.3, 7.2, 90, 101.5, 90), space_group_symbol="P 1 21/c 1")
    indices = [(1, 0, 0), (0, 1, 1), (1, 1, -1), (0, 2, 0), (2, 0, -2)]
    write("mono.mep", "\n".join(["Monoclinic test cell, reflections only for the generated list",
                                  "5.1 6.3 7.2 90 101.5 90", "P 1 21/c 1", "14 1 10 12 14", "100 0.01",
                                  str(len(indices))] +
                                 [f"{h} {k} {l} 10.0 0.0 0.5" for h, k, l in indices] + ["0", "0"]) + "\n")
    reference += hkl0_reference("mono", monoclinic, (10, 12, 14), indices)
    write("hkl0_reference.txt", "# name run h k l 1/d: generated reflections (tools/make_reader_data.py)\n" +
          "\n".join(reference) + "\n")
    write("form_factors.txt", "# symbol Z f(0) f(0.5): five-Gaussian fits (tools/make_reader_data.py)\n" +
          "\n".join(form_factor_reference()) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
