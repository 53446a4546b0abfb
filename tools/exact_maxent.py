#!/usr/bin/python3
"""Exact maximum-entropy densities of small data sets, as a reference for the optimisers.

The problem is convex: maximise the entropy -sum m rho ln(rho / p) of a
symmetric density with a uniform prior p, subject to its total F(000) and to
CONSTR = (1/N) sum w |Fobs - F|^2 <= C.  For a multiplier lambda of the
constraint the density is rho = F000 p exp(psi . theta) / Z, with one complex
unknown theta per reflection that maximises the concave dual

    D(theta) = -F000 ln Z(theta) + theta . Fobs - sum N |theta|^2 / (4 lambda w),

solved here by Newton's method; lambda itself is found by a secant search on
ln C against ln lambda.  psi are the orbit sums of exp(2 pi i h . x) over the
grid, built from the space group's operators (gemmi) with the program's sign
convention: a plus sign in the exponent and no normalisation.

Only data sets of individual reflections (no overlap groups, no generated
unobserved reflections) are handled. A data set given as FILE.mem:minus has a
negative channel too, with the total F- of its F(000) line; one given as
FILE.mem:prior=GRID.pgrid has that grid file of the program as its prior.
Both channels then enter as in the program: rho+ ~ p+ exp(psi . theta) and
|rho-| ~ |p-| exp(-psi . theta), and the entropy per electron is
(S+ + S-) / (F+ + |F-|).

Usage: /usr/bin/python3 tools/exact_maxent.py FILE.mem [C ...]
       /usr/bin/python3 tools/exact_maxent.py --compare FILE.mem RESULT.pgrid
       /usr/bin/python3 tools/exact_maxent.py --write-p212121 FILE.mem
       /usr/bin/python3 tools/exact_maxent.py --table OUT FILE.mem ...

With --table, each data set gets a line: name, CONSTR of the uniform
density, the entropy per electron at CONSTR = 1, and its derivatives by
CONSTR and by the total charge relative to F(000), the prior held fixed: an
optimiser that meets the totals only to a tolerance is compared at its own.
"""

import os
import sys

import gemmi
import numpy as np


def read_mem(spec):
    """The positional data set: cell, group, grid, F(000) and the F reflections."""
    path, *options = spec.split(":")
    with open(path) as f:
        lines = [l.strip() for l in f if l.strip() and not l.lstrip().startswith("#")]
    sg, setting, nx, ny, nz = (int(v) for v in lines[3].split()[:5])
    f000 = float(lines[4].split()[0])
    n = int(lines[5])
    refl = np.array([[float(v) for v in l.split()[:6]] for l in lines[6:6 + n]])
    groups = int(lines[6 + n])
    if groups != 0:
        raise SystemExit("%s: overlap groups are not handled" % path)
    fminus = float(lines[4].split()[1]) if "minus" in options else 0.0
    prior = [o[len("prior="):] for o in options if o.startswith("prior=")]
    cell = [float(v) for v in lines[1].split()[:6]]
    return {"sg": sg, "grid": (nx, ny, nz), "f000": f000, "fminus": fminus, "cell": cell,
            "prior": prior[0] if prior else None,
            "hkl": refl[:, :3].astype(int), "fobs": refl[:, 3] + 1j * refl[:, 4],
            "weight": 1.0 / refl[:, 5] ** 2}


def grid_images(sg_number, grid):
    """For every operator, its rotation and the flat index of its image of every grid point."""
    n = np.array(grid)
    idx = np.indices(grid).reshape(3, -1)
    for op in gemmi.find_spacegroup_by_number(sg_number).operations():
        R = np.array(op.rot) // gemmi.Op.DEN
        t = np.array(op.tran) / gemmi.Op.DEN
        # x' = R x + t on the grid: (R (i / n) + t) n must be whole numbers.
        y = (R @ (idx / n[:, None]) + t[:, None]) * n[:, None]
        yi = np.rint(y).astype(np.int64)
        assert np.allclose(y, yi, atol=1e-6), "grid does not fit the operators"
        yield R, np.ravel_multi_index(yi % n[:, None], grid)


