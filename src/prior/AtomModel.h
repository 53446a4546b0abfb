// A refined structure model as the prior needs it: cell, symmetry and atom sites.
#pragma once

#include <string>
#include <vector>

#include <gemmi/elem.hpp>
#include <gemmi/math.hpp>
#include <gemmi/symmetry.hpp>
#include <gemmi/unitcell.hpp>

struct ModelSite {
    std::string label;
    gemmi::Element element = gemmi::El::X;
    gemmi::Fractional fract;
    double occupancy = 1.0;
    double uIso = 0.0;  // square angstrom; used when the site has no uCif
    bool anisotropic = false;
    gemmi::SMat33<double> uCif = {0, 0, 0, 0, 0, 0};  // U11 U22 U33 U12 U13 U23 on the crystal axes
};

struct AtomModel {
    std::string source;  // file name, for messages
    gemmi::UnitCell cell;
    std::string groupName;         // as the file names it, for messages
    std::vector<gemmi::Op> ops;    // every operator of the group, lattice translations included
    std::vector<ModelSite> sites;  // the asymmetric unit
    // A CIF occupancy is chemical: an atom on a special position counts once.
    // A SHELX occupancy already holds the site-symmetry fraction, so each of
    // the group's images of the site counts with it.
    bool occupancyPerImage = false;
};

// Reads a CIF (.cif) or a SHELX model (.res, .ins), chosen by the extension.
// Throws PriorError with a one-line message for a file that cannot be read,
// has no cell, no symmetry, no atoms, or an atom of an unknown element.
AtomModel ReadModel(const std::string& path);
AtomModel ReadCifModel(const std::string& path);
AtomModel ReadResModel(const std::string& path);

// An operator such as "-x+1/2,y,z": whole-number rotation of determinant +-1,
// small numbers only. Throws PriorError naming `source` otherwise.
gemmi::Op ParseOperator(const std::string& text, const std::string& source);

// Whether the cell has lengths of 0.1 to 10000 A and a volume of at least
// 10 % of a b c (no angle below about 6 degrees).
bool UsableCell(const gemmi::UnitCell& cell);

// Checks that every site is usable: finite numbers, a known element. Throws PriorError.
void CheckModel(const AtomModel& model);
