#!/usr/bin/python3
"""Evidence for the uniform fraction W of halvorin-prior's blend.

Two crystals of our own, one inorganic (quartz-like SiO2, P 32 2 1) and one
organic (urea, P -4 21 m).  The true density of each is the published
independent-atom model plus what the model lacks: a Gaussian bond charge at
the middle of every bond and a partly occupied atom in the largest void.  Its
structure factors at d >= 1.0 A get 1 % noise (plus a floor), and the model
alone goes into a CIF.  For each W, halvorin-prior writes the prior from that
CIF on the data's grid, and the exact maximum-entropy density at CONSTR = 1
is solved with that prior (tools/exact_maxent.py, Newton's method on the
dual).  Against the true density on the same grid:

  corr     Pearson correlation over the cell;
  bond     mean |rho - rho_true| at the bond-charge centres, in units of the
           bond charge's own peak there (rho_true - rho_model);
  missing  charge within 0.8 A of the missing atom beyond the model's own
           density there, and its true value.

Usage: /usr/bin/python3 tools/prior_evidence.py BUILD_DIR OUT_DIR
writes OUT_DIR/prior_evidence.md (the table) and OUT_DIR/prior_evidence.png.
"""

import os
import struct
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from typing import Tuple

import gemmi
import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from exact_maxent import Problem, read_mem  # noqa: E402

W_VALUES = (0.0, 0.1, 0.2, 0.3, 0.35, 0.4, 0.5, 0.7, 1.0)
D_MIN = 1.0
GRID_STEP = 0.15
EIGHT_PI_SQ = 8.0 * np.pi ** 2


@dataclass(frozen=True)
class Crystal:
    name: str
    title: str
    cell: Tuple[float, ...]
    symbol: str
    number: int
    atoms: Tuple[Tuple[str, str, Tuple[float, float, float], float], ...]  # label, element, site, Uiso
    bonds: Tuple[Tuple[str, str, float], ...]  # element pairs and the longest bond length
    bond_charge: float        # electrons at each bond centre
    bond_u: float             # its Gaussian width as U (A^2)
    missing: Tuple[str, float, float]  # element, occupancy, Uiso of the atom the model lacks
    seed: int


QUARTZ = Crystal(
    "quartz", "Quartz-like SiO2: IAM + bond charges + a partly occupied O in the channel",
    (4.9134, 4.9134, 5.4052, 90.0, 90.0, 120.0), "P 32 2 1", 154,
    (("Si1", "Si", (0.4697, 0.0, 2.0 / 3.0), 0.0066), ("O1", "O", (0.4135, 0.2669, 0.7857), 0.0135)),
    (("Si", "O", 1.7),), 0.20, 0.08, ("O", 0.2, 0.03), 2001)
UREA = Crystal(
    "urea", "Urea CO(NH2)2: IAM + bond charges + a partly occupied water O",
    (5.565, 5.565, 4.684, 90.0, 90.0, 90.0), "P -4 21 m", 113,
    (("C1", "C", (0.0, 0.5, 0.3260), 0.0150), ("O1", "O", (0.0, 0.5, 0.5953), 0.0180),
     ("N1", "N", (0.1459, 0.6459, 0.1766), 0.0250), ("H1", "H", (0.2575, 0.7575, 0.2827), 0.0400),
     ("H2", "H", (0.1441, 0.6441, -0.0380), 0.0400)),
    (("C", "O", 1.4), ("C", "N", 1.45), ("N", "H", 1.1)), 0.15, 0.08, ("O", 0.15, 0.03), 2002)


def images(symbol, x):
    """Distinct images of a site in the unit cell."""
    out = []
    for op in gemmi.find_spacegroup_by_name(symbol).operations():
        y = np.array(op.apply_to_xyz(list(x))) % 1.0
        if not any(np.allclose((y - z + 0.5) % 1.0 - 0.5, 0.0, atol=1e-4) for z in out):
            out.append(y)
    return out


def orth(cell):
    return np.array(gemmi.UnitCell(*cell).orth.mat.tolist())