def orbits(sg_number, grid):
    """Representative label of every grid point, and the orbit size of each label."""
    rep = np.full(int(np.prod(grid)), np.iinfo(np.int64).max)
    for _, image in grid_images(sg_number, grid):
        rep = np.minimum(rep, image)
    labels, inverse, counts = np.unique(rep, return_inverse=True, return_counts=True)
    return inverse, counts.astype(float)


def read_prior(data, inverse, counts):
    """The positive prior per orbit from a grid file of the program."""
    prior = read_grid(data["prior"], data, inverse, counts)[0]
    assert np.all(prior > 0.0), "the prior must cover every orbit"
    return prior


def read_grid(path, data, inverse, counts):
    """The channels of a grid file of the program per orbit: its values per
    cubic angstrom times the voxel volume, as the program reads them."""
    raw = open(path, "rb").read()
    version = np.frombuffer(raw, "<i4", 4, 0)
    at = 16 + int(version[3]) + 80
    constant, grid_type, n_channel, dim, nx, ny, nz, n_asym = np.frombuffer(raw, "<i4", 8, at)
    at += 32 + 24
    if grid_type == 1:
        n_ops = int(np.frombuffer(raw, "<i4", 1, at)[0])
        at += 4 * (3 + 12 * n_ops + 3)
    width = (1 if grid_type == 1 else 0) + n_channel
    values = np.frombuffer(raw, "<f4", n_asym * width, at).reshape(n_asym, width)
    idx = values[:, 0].view("<i4").astype(np.int64)
    x = idx % (nx + 1)
    y = idx // (nx + 1) % (ny + 1)
    z = idx // ((nx + 1) * (ny + 1))
    labels = inverse[(x * ny + y) * nz + z]
    volume = gemmi.UnitCell(*data["cell"]).volume / float(nx * ny * nz)
    channels = []
    for c in range(1, width):
        values_c = np.zeros(len(counts))
        values_c[labels] = values[:, c].astype(np.float64) * volume
        channels.append(values_c)
    return channels


def features(data, inverse, counts):
    """psi[v, k] = mean over the orbit v of exp(2 pi i h_k . x), as real columns (Re, Im)."""
    grid = np.array(data["grid"])
    frac = np.indices(data["grid"]).reshape(3, -1) / grid[:, None]
    nv = len(counts)
    psi = np.empty((nv, 2 * len(data["hkl"])))
    for k, h in enumerate(data["hkl"]):
        e = np.exp(2j * np.pi * (h @ frac))
        s = np.bincount(inverse, weights=e.real, minlength=nv) + \
            1j * np.bincount(inverse, weights=e.imag, minlength=nv)
        psi[:, 2 * k] = s.real / counts
        psi[:, 2 * k + 1] = s.imag / counts
    return psi


