"""Phased structure factors of an independent-atom model, with measurement-like noise.

The model is a cctbx xray.structure: neutral-atom form factors (International
Tables 1992 Gaussians) for X-rays, bound coherent scattering lengths (Sears 1992,
in fm) for neutrons, anisotropic displacement parameters, no anomalous dispersion.
Without anomalous dispersion Friedel's law holds exactly, which is what the
analysis assumes when it completes a non-centrosymmetric data set with F(-h) = F(h)*.

Both cctbx and the analysis use F(h) = sum f exp(+2 pi i h.x), so the model
phases can be written as they come.
"""

from dataclasses import dataclass
from typing import List, Tuple

import numpy
from cctbx import adptbx, crystal, miller, xray
from cctbx.array_family import flex
from cctbx.eltbx import tiny_pse

from .models import Example

Index = Tuple[int, int, int]


@dataclass
class Reflection:
    hkl: Index
    d: float
    multiplicity: int      # members of the orbit under the Laue group (Friedel mates included)
    f_model: complex       # F of the model
    f_obs: complex = 0j    # noisy magnitude with the model phase
    sigma: float = 0.0


@dataclass
class OverlapGroup:
    """Reflections of equal d that a powder pattern gives only as one magnitude."""
    members: List[Reflection]
    g_model: float = 0.0   # sqrt(sum m |F|^2 / sum m), m the multiplicities
    g_obs: float = 0.0
    sigma: float = 0.0


@dataclass
class ModelData:
    crystal_symmetry: crystal.symmetry
    f000_plus: float       # sum of positive scattering powers in the cell (electrons or fm)
    f000_minus: float      # sum of negative ones, with their sign; 0 for X-rays
    individual: List[Reflection]
    groups: List[OverlapGroup]
    calculated_only: List[Reflection]

    @property
    def has_negative_density(self) -> bool:
        """Neutron data of a compound with a negative scattering length need the second channel."""
        return self.f000_minus != 0.0


def crystal_symmetry(example: Example) -> crystal.symmetry:
    return crystal.symmetry(unit_cell=example.cell, space_group_symbol=example.space_group)


def build_structure(example: Example) -> xray.structure:
    """The xray.structure of the example, displacement tensors checked against site symmetry."""
    symmetry = crystal_symmetry(example)
    unit_cell = symmetry.unit_cell()
    scatterers = flex.xray_scatterer()
    for atom in example.atoms:
        scatterer = xray.scatterer(label=atom.label, site=atom.site, scattering_type=atom.element)
        scatterer.u_star = adptbx.u_cif_as_u_star(unit_cell, atom.u_cif)
        scatterer.set_use_u_aniso_only()
        scatterers.append(scatterer)
    structure = xray.structure(crystal_symmetry=symmetry, scatterers=scatterers)
    _check_site_symmetry(structure)
    table = "neutron" if example.radiation == "neutron" else "it1992"
    structure.scattering_type_registry(table=table)
    return structure


def _check_site_symmetry(structure: xray.structure) -> None:
    """A typing error in a coordinate or a U would silently break the symmetry of the model."""
    table = structure.site_symmetry_table()
    for i, scatterer in enumerate(structure.scatterers()):
        site_symmetry = table.get(i)
        special = site_symmetry.special_op() * scatterer.site
        if max(abs(a - b) for a, b in zip(special, scatterer.site)) > 1e-6:
            raise ValueError(f"{scatterer.label}: site is not on its special position")
        averaged = site_symmetry.average_u_star(scatterer.u_star)
        if max(abs(a - b) for a, b in zip(averaged, scatterer.u_star)) > 1e-9:
            raise ValueError(f"{scatterer.label}: U does not obey the site symmetry")


def forward_scattering(structure: xray.structure, element: str) -> float:
    """Scattering power at zero angle: the electron count of a neutral atom, or the length b.

    For X-rays the atomic number is used rather than the Gaussian fit at zero
    angle, which misses it by some 0.01 %: F(000) is the number of electrons.
    """
    if structure.scattering_type_registry().last_table() == "neutron":
        return structure.scattering_type_registry().gaussian(element).at_stol(0.0)
    return float(tiny_pse.table(element).atomic_number())


