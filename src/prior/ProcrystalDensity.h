// The independent-atom (procrystal) density of a model on the analysis's grid, with the group's symmetry.
#pragma once

#include <vector>

#include "prior/AtomModel.h"

enum class Radiation { Xray, Neutron };

// Each site of `sites` contributes under every operator of the group; a site
// on a special position meets itself there. The weight of one image is the
// occupancy divided by the number of operators that keep the site (CIF), or
// the occupancy itself (SHELX, whose occupancy already holds that fraction).
double ImageWeight(const ModelSite& site, const AtomModel& model, const std::vector<gemmi::Op>& ops);

// Displacement as gemmi's atoms carry it: Cartesian U (square angstrom) for
// an anisotropic site, else B. A U that is not positive definite, below a
// floor that keeps the atom wider than a fraction of a voxel, or above 2 A^2,
// is replaced by an isotropic one within those bounds.
struct AtomDisplacement {
    bool anisotropic = false;
    double bIso = 0.0;
    gemmi::SMat33<double> uCart = {0, 0, 0, 0, 0, 0};
};
AtomDisplacement DisplacementOf(const ModelSite& site, const gemmi::UnitCell& cell);

// Density per cubic angstrom at every point of the grid (x fastest, then y, then z),
// summed over the group given by gridOps (16 integers each, translation in voxels,
// as the engine's grid operators). X-ray: electrons from IT92 form factors;
// neutron: scattering lengths, whose negative part goes to `minus`.
struct ProcrystalGrids {
    std::vector<double> plus;
    std::vector<double> minus;  // empty without a negative scattering length
};
ProcrystalGrids ComputeProcrystal(const AtomModel& model, const std::vector<ModelSite>& sites,
                                  const gemmi::UnitCell& cell, const int* gridSize,
                                  const std::vector<gemmi::Op>& ops, const std::vector<int>& gridOps,
                                  Radiation radiation);

// Scattering factor of an element at sin(theta)/lambda squared.
double ScatteringFactor(gemmi::Element el, double stol2, Radiation radiation);
