"""Voxel grid of an example: fits the symmetry, is FFT-friendly, and its asymmetric unit.

The grid numbers go into the data set, so the program uses them as they stand.
They must carry every special position and every operator translation on a grid
point, which makes each axis a multiple of the common denominator of those
fractions; within that the smallest number whose voxel edge does not exceed the
wanted step, and whose prime factors are at most 7, is taken.
"""

from fractions import Fraction
from math import lcm
from typing import List, Tuple

import numpy
from cctbx import crystal


def _denominators(values) -> List[int]:
    return [Fraction(v).limit_denominator(48).denominator for v in values]


def base_grid(symmetry: crystal.symmetry) -> Tuple[int, int, int]:
    """Per axis the least common multiple of 2 and of all translation denominators."""
    base = [2, 2, 2]
    group = symmetry.space_group()
    wyckoff = symmetry.space_group_info().wyckoff_table()
    translations = [op.t().as_double() for op in group.all_ops()]
    translations += [wyckoff.position(i).special_op().t().as_double() for i in range(wyckoff.size())]
    for t in translations:
        base = [lcm(b, d) for b, d in zip(base, _denominators(t))]
    return tuple(base)


def _is_smooth(n: int) -> bool:
    for p in (2, 3, 5, 7):
        while n % p == 0:
            n //= p
    return n == 1


def choose_grid(symmetry: crystal.symmetry, step: float) -> Tuple[int, int, int]:
    lengths = symmetry.unit_cell().parameters()[:3]
    grid = []
    for length, base in zip(lengths, base_grid(symmetry)):
        n = base
        while length / n > step or not _is_smooth(n):
            n += base
        grid.append(n)
    return tuple(grid)


def _integer_operators(symmetry: crystal.symmetry, grid):
    """Rotation and grid translation of each operator, translations rounded to whole voxels."""
    operators = []
    for op in symmetry.space_group().all_ops():
        rotation = numpy.array(op.r().as_double(), dtype=numpy.int64).reshape(3, 3)
        shift = numpy.floor(numpy.array(op.t().as_double()) * numpy.array(grid) + 0.5).astype(numpy.int64)
        operators.append((rotation, shift))
    return operators


def asymmetric_unit_voxels(symmetry: crystal.symmetry, grid) -> int:
    """Number of symmetry orbits of grid points: the voxels a MEM analysis works on.

    Every point of an orbit has the same smallest linear index among its images,
    so counting the distinct minima counts the orbits.
    """
    n = numpy.array(grid, dtype=numpy.int64)
    points = numpy.indices(grid, dtype=numpy.int64).reshape(3, -1)
    smallest = None
    for rotation, shift in _integer_operators(symmetry, grid):
        image = (rotation @ points + shift[:, None]) % n[:, None]
        linear = image[0] + n[0] * (image[1] + n[1] * image[2])
        smallest = linear if smallest is None else numpy.minimum(smallest, linear)
    return int(numpy.unique(smallest).size)
