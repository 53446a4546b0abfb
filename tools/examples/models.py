"""Published crystal structures and the measurement settings of the bundled examples.

Each example is a plain description: the crystal (cell, space group, atoms with
displacement parameters), how it is "measured" (radiation, resolution, noise)
and how the analysis is set up (grid step, starting multiplier, cycle limit).
The references behind the numbers are listed in examples/README.md.
"""

from dataclasses import dataclass
from typing import Tuple

# U11, U22, U33, U12, U13, U23 in square angstrom, on the crystal axes (CIF convention).
Uaniso = Tuple[float, float, float, float, float, float]


@dataclass(frozen=True)
class Atom:
    label: str
    element: str          # scattering type: neutral atom (X-ray) or nucleus (neutron)
    site: Tuple[float, float, float]
    u_cif: Uaniso


@dataclass(frozen=True)
class NoiseModel:
    """sigma(F) = sqrt(floor^2 + (relative * |F|)^2); |F| is perturbed by sigma * N(0, 1)."""
    floor: float
    relative: float
    seed: int


@dataclass(frozen=True)
class Example:
    name: str                      # file stem in examples/
    title: str                     # first line of the data set, at most 79 characters
    radiation: str                 # "xray" or "neutron"
    cell: Tuple[float, float, float, float, float, float]
    space_group: str               # Hermann-Mauguin symbol as the program's table spells it
    setting: int                   # 1-based setting number in the program's table
    atoms: Tuple[Atom, ...]
    d_min: float                   # resolution of the individual reflections (angstrom)
    noise: NoiseModel
    grid_step: float               # wanted voxel edge (angstrom); the grid also fits the symmetry
    lambda0: float                 # starting Lagrangian multiplier written into both files
    max_cycles: int
    # Reflections with d in [e_shell_d_min, d_min) are listed to be calculated only (E block).
    e_shell_d_min: float = 0.0
    # Reflections whose d agree to this relative tolerance are merged into one
    # overlap group (G block), as a powder pattern would leave them.
    overlap_tolerance: float = 0.0


# Rutile at room temperature, X-ray single-crystal model.
# Cell and oxygen x after Abrahams & Bernstein (1971); displacement parameters are
# rounded values of the size reported for rutile at room temperature.  Oxygen
# vibrates most along [1-10], across the plane of its three Ti neighbours, hence
# the negative U12.
RUTILE_CELL = (4.5937, 4.5937, 2.9587, 90.0, 90.0, 90.0)
RUTILE_X_O = 0.30478
RUTILE_TI = Atom("Ti1", "Ti", (0.0, 0.0, 0.0), (0.0066, 0.0066, 0.0042, 0.0002, 0.0, 0.0))
RUTILE_O = Atom("O1", "O", (RUTILE_X_O, RUTILE_X_O, 0.0), (0.0081, 0.0081, 0.0056, -0.0029, 0.0, 0.0))

RUTILE = Example(
    name="rutile",
    title="Rutile TiO2, X-ray, room temperature, IAM model data with noise",
    radiation="xray",
    cell=RUTILE_CELL,
    space_group="P 42/m n m",
    setting=1,
    atoms=(RUTILE_TI, RUTILE_O),
    d_min=0.40,
    noise=NoiseModel(floor=0.05, relative=0.01, seed=1971),
    grid_step=0.1,
    lambda0=0.01,
    max_cycles=5000,
    e_shell_d_min=0.38,
)

# Zinc oxide, wurtzite type, non-centrosymmetric: the structure factors are complex.
# Cell and oxygen z after Abrahams & Bernstein (1969); Zn fixes the polar origin at z = 0.
ZNO = Example(
    name="zno",
    title="Zinc oxide ZnO (wurtzite), X-ray, room temperature, IAM model data with noise",
    radiation="xray",
    cell=(3.24982, 3.24982, 5.20661, 90.0, 90.0, 120.0),
    space_group="P 63 m c",
    setting=1,
    atoms=(
        Atom("Zn1", "Zn", (1.0 / 3.0, 2.0 / 3.0, 0.0), (0.0074, 0.0074, 0.0068, 0.0037, 0.0, 0.0)),
        Atom("O1", "O", (1.0 / 3.0, 2.0 / 3.0, 0.3825), (0.0085, 0.0085, 0.0079, 0.00425, 0.0, 0.0)),
    ),
    d_min=0.40,
    noise=NoiseModel(floor=0.05, relative=0.01, seed=1969),
    grid_step=0.1,
    lambda0=0.01,
    max_cycles=5000,
)

