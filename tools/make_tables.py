#!/usr/bin/python3
"""Regenerates the program's run-time data files from independent public libraries.

    /usr/bin/python3 tools/make_tables.py data

writes spgro.dat, spgra.dat, wyckoff.dat, mspgr.dat, elements.ini and asfdc into
the given directory, and the reference table tests/data/settings_summary.tsv.
Sources: cctbx (sgtbx settings, operators and Wyckoff tables; eltbx scattering
factors, radii, neutron lengths), spglib (magnetic space groups) and the
magnetic-group labels shipped with pymatgen. The output is deterministic:
running it twice gives byte-identical files.
"""
import os
import sys

sys.dont_write_bytecode = True   # keep the source tree free of __pycache__
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from tables import (elements, grid, lookup, magnetic, orthorhombic, readback, settings,  # noqa: E402
                    spacegroup_files, wyckoff)


def write(path, lines):
    with open(path, "w", newline="\n") as f:
        f.write("\n".join(lines) + "\n")
    print("wrote %s (%d lines)" % (path, len(lines)))


def space_group_tables(out_dir, summary_path):
    table = settings.all_settings()
    orthorhombic.check_older_symbols(table)
    lookup.check(table)
    positions, grids, moved = {}, {}, []
    for number in range(1, 231):
        for s in table[number]:
            grid_numbers, fitted, changed = grid.settle(s, wyckoff.positions(s))
            positions[(number, s.index)] = fitted
            grids[(number, s.index)] = grid_numbers
            moved += ["%d/%d %s: %s" % (number, s.index, s.symbol, c) for c in changed]
    for m in moved:
        print("first triplet moved so the grid rule reaches the least grid:", m)
    spgro = spacegroup_files.spgro_lines(table)
    spgra = spacegroup_files.spgra_lines(table)
    wyckoff_text = spacegroup_files.wyckoff_lines(table, positions)
    blocks = readback.check(table, spgro, spgra, wyckoff_text)
    for key, fitted in positions.items():
        assert [(p.multiplicity, p.letter, p.representative) for p in fitted] == blocks[key], key
    write(os.path.join(out_dir, "spgro.dat"), spgro)
    write(os.path.join(out_dir, "spgra.dat"), spgra)
    write(os.path.join(out_dir, "wyckoff.dat"), wyckoff_text)
    write(summary_path, spacegroup_files.summary_lines(table, grids, positions))


def main(argv):
    if len(argv) != 2:
        sys.stderr.write("usage: make_tables.py OUTPUT_DIR\n")
        return 2
    out_dir = argv[1]
    os.makedirs(out_dir, exist_ok=True)
    repo = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    space_group_tables(out_dir, os.path.join(repo, "tests", "data", "settings_summary.tsv"))
    write(os.path.join(out_dir, "mspgr.dat"), magnetic.mspgr_lines())
    print("magnetic operators compared with spglib: %(same as spglib)d identical, "
          "%(other setting in spglib)d in another setting of the same type" % magnetic.STATS)
    write(os.path.join(out_dir, "elements.ini"), elements.elements_ini_lines())
    write(os.path.join(out_dir, "asfdc"), elements.asfdc_lines())
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
