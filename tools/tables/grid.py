"""Base grid numbers of a setting: the grid on which every special position lies.

Two versions are computed. least_grid is exact: per axis, the least common
multiple of 2 and the denominators of the translation columns of W S over all
Wyckoff triplets W and operators S (with the general position x,y,z this takes
in the operator translations too). program_grid follows, in doubles, the
program's own rule for the base numbers; the two are compared so that any
setting where that rule falls short is known.
"""
import math

from . import ops as O
from . import wyckoff


def least_grid(setting, positions):
    n = [2, 2, 2]
    for p in positions:
        for s in setting.full_ops:
            t = (p.representative * s).t
            n = [O.lcm(n[i], O.denominator(t[i])) for i in range(3)]
    return n


def _fractionalize(x):
    f = x - math.floor(x)
    eps = 1.1920928955078125e-07
    return 0.0 if abs(f) < eps or abs(f - 1) < eps else f


def _frac_part(x):
    return x - math.trunc(x)


def _read_translation(units):
    """The double the program holds for a translation it read as "n/d" text."""
    v = units % O.UNIT
    g = math.gcd(v, O.UNIT)
    return (v // g) / (O.UNIT // g)


def program_grid(setting, positions):
    """The program's base-number rule, replayed step by step in doubles."""
    n = [2, 2, 2]
    for p in positions:
        w = p.representative
        for s in setting.full_ops:
            t = [_fractionalize(sum(w.r[i][k] * _read_translation(s.t[k]) for k in range(3))
                                + _read_translation(w.t[i])) for i in range(3)]
            for i in range(3):
                if abs(_frac_part(t[i])) > 0.0001:
                    r = 1.0 / t[i]
                    if abs(_frac_part(r)) > 0.0001:
                        t[i] *= _frac_part(r)
            u = [_fractionalize(n[i] * t[i]) for i in range(3)]
            for i in range(3):
                if abs(u[i]) > 0.0001:
                    x = 1.0 / u[i]
                    if abs(_frac_part(x)) > 0.0001:
                        u[i] *= _frac_part(x)
                        x = 1.0 / u[i]
                    n[i] *= int(math.floor(x + 0.5))
    return n


def settle(setting, positions):
    """Base grid numbers, after making sure the program's rule reaches them.

    The rule reads one triplet per position, and a fixed coordinate such as
    3/8 gives it a grid of 4 where 8 is needed, while 1/8 of the same orbit
    gives 8. Where that happens another triplet of the orbit is put first.
    Returns (grid, positions, names of positions whose triplet was changed).
    """
    least = least_grid(setting, positions)
    if program_grid(setting, positions) == least:
        return least, positions, []
    for i, p in enumerate(positions):
        for triplet in sorted(p.triplets, key=wyckoff.simplicity):
            trial = list(positions)
            trial[i] = wyckoff.with_representative(p, triplet, setting)
            if program_grid(setting, trial) == least:
                return least, trial, ["%d%s %s" % (p.multiplicity, p.letter, triplet.text())]
    raise AssertionError("%d/%d: no triplets give the grid %s" % (setting.number, setting.index, least))