# Rutile again, now as neutron powder data: Ti has a negative coherent scattering
# length, so the nuclear density has a negative channel.  Reflections that coincide
# in d, such as 5 0 l and 4 3 l, cannot be separated in a powder pattern and are
# given as overlap groups.
RUTILE_NEUTRON = Example(
    name="rutile_n",
    title="Rutile TiO2, neutron powder, room temperature, IAM model data with noise",
    radiation="neutron",
    cell=RUTILE_CELL,
    space_group="P 42/m n m",
    setting=1,
    atoms=(RUTILE_TI, RUTILE_O),
    d_min=0.50,
    noise=NoiseModel(floor=0.05, relative=0.03, seed=1991),
    grid_step=0.1,
    lambda0=0.01,
    max_cycles=5000,
    overlap_tolerance=1.0e-4,
)

# Rock salt, X-ray powder data: in a cubic cell reflections of equal h^2+k^2+l^2,
# such as 3 3 3 and 5 1 1, coincide and are given as overlap groups.  Few
# reflections on a fine grid make the direct sums cheaper than a transform.
# Cell of the powder-diffraction standard (Swanson & Fuyat 1953, a = 5.6402 A);
# the displacement parameters are typical room-temperature values (B(Na) 1.7,
# B(Cl) 1.3 A^2).
NACL = Example(
    name="nacl",
    title="Rock salt NaCl, X-ray powder, room temperature, IAM model data with noise",
    radiation="xray",
    cell=(5.6402, 5.6402, 5.6402, 90.0, 90.0, 90.0),
    space_group="F m -3 m",
    setting=1,
    atoms=(
        Atom("Na1", "Na", (0.0, 0.0, 0.0), (0.0215, 0.0215, 0.0215, 0.0, 0.0, 0.0)),
        Atom("Cl1", "Cl", (0.5, 0.5, 0.5), (0.0165, 0.0165, 0.0165, 0.0, 0.0, 0.0)),
    ),
    d_min=0.50,
    noise=NoiseModel(floor=0.05, relative=0.01, seed=1950),
    grid_step=0.1,
    lambda0=0.01,
    max_cycles=5000,
    overlap_tolerance=1.0e-4,
)

ALL_EXAMPLES = (RUTILE, ZNO, RUTILE_NEUTRON, NACL)

# Monoclinic zirconia (baddeleyite type), centrosymmetric and of low symmetry:
# the coordinates are close to the published ones for baddeleyite, rounded;
# the displacement parameters are round values of a typical size, not refined
# ones.  Written only as refinement output (.fcf, with a .mem twin), with a
# larger noise floor so that some reflections are weak.
ZRO2_U_ZR = (0.0060, 0.0065, 0.0058, 0.0, 0.0009, 0.0)
ZRO2_U_O = (0.0080, 0.0090, 0.0085, 0.0, 0.0013, 0.0)
ZRO2 = Example(
    name="zro2",
    title="Monoclinic ZrO2 (baddeleyite type), X-ray, IAM model data with noise",
    radiation="xray",
    cell=(5.1507, 5.2028, 5.3156, 90.0, 99.194, 90.0),
    space_group="P 1 21/c 1",
    setting=1,
    atoms=(
        Atom("Zr1", "Zr", (0.2758, 0.0404, 0.2089), ZRO2_U_ZR),
        Atom("O1", "O", (0.0703, 0.3359, 0.3406), ZRO2_U_O),
        Atom("O2", "O", (0.4423, 0.7549, 0.4789), ZRO2_U_O),
    ),
    d_min=0.80,
    noise=NoiseModel(floor=0.3, relative=0.01, seed=1985),
    grid_step=0.25,
    lambda0=0.01,
    max_cycles=5000,
)