def f000_split(structure: xray.structure) -> Tuple[float, float]:
    """Totals of the positive and of the negative scattering powers in the unit cell."""
    plus = minus = 0.0
    for element, count in sorted(structure.unit_cell_content().items()):
        power = count * forward_scattering(structure, element)
        if power >= 0.0:
            plus += power
        else:
            minus += power
    return plus, minus


def model_reflections(structure: xray.structure, d_min: float, d_max: float = None) -> List[Reflection]:
    """Unique reflections (Laue-group asymmetric unit) with d in [d_min, d_max), largest d first."""
    symmetry = structure.crystal_symmetry()
    indices = miller.build_set(symmetry, anomalous_flag=False, d_min=d_min)
    if d_max is not None:
        indices = indices.resolution_filter(d_max=d_max)
        # resolution_filter keeps d == d_max; the shell is half-open.
        keep = indices.d_spacings().data() < d_max
        indices = indices.select(keep)
    f_calc = indices.structure_factors_from_scatterers(structure, algorithm="direct").f_calc()
    reflections = [
        Reflection(hkl=tuple(h), d=d, multiplicity=m, f_model=complex(f))
        for h, d, m, f in zip(f_calc.indices(), f_calc.d_spacings().data(),
                              f_calc.multiplicities().data(), f_calc.data())
    ]
    # Largest d first; ties by index so that the order never depends on cctbx internals.
    reflections.sort(key=lambda r: (-round(r.d, 9), r.hkl))
    return reflections


def sigma_of(example: Example, magnitude: float) -> float:
    return float(numpy.hypot(example.noise.floor, example.noise.relative * magnitude))


def split_overlaps(reflections: List[Reflection], tolerance: float):
    """Runs of reflections (sorted by d) whose d agree to the relative tolerance become groups.

    Returns the reflections left single and the groups, both in order of decreasing d.
    """
    runs: List[List[Reflection]] = []
    for reflection in reflections:
        if runs and (runs[-1][-1].d - reflection.d) <= tolerance * reflection.d:
            runs[-1].append(reflection)
        else:
            runs.append([reflection])
    single = [run[0] for run in runs if len(run) == 1]
    groups = [OverlapGroup(members=run) for run in runs if len(run) > 1]
    for group in groups:
        weight = sum(m.multiplicity for m in group.members)
        power = sum(m.multiplicity * abs(m.f_model) ** 2 for m in group.members)
        group.g_model = float(numpy.sqrt(power / weight))
    return single, groups


def add_group_noise(example: Example, groups: List[OverlapGroup], rng: numpy.random.RandomState) -> None:
    for group in groups:
        group.sigma = sigma_of(example, group.g_model)
        group.g_obs = abs(group.g_model + group.sigma * rng.standard_normal())


def add_noise(example: Example, reflections: List[Reflection], rng: numpy.random.RandomState) -> None:
    """Perturb each magnitude by its sigma and keep the model phase.

    A MEM analysis of measured data combines measured magnitudes with phases from
    a refined model; this mimics that.  A magnitude pushed below zero is reflected,
    since a measured |F| is never negative.  In a centrosymmetric group the phase
    is 0 or pi, so the imaginary part stays exactly zero.
    """
    for reflection in reflections:
        magnitude = abs(reflection.f_model)
        reflection.sigma = sigma_of(example, magnitude)
        observed = abs(magnitude + reflection.sigma * rng.standard_normal())
        if magnitude > 0.0:
            reflection.f_obs = reflection.f_model * (observed / magnitude)
        else:
            reflection.f_obs = complex(observed, 0.0)


def compute(example: Example) -> ModelData:
    structure = build_structure(example)
    plus, minus = f000_split(structure)
    individual = model_reflections(structure, example.d_min)
    groups: List[OverlapGroup] = []
    if example.overlap_tolerance > 0.0:
        individual, groups = split_overlaps(individual, example.overlap_tolerance)
    # The legacy RandomState stream is frozen across numpy versions, so the
    # bundled files can be regenerated byte for byte.
    rng = numpy.random.RandomState(example.noise.seed)
    add_noise(example, individual, rng)
    add_group_noise(example, groups, rng)
    calculated_only = []
    if example.e_shell_d_min > 0.0:
        calculated_only = model_reflections(structure, example.e_shell_d_min, example.d_min)
    return ModelData(crystal_symmetry=structure.crystal_symmetry(), f000_plus=plus,
                     f000_minus=minus, individual=individual, groups=groups,
                     calculated_only=calculated_only)