class Problem:
    def __init__(self, data):
        self.d = data
        inverse, self.m = orbits(data["sg"], data["grid"])
        self.psi = features(data, inverse, self.m)
        self.ncell = float(np.prod(data["grid"]))
        self.f000 = data["f000"]          # the target; the prior and the per-electron figures keep it
        self.fm = data["fminus"]
        self.prior = (read_prior(data, inverse, self.m) if data["prior"]
                      else np.full(len(self.m), data["f000"] / self.ncell))
        self.pm = self.fm / self.ncell
        self.fobs = np.column_stack([data["fobs"].real, data["fobs"].imag]).ravel()
        self.w2 = np.repeat(data["weight"], 2)
        self.N = float(len(data["hkl"]))
        self.theta = np.zeros(self.psi.shape[1])

    def sides(self, theta):
        """rho+ and rho- (negative, or zero without a negative channel)."""
        a = self.psi @ theta
        e = self.prior * np.exp(a - a.max())
        plus = self.d["f000"] * e / np.dot(self.m, e)
        if self.fm == 0.0:
            return plus, np.zeros_like(plus)
        e = np.exp(a.min() - a)
        return plus, self.fm * e / np.dot(self.m, e)

    def density(self, theta):
        plus, minus = self.sides(theta)
        return plus + minus

    def start(self):
        return self.prior + self.pm

    def constr(self, rho):
        f = self.psi.T @ (self.m * rho)
        return float(np.sum(self.w2 * (self.fobs - f) ** 2) / self.N)

    def entropy_per_electron(self, theta):
        plus, minus = self.sides(theta)
        s = -np.sum(self.m * plus * np.log(plus / self.prior))
        if self.fm != 0.0:
            s -= np.sum(self.m * -minus * np.log(minus / self.pm))
        return float(s / (self.f000 + abs(self.fm)))

    def dual(self, theta, lam):
        a = self.psi @ theta
        top = a.max()
        value = -self.d["f000"] * (top + np.log(np.dot(self.m, self.prior / self.f000 * np.exp(a - top))))
        if self.fm != 0.0:
            low = a.min()
            value -= abs(self.fm) * (-low + np.log(np.dot(self.m, np.exp(low - a) / self.ncell)))
        return value + theta @ self.fobs - np.sum(self.N * theta ** 2 / (4.0 * lam * self.w2))

    def solve(self, lam):
        """Newton's method on the dual for one multiplier; returns theta."""
        theta = self.theta.copy()
        for _ in range(200):
            plus, minus = self.sides(theta)
            f = self.psi.T @ (self.m * (plus + minus))
            grad = self.fobs - f - self.N * theta / (2.0 * lam * self.w2)
            H = np.zeros((len(theta), len(theta)))
            for side, total in ((plus, self.d["f000"]), (-minus, abs(self.fm))):
                if total == 0.0:
                    continue
                q = self.m * side
                g = self.psi.T @ q
                H += (self.psi.T * q) @ self.psi - np.outer(g, g) / total
            H[np.diag_indices_from(H)] += self.N / (2.0 * lam * self.w2)
            step = np.linalg.solve(H, grad)
            d0, t = self.dual(theta, lam), 1.0
            while self.dual(theta + t * step, lam) < d0 + 1e-4 * t * (grad @ step) and t > 1e-10:
                t *= 0.5
            theta += t * step
            if np.sqrt(grad @ step) < 1e-9 * self.d["f000"]:
                break
        self.theta = theta
        return theta

    def at_constr(self, target):
        """The exact density with CONSTR = target: C falls as lambda grows, so
        lambda is bracketed by factors of 4 and then found by the Illinois
        variant of regula falsi on ln C against ln lambda."""
        def g(ln_lam):
            return np.log(self.constr(self.density(self.solve(np.exp(ln_lam))))) - np.log(target)
        lo, hi = 0.0, np.log(4.0)
        g_lo, g_hi = g(lo), g(hi)
        while g_lo < 0.0:
            hi, g_hi = lo, g_lo
            lo -= np.log(4.0)
            g_lo = g(lo)
        while g_hi > 0.0:
            lo, g_lo = hi, g_hi
            hi += np.log(4.0)
            g_hi = g(hi)
        side = 0
        for _ in range(200):
            mid = hi - g_hi * (hi - lo) / (g_hi - g_lo)
            g_mid = g(mid)
            if abs(g_mid) < 1e-12 or hi - lo < 1e-14:
                break
            if g_mid > 0.0:
                lo, g_lo = mid, g_mid
                if side == -1:
                    g_hi *= 0.5
                side = -1
            else:
                hi, g_hi = mid, g_mid
                if side == 1:
                    g_lo *= 0.5
                side = 1
        return self.solve(np.exp(mid))


