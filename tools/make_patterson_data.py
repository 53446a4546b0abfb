#!/usr/bin/python3
"""Write the squared amplitudes of rutile for the Patterson route, and their references.

tests/data/patterson: rutile_sq.mep, rutile_sq.fcf with rutile_sq.alb naming it, and
rutile_sq_maps.txt (the model's Patterson function and the data's Fourier
synthesis on the grid); examples/: rutile_patterson.alb and rutile_patterson.fcf,
the same data as the bundled example. See tools/examples/patterson_files.py.

Usage: /usr/bin/python3 tools/make_patterson_data.py
"""

import os
import sys

from examples.patterson_files import alb_text, compute, fcf_text, mep_text, reference_maps


def main() -> int:
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    data = compute()

    def write(directory, name, text):
        os.makedirs(directory, exist_ok=True)
        with open(os.path.join(directory, name), "w", encoding="ascii", newline="\n") as out:
            out.write(text)

    tests = os.path.join(root, "tests", "data", "patterson")
    write(tests, "rutile_sq.mep", mep_text(data))
    write(tests, "rutile_sq.fcf", fcf_text(data))
    write(tests, "rutile_sq.alb", alb_text(data, "rutile_sq.fcf"))
    write(tests, "rutile_sq_maps.txt", reference_maps(data))
    examples = os.path.join(root, "examples")
    write(examples, "rutile_patterson.fcf", fcf_text(data))
    write(examples, "rutile_patterson.alb", alb_text(data, "rutile_patterson.fcf"))
    print(f"rutile: {len(data.observed())} observed, {len(data.weak())} weak, grid {data.grid}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
