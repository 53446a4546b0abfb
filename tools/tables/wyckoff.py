"""Wyckoff positions of a setting, in the frame the program uses for it."""
from dataclasses import dataclass
from fractions import Fraction

from cctbx import sgtbx

from . import ops as O


@dataclass
class Position:
    multiplicity: int
    letter: str
    site_symmetry: str
    representative: O.Op          # coordinate triplet as an operator on (x, y, z)
    orbit: list                   # triplets of the orbit modulo lattice translations
    triplets: list                # every triplet of the orbit, lattice images included


def _representative(position):
    """The position's first triplet, with its fixed coordinates in [0, 1)."""
    rt = sgtbx.rt_mx(str(position.special_op_simplified()), "", 1, O.UNIT)
    r = rt.r().as_rational()
    assert all(v.denominator() == 1 for v in r), rt
    rows = [[r[3 * i + j].numerator() for j in range(3)] for i in range(3)]
    t = [Fraction(v.numerator(), v.denominator()) for v in rt.t().as_rational()]
    return O.Op(rows, [O.units(v) for v in t])


def _orbit(representative, setting):
    """All triplets S W of the orbit, the first of each lattice class kept."""
    seen = []
    for s in setting.full_ops:
        image = s * representative
        if image not in seen:
            seen.append(image)
    lattice = O.lattice_translations(setting.lattice, 1 if setting.generated else setting.index)
    kept = []
    for image in seen:
        if not any(image.shifted(v) in kept for v in lattice) and \
                not any(k.shifted(v) == image for k in kept for v in lattice):
            kept.append(image)
    return seen, kept


def simplicity(triplet):
    """Sort key putting first the triplet ITA would print: no minus signs, fewest and smallest fixed values."""
    negatives = sum(v < 0 for row in triplet.r for v in row)
    return (negatives, sum(v != 0 for v in triplet.t), sum(triplet.t), triplet.text())


def with_representative(position, representative, setting):
    """The same position, listed from another triplet of its orbit."""
    seen, kept = _orbit(representative, setting)
    return Position(position.multiplicity, position.letter, position.site_symmetry,
                    representative, kept, seen)


def positions(setting):
    info = sgtbx.space_group_info(group=setting.group)
    table = info.wyckoff_table()
    result = []
    for i in range(table.size()):
        p = table.position(i)
        seen, _ = _orbit(_representative(p), setting)
        assert len(seen) == p.multiplicity(), \
            "%d/%d %s: orbit %d, multiplicity %d" % (setting.number, setting.index, p.letter(),
                                                    len(seen), p.multiplicity())
        position = Position(p.multiplicity(), p.letter(), p.point_group_type(), None, [], seen)
        result.append(with_representative(position, min(seen, key=simplicity), setting))
    return result