def write_p212121(path):
    """A small orthorhombic, non-centrosymmetric data set from a three-atom
    Gaussian model: exact structure factors of the model, sigma = 2 % of |F| + 0.05."""
    cell = np.array([5.0, 5.6, 6.2])
    grid = (20, 24, 24)
    atoms = [(8.0, (0.10, 0.22, 0.31), 2.5), (6.0, (0.37, 0.05, 0.66), 3.0), (4.0, (0.71, 0.43, 0.12), 3.5)]
    ops = list(gemmi.find_spacegroup_by_number(19).operations())
    sites = []
    for z, x, b in atoms:
        for op in ops:
            y = np.array(op.apply_to_xyz(list(x)))
            sites.append((z, y % 1.0, b))
    f000 = sum(z for z, _, _ in sites)
    sg = gemmi.find_spacegroup_by_number(19)
    lines = []
    for h in range(0, 6):
        for k in range(0, 7):
            for l in range(0, 7):
                s = np.sqrt((h / cell[0]) ** 2 + (k / cell[1]) ** 2 + (l / cell[2]) ** 2)
                if (h, k, l) == (0, 0, 0) or s > 0.9 or sg.operations().is_systematically_absent([h, k, l]):
                    continue
                F = sum(z * np.exp(-b * s * s / 4.0) * np.exp(2j * np.pi * np.dot([h, k, l], y))
                        for z, y, b in sites)
                sigma = 0.02 * abs(F) + 0.05
                lines.append("%4d%4d%4d %12.5f %12.5f %10.5f" % (h, k, l, F.real, F.imag, sigma))
    text = ["# Three-atom Gaussian model in P 21 21 21, written by tools/exact_maxent.py.",
            "Synthetic three-atom model, P 21 21 21",
            "%.4f %.4f %.4f 90.0000 90.0000 90.0000" % tuple(cell), "P 21 21 21",
            "19 1 %d %d %d" % grid, "%.4f 0.01" % f000, str(len(lines))] + lines + ["0", "0"]
    with open(path, "w") as f:
        f.write("\n".join(text) + "\n")


def main(argv):
    if argv[:1] == ["--write-p212121"]:
        write_p212121(argv[1])
        return
    if argv[:1] == ["--compare"]:
        # A result of the program against the exact optimum at the program's own CONSTR.
        p = Problem(read_mem(argv[1]))
        inverse, _ = orbits(p.d["sg"], p.d["grid"])
        rho = sum(read_grid(argv[2], p.d, inverse, p.m))
        c = p.constr(rho)
        exact = p.density(p.at_constr(c))
        r = np.corrcoef(np.repeat(rho, p.m.astype(int)), np.repeat(exact, p.m.astype(int)))[0, 1]
        print("%s: CONSTR %.7f, exact entropy per electron %.8f, density correlation %.7f, "
              "largest difference %.3g of the largest density"
              % (argv[2], c, p.entropy_per_electron(p.theta), r, np.abs(rho - exact).max() / np.abs(exact).max()))
        return
    if argv[:1] == ["--table"]:
        out = ["# data set, CONSTR of the uniform density, exact entropy per electron at",
               "# CONSTR = 1, its derivative by CONSTR and by total / F(000) (tools/exact_maxent.py)"]
        for path in argv[2:]:
            p = Problem(read_mem(path))
            c_uniform = p.constr(p.start())
            s1 = p.entropy_per_electron(p.at_constr(1.0))
            s_c = p.entropy_per_electron(p.at_constr(1.001))
            p.d["f000"] = p.f000 * 1.0001
            s_q = p.entropy_per_electron(p.at_constr(1.0))
            out.append("%s %.6f %.8f %.6f %.6f" % (os.path.basename(path), c_uniform, s1,
                                                   (s_c - s1) / 0.001, (s_q - s1) / 0.0001))
            print(out[-1], flush=True)
        with open(argv[1], "w") as f:
            f.write("\n".join(out) + "\n")
        return
    p = Problem(read_mem(argv[0]))
    print("CONSTR of the uniform density: %.6f" % p.constr(p.start()))
    for c in [float(v) for v in argv[1:]] or [1.0]:
        theta = p.at_constr(c)
        print("CONSTR %.6f  entropy per electron %.8f" % (p.constr(p.density(theta)), p.entropy_per_electron(theta)))


if __name__ == "__main__":
    main(sys.argv[1:])