def min_image(cell, d):
    """Shortest Cartesian vector of a fractional difference."""
    m = orth(cell)
    d = (d + 0.5) % 1.0 - 0.5
    best = None
    for s in np.indices((3, 3, 3)).reshape(3, -1).T - 1:
        v = m @ (d + s)
        if best is None or v @ v < best @ best:
            best = v
    return best


def scatterers(c):
    """(kind, fractional position, occupancy, U) of the true crystal and the model's part."""
    model = [(el, x, 1.0, u) for _, el, site, u in c.atoms for x in images(c.symbol, site)]
    bonds = []
    for a in model:
        for b in model:
            for e1, e2, longest in c.bonds:
                if (a[0], b[0]) != (e1, e2):
                    continue
                v = min_image(c.cell, b[1] - a[1])
                if np.linalg.norm(v) < longest:
                    mid = (a[1] + np.linalg.solve(orth(c.cell), v) / 2.0) % 1.0
                    bonds.append(("bond", mid, c.bond_charge, c.bond_u))
    site = largest_void(c, [x for _, x, _, _ in model])
    missing = [(c.missing[0], x, c.missing[1], c.missing[2]) for x in images(c.symbol, site)]
    return model, bonds, missing


def largest_void(c, sites):
    """The point of a fine grid farthest from every atom."""
    g = np.indices((24, 24, 24)).reshape(3, -1).T / 24.0
    m = orth(c.cell)
    best = np.full(len(g), np.inf)
    for x in sites:
        d = (g - x + 0.5) % 1.0 - 0.5
        for s in np.indices((3, 3, 3)).reshape(3, -1).T - 1:
            best = np.minimum(best, np.linalg.norm((d + s) @ m.T, axis=1))
    return g[int(np.argmax(best))]


def form_factor(kind, stol2, u):
    """Scattering of one scatterer with its displacement: IT92 atoms, Gaussian bond charges."""
    debye = np.exp(-EIGHT_PI_SQ * u * stol2)
    if kind == "bond":
        return debye
    a = gemmi.Element(kind).it92.get_coefs()
    f = a[8] + sum(a[i] * np.exp(-a[4 + i] * stol2) for i in range(4))
    return f * debye


def structure_factors(c, parts, hkl):
    """F(h) = sum f exp(+2 pi i h.x), the program's sign convention."""
    recip = np.array(gemmi.UnitCell(*c.cell).frac.mat.tolist())
    s = hkl @ recip
    stol2 = 0.25 * np.sum(s * s, axis=1)
    f = np.zeros(len(hkl), complex)
    for kind, x, occ, u in parts:
        f += occ * form_factor(kind, stol2, u) * np.exp(2j * np.pi * (hkl @ x))
    return f


def grid_of(c):
    return tuple(int(12 * max(1, round(c.cell[i] / (12 * GRID_STEP)))) for i in range(3))


def density_on_grid(c, parts, grid):
    """Electrons per A^3 on the grid (x, y, z index order) from all F within the grid's Nyquist box."""
    hkl = np.stack(np.meshgrid(*[np.fft.fftfreq(n, 1.0 / n) for n in grid], indexing="ij"), -1).reshape(-1, 3)
    f = structure_factors(c, parts, hkl).reshape(grid)
    volume = gemmi.UnitCell(*c.cell).volume
    return np.fft.fftn(f).real / volume


