"""Exact symmetry operators: integer rotations, translations in 1/24 units.

Every translation and fixed coordinate that occurs in the space-group tables has
a denominator dividing 24 (halves, thirds, quarters, sixths, eighths, twelfths),
so an operator is held exactly as integers and compared without tolerances.
"""
from fractions import Fraction
from math import gcd

from cctbx import sgtbx

UNIT = 24  # translations are stored as multiples of 1/UNIT


class Op:
    """Affine operator (R | t) with an integer 3x3 R and t in units of 1/UNIT.

    Translations are always reduced to [0, 1), i.e. to 0 <= t < UNIT, which is
    how the program itself keeps them.
    """

    __slots__ = ("r", "t", "time_reversal")

    def __init__(self, r, t, time_reversal=1):
        self.r = tuple(tuple(int(v) for v in row) for row in r)
        self.t = tuple(int(v) % UNIT for v in t)
        self.time_reversal = time_reversal

    def key(self):
        return (self.r, self.t, self.time_reversal)

    def __eq__(self, other):
        return self.key() == other.key()

    def __hash__(self):
        return hash(self.key())

    def __mul__(self, other):
        """Composition: (self * other)(x) = self(other(x))."""
        r = tuple(tuple(sum(self.r[i][k] * other.r[k][j] for k in range(3)) for j in range(3))
                  for i in range(3))
        t = tuple(sum(self.r[i][k] * other.t[k] for k in range(3)) + self.t[i] for i in range(3))
        return Op(r, t, self.time_reversal * other.time_reversal)

    def negated(self):
        """(-R, -t): the operator the loader adds after each one of a centric record."""
        return Op([[-v for v in row] for row in self.r], [-v for v in self.t], self.time_reversal)

    def shifted(self, translation):
        return Op(self.r, [a + b for a, b in zip(self.t, translation)], self.time_reversal)

    def det(self):
        (a, b, c), (d, e, f), (g, h, i) = self.r
        return a * (e * i - f * h) - b * (d * i - f * g) + c * (d * h - e * g)

    def is_identity(self):
        return self.r == ((1, 0, 0), (0, 1, 0), (0, 0, 1)) and self.t == (0, 0, 0) \
            and self.time_reversal == 1

    def text(self):
        """Operator text the program's parser reads back exactly, e.g. "-x+y,y,z+1/2"."""
        return ",".join(component(self.r[i], Fraction(self.t[i], UNIT)) for i in range(3))


IDENTITY = Op(((1, 0, 0), (0, 1, 0), (0, 0, 1)), (0, 0, 0))


def units(value):
    """A rational translation as an exact number of 1/UNIT steps."""
    f = Fraction(value) * UNIT
    assert f.denominator == 1, "translation %s is not a multiple of 1/%d" % (value, UNIT)
    return int(f)


def from_rt_mx(rt):
    """Op from a cctbx rt_mx (translations reduced to [0, 1))."""
    r = rt.r().num()
    rd = rt.r().den()
    assert all(v % rd == 0 for v in r), "non-integer rotation in %s" % rt
    rows = [[r[3 * i + j] // rd for j in range(3)] for i in range(3)]
    t = [Fraction(rt.t().num()[i], rt.t().den()) for i in range(3)]
    return Op(rows, [units(v) for v in t])


def to_rt_mx(op):
    return sgtbx.rt_mx(op.text())


# Positive fractions the program's operator parser snaps to the nearest double,
# plus those a double holds exactly: anything else would reach it rounded.
_READ_EXACTLY = {Fraction(n, d) for d in (12, 6, 4, 3, 2) for n in range(1, d)} | \
                {Fraction(n, 8) for n in range(1, 8)}


def component(coefficients, translation, names=("x", "y", "z")):
    """One row of an operator or a coordinate triplet as text: "x-y+1/3", "2x", "1/4"."""
    terms = []
    for name, c in zip(names, coefficients):
        c = Fraction(c)
        if c == 0:
            continue
        assert c.denominator == 1, "fractional coefficient %s" % c
        sign = "-" if c < 0 else ("+" if terms else "")
        size = "" if abs(c) == 1 else str(abs(c.numerator))
        terms.append(sign + size + name)
    if translation:
        assert 0 < translation < 1 and translation in _READ_EXACTLY, translation
        terms.append(("+" if terms else "") + "%d/%d" % (translation.numerator, translation.denominator))
    return "".join(terms) if terms else "0"


def denominator(value_units):
    """Denominator of a translation given in 1/UNIT steps, reduced to [0, 1)."""
    v = value_units % UNIT
    return UNIT // gcd(v, UNIT) if v else 1


def lcm(a, b):
    return a * b // gcd(a, b)


def lattice_translations(letter, setting_number):
    """Centring vectors, in 1/UNIT steps, that the loader adds for a lattice letter.

    Mirrors the program: R adds the obverse hexagonal centring only for
    setting 1 (or 7); every other letter or R setting stays primitive.
    """
    h = UNIT // 2
    third, two_thirds = UNIT // 3, 2 * UNIT // 3
    table = {
        "A": [(0, h, h)],
        "B": [(h, 0, h)],
        "C": [(h, h, 0)],
        "I": [(h, h, h)],
        "F": [(0, h, h), (h, 0, h), (h, h, 0)],
    }
    if letter == "R" and setting_number in (1, 7):
        return [(two_thirds, third, third), (third, two_thirds, two_thirds)]
    return table.get(letter, [])


def expand_record(listed, centric, letter, setting_number):
    """The full operator list the loader builds from one spgra.dat record, in its order."""
    ops = []
    for op in listed:
        ops.append(op)
        if centric:
            ops.append(op.negated())
    first_block = list(ops)
    for shift in lattice_translations(letter, setting_number):
        ops.extend(op.shifted(shift) for op in first_block)
    return ops


def group_ops(space_group):
    """All operators of a cctbx space group, as a set of Op."""
    return {from_rt_mx(rt) for rt in space_group.all_ops()}


def group_from_ops(ops):
    """A cctbx space group generated by the given operators."""
    g = sgtbx.space_group()
    for op in ops:
        g.expand_smx(to_rt_mx(op))
    return g


def check_closure(ops):
    """Every product of two operators is in the list, and the list has no repeats."""
    table = set(ops)
    assert len(table) == len(ops), "repeated operators"
    for a in ops:
        for b in ops:
            assert a * b in table, "not closed: %s * %s" % (a.text(), b.text())


def transform(op, p):
    """Q W P with P a signed permutation (as the program expands orthorhombic settings)."""
    pm = Op(p, (0, 0, 0))
    q = Op([[p[j][i] for j in range(3)] for i in range(3)], (0, 0, 0))
    return q * op * pm
