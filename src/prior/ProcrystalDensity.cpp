// Atom densities from gemmi's form factors, placed around the model's sites and summed over the group.
#include "prior/ProcrystalDensity.h"

#include <algorithm>
#include <cmath>

#include <gemmi/dencalc.hpp>
#include <gemmi/grid.hpp>
#include <gemmi/it92.hpp>
#include <gemmi/model.hpp>
#include <gemmi/neutron92.hpp>

#include "engine/blocks/ForEachBlock.h"
#include "engine/blocks/GridSymmetry.h"

namespace {

// Below this U an atom is narrower than the grids of an analysis resolve and
// its sampled peak depends on where it falls between points.
constexpr double kMinimumU = 0.002;
// Above this no atom is localised; larger values come from damaged files and
// would make the atom's cutoff radius meaningless.
constexpr double kMaximumU = 2.0;
constexpr double kEightPiSq = 78.95683520871486;

// Whether g keeps x, up to a lattice translation (within 0.01 angstrom).
bool Keeps(const gemmi::Op& g, const gemmi::Fractional& x, const gemmi::UnitCell& cell) {
    const std::array<double, 3> image = g.apply_to_xyz({x.x, x.y, x.z});
    gemmi::Fractional d(image[0] - x.x, image[1] - x.y, image[2] - x.z);
    d.x -= std::round(d.x);
    d.y -= std::round(d.y);
    d.z -= std::round(d.z);
    return cell.orthogonalize_difference(d).length_sq() < 1e-4;
}

gemmi::SMat33<double> CartesianU(const gemmi::SMat33<double>& u, const gemmi::UnitCell& cell) {
    // U_cart = M N U N M^T, N = diag(a*, b*, c*), M the orthogonalisation matrix.
    const double n[3] = {cell.ar, cell.br, cell.cr};
    const double uc[3][3] = {{u.u11, u.u12, u.u13}, {u.u12, u.u22, u.u23}, {u.u13, u.u23, u.u33}};
    double s[3][3], r[3][3];
    const gemmi::Mat33& m = cell.orth.mat;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) s[i][j] = n[i] * uc[i][j] * n[j];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            double sum = 0.0;
            for (int k = 0; k < 3; ++k)
                for (int l = 0; l < 3; ++l) sum += m[i][k] * s[k][l] * m[j][l];
            r[i][j] = sum;
        }
    return {r[0][0], r[1][1], r[2][2], r[0][1], r[0][2], r[1][2]};
}

bool PositiveDefinite(const gemmi::SMat33<double>& u, double floor) {
    const double m2 = u.u11 * u.u22 - u.u12 * u.u12;
    return u.u11 > floor && m2 > floor * floor && u.determinant() > floor * floor * floor;
}

template <class Table>
std::vector<double> AtomsOnGrid(const std::vector<gemmi::Atom>& atoms, const gemmi::UnitCell& cell,
                                const int* n) {
    gemmi::DensityCalculator<Table, double> calc;
    calc.grid.set_unit_cell(cell);
    calc.grid.set_size_without_checking(n[0], n[1], n[2]);
    calc.grid.fill(0.0);
    for (const gemmi::Atom& atom : atoms) calc.add_atom_density_to_grid(atom);
    return std::move(calc.grid.data);
}

// Sum over the group: out(p) = sum over g of in(g p); as g runs over the
// group so does its inverse, so this is the sum of all images of `in`.
std::vector<double> SumOverGroup(const std::vector<double>& in, const int* n, const std::vector<int>& ops) {
    const int nOps = static_cast<int>(ops.size() / 16);
    std::vector<double> out(in.size(), 0.0);
    // Each plane of z is written by one thread alone.
    ForEachShare(n[2], omp_get_max_threads(), [&](long zBegin, long zEnd) {
        for (int z = static_cast<int>(zBegin); z < zEnd; ++z)
            for (int y = 0; y < n[1]; ++y)
                for (int x = 0; x < n[0]; ++x) {
                    double sum = 0.0;
                    for (int k = 0; k < nOps; ++k) {
                        const int* o = &ops[16 * k];
                        const int xi =
                            WrapIndex(static_cast<long long>(o[0]) * x + o[4] * y + o[8] * z + o[12], n[0]);
                        const int yi =
                            WrapIndex(static_cast<long long>(o[1]) * x + o[5] * y + o[9] * z + o[13], n[1]);
                        const int zi =
                            WrapIndex(static_cast<long long>(o[2]) * x + o[6] * y + o[10] * z + o[14], n[2]);
                        sum += in[xi + static_cast<size_t>(n[0]) * (yi + static_cast<size_t>(n[1]) * zi)];
                    }
                    out[x + static_cast<size_t>(n[0]) * (y + static_cast<size_t>(n[1]) * z)] = sum;
                }
    });
    return out;
}