def write_data(c, directory):
    """The noisy data set (.mem) of the truth and the model's CIF; returns their paths."""
    model, bonds, missing = scatterers(c)
    sg = gemmi.find_spacegroup_by_name(c.symbol)
    asu = gemmi.ReciprocalAsu(sg)
    ucell = gemmi.UnitCell(*c.cell)
    top = [int(np.ceil(ucell.parameters[i] / D_MIN)) + 1 for i in range(3)]
    hkl = [(h, k, l) for h in range(-top[0], top[0] + 1) for k in range(-top[1], top[1] + 1)
           for l in range(-top[2], top[2] + 1)
           if (h, k, l) != (0, 0, 0) and asu.is_in([h, k, l]) and ucell.calculate_d([h, k, l]) >= D_MIN
           and not sg.operations().is_systematically_absent([h, k, l])]
    hkl = np.array(hkl)
    f = structure_factors(c, model + bonds + missing, hkl)
    rng = np.random.default_rng(c.seed)
    sigma = np.sqrt(0.05 ** 2 + (0.01 * np.abs(f)) ** 2)
    f_obs = f * (1.0 + sigma * rng.standard_normal(len(f)) / np.abs(f))
    f000 = sum(occ * (gemmi.Element(k).atomic_number if k != "bond" else 1.0)
               for k, _, occ, _ in model + bonds + missing)
    grid = grid_of(c)
    lines = ["# Evidence data set of halvorin-prior, written by tools/prior_evidence.py.", c.title,
             "%.5f %.5f %.5f %.4f %.4f %.4f" % c.cell, c.symbol, "%d 1 %d %d %d" % ((c.number,) + grid),
             "%.4f 0.01" % f000, str(len(hkl))]
    lines += ["%4d %4d %4d %12.5f %12.5f %10.5f" % (h[0], h[1], h[2], v.real, v.imag, s)
              for h, v, s in zip(hkl, f_obs, sigma)]
    lines += ["0", "0"]
    mem = os.path.join(directory, c.name + ".mem")
    with open(mem, "w") as out:
        out.write("\n".join(lines) + "\n")
    cif = os.path.join(directory, c.name + ".cif")
    text = ["data_" + c.name, "_cell_length_a %.5f" % c.cell[0], "_cell_length_b %.5f" % c.cell[1],
            "_cell_length_c %.5f" % c.cell[2], "_cell_angle_alpha %.4f" % c.cell[3],
            "_cell_angle_beta %.4f" % c.cell[4], "_cell_angle_gamma %.4f" % c.cell[5],
            "_space_group_name_H-M_alt '%s'" % c.symbol, "loop_", "_space_group_symop_operation_xyz"]
    text += ["'%s'" % op.triplet() for op in sg.operations()]
    text += ["loop_", "_atom_site_label", "_atom_site_type_symbol", "_atom_site_fract_x", "_atom_site_fract_y",
             "_atom_site_fract_z", "_atom_site_U_iso_or_equiv", "_atom_site_occupancy"]
    text += ["%s %s %.5f %.5f %.5f %.5f 1" % (lab, el, x[0], x[1], x[2], u) for lab, el, x, u in c.atoms]
    with open(cif, "w") as out:
        out.write("\n".join(text) + "\n")
    return mem, cif, len(hkl)


def read_prior(path):
    """The prior file's values by grid point (x, y, z) of each record, per A^3."""
    with open(path, "rb") as f:
        data = f.read()
    version = struct.unpack_from("<4i", data, 0)
    pos = 16 + version[3] + 80
    _, grid_type, n_channel, _ = struct.unpack_from("<4i", data, pos)
    nx, ny, nz, nasym = struct.unpack_from("<4i", data, pos + 16)
    pos += 32 + 24
    if grid_type == 1:
        nops = struct.unpack_from("<i", data, pos)[0]
        pos += 12 + 48 * nops + 12
    points, values = [], []
    for _ in range(nasym):
        index = 0
        if grid_type == 1:
            index = struct.unpack_from("<i", data, pos)[0]
            pos += 4
        values.append(struct.unpack_from("<f", data, pos)[0])
        pos += 4 * n_channel
        x = index % (nx + 1)
        y = index // (nx + 1) % (ny + 1)
        z = index // ((nx + 1) * (ny + 1))
        points.append((x, y, z))
    return points, np.array(values)


class PriorProblem(Problem):
    """The exact problem of tools/exact_maxent.py with a prior per orbit (charge per grid point)."""

    def __init__(self, data, prior_path, voxel_volume):
        super().__init__(data)
        grid = data["grid"]
        points, values = read_prior(prior_path)
        self.inverse = self.labels(grid)
        prior = np.full(len(self.m), np.nan)
        for p, v in zip(points, values):
            prior[self.inverse[np.ravel_multi_index(p, grid)]] = v * voxel_volume
        assert not np.isnan(prior).any(), "the prior file misses orbits"
        self.prior = prior * (self.f000 / np.dot(self.m, prior))

    def labels(self, grid):
        from exact_maxent import orbits
        return orbits(self.d["sg"], grid)[0]

    def density(self, theta):
        a = self.psi @ theta
        a -= a.max()
        e = self.prior * np.exp(a)
        return self.d["f000"] * e / np.dot(self.m, e)


