#!/usr/bin/python3
"""Exact maximum-entropy densities of large single-channel data sets.

The same problem and dual as tools/exact_maxent.py, whose dense matrices of
orbit features grow as reflections times voxels and stop it at a few hundred
reflections.  Here the maps between reflections and the density are FFTs of
the full grid: the synthesis a(x) = Re sum_k conj(theta_k) exp(2 pi i h_k . x)
is averaged over the space group's operators (gemmi), which is the orbit mean
of the dense features, and F(h) = sum_x rho(x) exp(2 pi i h . x) over the
cell.  Newton's method on the dual solves each step by conjugate gradients
with Hessian products of two FFTs, preconditioned by the Hessian's diagonal
at a flat density; lambda is found as in tools/exact_maxent.py.

Usage: /usr/bin/python3 tools/exact_maxent_fft.py FILE.mem [C ...]
       /usr/bin/python3 tools/exact_maxent_fft.py --compare FILE.mem RESULT.pgrid
"""

import os
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import exact_maxent  # noqa: E402


def permutations(sg_number, grid):
    """For every operator, the flat index of its image of every grid point."""
    perms, rotations = [], []
    for R, image in exact_maxent.grid_images(sg_number, grid):
        perms.append(image)
        rotations.append(R)
    return perms, rotations


class FFTProblem:
    def __init__(self, data):
        if data["fminus"] != 0.0:
            raise SystemExit("only single-channel data sets are handled")
        self.d = data
        self.grid = data["grid"]
        self.ncell = float(np.prod(self.grid))
        self.perms, rotations = permutations(data["sg"], self.grid)
        self.inverse, self.m = exact_maxent.orbits(data["sg"], self.grid)
        hkl = data["hkl"]
        self.index = np.ravel_multi_index((hkl % np.array(self.grid)).T, self.grid)
        self.f000 = data["f000"]
        self.prior = (exact_maxent.read_prior(data, self.inverse, self.m)[self.inverse]
                      if data["prior"] else np.full(int(self.ncell), self.f000 / self.ncell))
        self.fobs = np.column_stack([data["fobs"].real, data["fobs"].imag]).ravel()
        self.w2 = np.repeat(data["weight"], 2)
        self.N = float(len(hkl))
        # Distinct equivalents of each h: a flat density's Hessian is F000 / (2 M) per component.
        M = np.array([len({tuple(h @ R) for R in rotations}) for h in hkl], dtype=float)
        self.flat = np.repeat(self.f000 / (2.0 * M), 2)
        self.theta = np.zeros(2 * len(hkl))

    def synthesis(self, theta):
        """a(x): the orbit mean of Re sum_k conj(theta_k) exp(2 pi i h_k . x)."""
        G = np.zeros(int(self.ncell), complex)
        np.add.at(G, self.index, theta[0::2] - 1j * theta[1::2])
        g = (np.fft.ifftn(G.reshape(self.grid)) * self.ncell).real.ravel()
        return sum(g[p] for p in self.perms) / len(self.perms)

    def transform(self, w):
        """(Re, Im) of sum_x w(x) exp(2 pi i h_k . x) for every reflection."""
        F = np.conj(np.fft.fftn(w.reshape(self.grid)).ravel()[self.index])
        return np.column_stack([F.real, F.imag]).ravel()

    def density(self, theta):
        a = self.synthesis(theta)
        e = self.prior * np.exp(a - a.max())
        return self.f000 * e / e.sum()

    def constr(self, rho):
        return float(np.sum(self.w2 * (self.fobs - self.transform(rho)) ** 2) / self.N)

    def entropy_per_electron(self, theta):
        rho = self.density(theta)
        return float(-np.sum(rho * np.log(rho / self.prior)) / self.f000)

    def dual(self, theta, lam):
        a = self.synthesis(theta)
        top = a.max()
        value = -self.f000 * (top + np.log(np.sum(self.prior / self.f000 * np.exp(a - top))))
        return value + theta @ self.fobs - np.sum(self.N * theta ** 2 / (4.0 * lam * self.w2))

    def hessian_product(self, rho, s, lam):
        b = self.synthesis(s)
        b -= np.dot(rho, b) / self.f000
        return self.transform(rho * b) + self.N * s / (2.0 * lam * self.w2)

    def newton_direction(self, rho, grad, lam, eta):
        """Preconditioned CG on H x = grad to a relative residual eta."""
        diag = self.flat + self.N / (2.0 * lam * self.w2)
        x, r = np.zeros_like(grad), grad.copy()
        z = r / diag
        p, rz = z.copy(), r @ z
        for _ in range(5000):
            Hp = self.hessian_product(rho, p, lam)
            alpha = rz / (p @ Hp)
            x += alpha * p
            r -= alpha * Hp
            if np.sqrt(r @ r) <= eta * np.sqrt(grad @ grad):
                break
            z = r / diag
            rz, rz_old = r @ z, rz
            p = z + (rz / rz_old) * p
        return x

    def solve(self, lam, tolerance=1e-10):
        """Newton-CG on the dual for one multiplier, to a relative gradient; returns theta."""
        theta = self.theta.copy()
        scale = np.sqrt(self.fobs @ self.fobs)
        for _ in range(200):
            rho = self.density(theta)
            grad = self.fobs - self.transform(rho) - self.N * theta / (2.0 * lam * self.w2)
            gamma = np.sqrt(grad @ grad) / scale
            if gamma < tolerance:
                break
            step = self.newton_direction(rho, grad, lam, min(0.1, np.sqrt(gamma)))
            d0, t = self.dual(theta, lam), 1.0
            while self.dual(theta + t * step, lam) < d0 + 1e-4 * t * (grad @ step) and t > 1e-10:
                t *= 0.5
            theta += t * step
        self.theta = theta
        return theta

    at_constr = exact_maxent.Problem.at_constr


def main(argv):
    if argv[:1] == ["--compare"]:
        p = FFTProblem(exact_maxent.read_mem(argv[1]))
        rho = sum(exact_maxent.read_grid(argv[2], p.d, p.inverse, p.m))[p.inverse]
        c = p.constr(rho)
        exact = p.density(p.at_constr(c))
        s = float(-np.sum(rho * np.log(rho / p.prior)) / p.f000)
        print("%s: CONSTR %.7f, its entropy per electron %.8f, exact %.8f, density correlation %.7f, "
              "total %.10g against %.10g, largest difference %.3g of the largest density"
              % (argv[2], c, s, p.entropy_per_electron(p.theta), np.corrcoef(rho, exact)[0, 1],
                 rho.sum(), p.f000, np.abs(rho - exact).max() / exact.max()))
        return
    p = FFTProblem(exact_maxent.read_mem(argv[0]))
    print("CONSTR of the uniform density: %.6f" % p.constr(p.prior))
    for c in [float(v) for v in argv[1:]] or [1.0]:
        theta = p.at_constr(c)
        print("CONSTR %.6f  entropy per electron %.8f" % (p.constr(p.density(theta)), p.entropy_per_electron(theta)))


if __name__ == "__main__":
    main(sys.argv[1:])
