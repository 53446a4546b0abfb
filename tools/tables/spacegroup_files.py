"""Text of spgra.dat, wyckoff.dat and the settings summary."""
from . import orthorhombic

COORDINATE_WIDTH = 78   # the program keeps 79 characters of a line


def header(setting, count):
    """First line of a record or block: number, setting, choice, centric flag, count, symbol."""
    words = setting.symbol.split()
    assert len(words) <= 4 and all(len(w) <= 5 for w in words) and len(setting.symbol) <= 23, setting.symbol
    return "%3d%3d%3d%3d%3d %s" % (setting.number, setting.index, setting.choice,
                                   setting.centric, count, setting.symbol)


def _description(setting):
    text = "%s (%s)" % (setting.ita_symbol, setting.code) if setting.code else setting.ita_symbol
    return "%s, %d operators in the cell" % (text, len(setting.full_ops))


def spgra_lines(settings):
    lines = []
    for number in range(1, 231):
        for s in settings[number]:
            if s.generated:
                continue
            lines.append(header(s, len(s.listed)))
            lines.append(_description(s))
            lines.extend(op.text() for op in s.listed)
    return lines


def _coordinate_lines(triplets):
    lines, line = [], ""
    for t in triplets:
        item = "(%s)" % t.text()
        if line and len(line) + 1 + len(item) > COORDINATE_WIDTH:
            lines.append(line)
            line = item
        else:
            line = line + " " + item if line else item
    lines.append(line)
    return lines


def wyckoff_lines(settings, positions):
    lines = []
    for number in range(1, 231):
        for s in settings[number]:
            table = positions[(number, s.index)]
            lines.append(header(s, len(table)))
            for p in table:
                assert len(p.site_symmetry) <= 9
                lines.append("%d\t%s\t%s" % (p.multiplicity, p.letter, p.site_symmetry))
                lines.extend(_coordinate_lines(p.orbit))
            lines.append("")
    return lines


SUMMARY_HEADER = [
    "# One line per setting of the space-group table, in the program's numbering.",
    "# number, setting: space-group number and 1-based setting number within it.",
    "# symbol: the setting's symbol in the table.",
    "# operators: length of the full operator list the loader builds for the setting,",
    "#   lattice translations and the inverted operators of a centric record included",
    "#   (equals the number of general positions in the cell).",
    "# listed: operator lines of the spgra.dat record; for an orthorhombic setting that",
    "#   the loader derives from the abc record, the lines of that record.",
    "# centric: the centric flag (1: inversion at the origin, only half the operators listed).",
    "# lattice: the lattice letter, the first character of the symbol.",
    "# grid_a, grid_b, grid_c: base grid numbers, per axis the least common multiple of 2",
    "#   and the denominators of the translation columns of W S over every Wyckoff triplet W",
    "#   and operator S (operator translations enter through the general position).",
    "# positions: number of Wyckoff positions of the setting.",
    "\t".join(["number", "setting", "symbol", "operators", "listed", "centric", "lattice",
               "grid_a", "grid_b", "grid_c", "positions"]),
]


def summary_lines(settings, grids, positions):
    lines = list(SUMMARY_HEADER)
    for number in range(1, 231):
        for s in settings[number]:
            listed = s.source.listed if s.generated else s.listed
            g = grids[(number, s.index)]
            lines.append("\t".join(str(v) for v in [
                number, s.index, s.symbol, len(s.full_ops), len(listed), s.centric, s.lattice,
                g[0], g[1], g[2], len(positions[(number, s.index)])]))
    return lines


def spgro_lines(settings):
    return orthorhombic.spgro_lines(settings)