def measure(c, rho_cell, truth, model_only, bonds, missing, grid):
    """Correlation, bond-charge error and the charge found at the missing atom."""
    corr = float(np.corrcoef(rho_cell.ravel(), truth.ravel())[0, 1])
    n = np.array(grid)
    errors = []
    for _, x, _, _ in bonds:
        p = tuple(np.rint(x * n).astype(int) % n)
        errors.append(abs(rho_cell[p] - truth[p]) / (truth[p] - model_only[p]))
    m = orth(c.cell)
    frac = np.indices(grid).reshape(3, -1).T / n
    d = (frac - missing[0][1] + 0.5) % 1.0 - 0.5
    inside = (np.linalg.norm(d @ m.T, axis=1) < 0.8).reshape(grid)
    dv = gemmi.UnitCell(*c.cell).volume / np.prod(grid)
    found = float(np.sum((rho_cell - model_only)[inside]) * dv)
    true = float(np.sum((truth - model_only)[inside]) * dv)
    return corr, float(np.mean(errors)), found, true


def run_crystal(c, build, work):
    mem, cif, nref = write_data(c, work)
    model, bonds, missing = scatterers(c)
    grid = grid_of(c)
    truth = density_on_grid(c, model + bonds + missing, grid)
    model_only = density_on_grid(c, model, grid)
    voxel_volume = gemmi.UnitCell(*c.cell).volume / np.prod(grid)
    rows = []
    for w in W_VALUES:
        subprocess.run([os.path.join(build, "halvorin-prior"), cif, mem, "-w", str(w), "-q"], check=True)
        p = PriorProblem(read_mem(mem), os.path.join(work, c.name + "_prior.pgrid"), voxel_volume)
        rho = p.at_constr(1.0)
        rho_cell = rho[p.inverse].reshape(grid) / voxel_volume
        corr, bond, found, true = measure(c, rho_cell, truth, model_only, bonds, missing, grid)
        rows.append((w, p.constr(rho), corr, bond, found, true))
        print("%s W=%.2f C=%.4f corr=%.5f bond=%.3f missing=%.3f (%.3f)" % ((c.name,) + rows[-1]), flush=True)
    return nref, rows


def main(argv):
    build, out = argv[1], argv[2]
    results = {}
    with tempfile.TemporaryDirectory() as work:
        for c in (QUARTZ, UREA):
            results[c.name] = run_crystal(c, build, work)
    write_table(results, os.path.join(out, "prior_evidence.md"))
    plot(results, os.path.join(out, "prior_evidence.png"))


def write_table(results, path):
    lines = ["| set | W | correlation with the truth | bond-charge error (x its peak) | "
             "charge found on the missing atom (true) |", "|---|---|---|---|---|"]
    for name, (nref, rows) in results.items():
        for i, (w, _, corr, bond, found, true) in enumerate(rows):
            label = "%s, %d reflections" % (name, nref) if i == 0 else ""
            lines.append("| %s | %.2f | %.4f | %.2f | %.2f (%.2f) |" % (label, w, corr, bond, found, true))
    with open(path, "w") as f:
        f.write("\n".join(lines) + "\n")


def plot(results, path):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    fig, axes = plt.subplots(1, 3, figsize=(12, 3.6))
    for name, (_, rows) in results.items():
        r = np.array([row[:5] for row in rows])
        true = rows[0][5]
        axes[0].plot(r[:, 0], r[:, 2], "o-", label=name)
        axes[1].plot(r[:, 0], r[:, 3], "o-", label=name)
        axes[2].plot(r[:, 0], r[:, 4] / true, "o-", label=name)
    axes[0].set_ylabel("correlation with the truth")
    axes[1].set_ylabel("bond-charge error / its peak")
    axes[2].set_ylabel("missing atom: found / true charge")
    axes[2].axhspan(0.9, 1.1, color="0.9")
    for ax in axes:
        ax.set_xlabel("uniform fraction W")
        ax.axvline(0.35, color="0.6", ls=":")
        ax.legend()
    fig.tight_layout()
    fig.savefig(path, dpi=100)


if __name__ == "__main__":
    main(sys.argv)