gemmi::Atom MakeAtom(const ModelSite& site, double weight, const gemmi::UnitCell& cell) {
    gemmi::Atom atom;
    atom.element = site.element;
    atom.pos = cell.orthogonalize(site.fract.wrap_to_unit());
    atom.occ = static_cast<float>(weight);
    const AtomDisplacement d = DisplacementOf(site, cell);
    atom.b_iso = static_cast<float>(d.bIso);
    if (d.anisotropic)
        atom.aniso = {static_cast<float>(d.uCart.u11), static_cast<float>(d.uCart.u22),
                      static_cast<float>(d.uCart.u33), static_cast<float>(d.uCart.u12),
                      static_cast<float>(d.uCart.u13), static_cast<float>(d.uCart.u23)};
    return atom;
}

}  // namespace

double ImageWeight(const ModelSite& site, const AtomModel& model, const std::vector<gemmi::Op>& ops) {
    if (model.occupancyPerImage) return site.occupancy;
    int keeping = 0;
    for (const gemmi::Op& g : ops)
        if (Keeps(g, site.fract, model.cell)) ++keeping;
    return site.occupancy / std::max(keeping, 1);
}

AtomDisplacement DisplacementOf(const ModelSite& site, const gemmi::UnitCell& cell) {
    AtomDisplacement d;
    double uIso = site.uIso;
    if (site.anisotropic) {
        const gemmi::SMat33<double> u = CartesianU(site.uCif, cell);
        if (PositiveDefinite(u, kMinimumU) && std::max({u.u11, u.u22, u.u33}) < kMaximumU) {
            d.anisotropic = true;
            d.uCart = u;
            return d;
        }
        uIso = (u.u11 + u.u22 + u.u33) / 3.0;
    }
    d.bIso = kEightPiSq * (std::isfinite(uIso) ? std::min(std::max(uIso, kMinimumU), kMaximumU) : kMinimumU);
    return d;
}

double ScatteringFactor(gemmi::Element el, double stol2, Radiation radiation) {
    if (radiation == Radiation::Neutron) return gemmi::Neutron92<double>::get(el).calculate_sf(stol2);
    return gemmi::IT92<double>::get(el).calculate_sf(stol2);
}

ProcrystalGrids ComputeProcrystal(const AtomModel& model, const std::vector<ModelSite>& sites,
                                  const gemmi::UnitCell& cell, const int* gridSize,
                                  const std::vector<gemmi::Op>& ops, const std::vector<int>& gridOps,
                                  Radiation radiation) {
    std::vector<gemmi::Atom> positive, negative;
    for (const ModelSite& site : sites) {
        // An element that does not scatter (a zero scattering length) adds
        // nothing, and its cutoff radius would be infinite.
        const double strength = ScatteringFactor(site.element, 0.0, radiation);
        if (strength == 0.0 || !std::isfinite(strength)) continue;
        const gemmi::Atom atom = MakeAtom(site, ImageWeight(site, model, ops), cell);
        const bool below = strength < 0.0;
        (below ? negative : positive).push_back(atom);
    }
    ProcrystalGrids out;
    if (radiation == Radiation::Xray) {
        out.plus =
            SumOverGroup(AtomsOnGrid<gemmi::IT92<double>>(positive, cell, gridSize), gridSize, gridOps);
        return out;
    }
    out.plus =
        SumOverGroup(AtomsOnGrid<gemmi::Neutron92<double>>(positive, cell, gridSize), gridSize, gridOps);
    if (!negative.empty())
        out.minus =
            SumOverGroup(AtomsOnGrid<gemmi::Neutron92<double>>(negative, cell, gridSize), gridSize, gridOps);
    return out;
}
