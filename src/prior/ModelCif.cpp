// The model of a small-molecule CIF: the first data block with atom sites.
#include <cmath>

#include <gemmi/cif.hpp>
#include <gemmi/numb.hpp>
#include <gemmi/small.hpp>

#include "prior/AtomModel.h"
#include "prior/PriorError.h"

namespace {

const gemmi::cif::Block* BlockWithAtoms(const gemmi::cif::Document& doc) {
    for (const gemmi::cif::Block& block : doc.blocks)
        if (const_cast<gemmi::cif::Block&>(block).find_values("_atom_site_fract_x")) return &block;
    return nullptr;
}

// The operators as the file lists them; failing that, those of the Hall or
// Hermann-Mauguin symbol.
std::vector<gemmi::Op> GroupOperators(gemmi::cif::Block& block, const std::string& path, std::string& name) {
    for (const char* tag : {"_space_group_symop_operation_xyz", "_symmetry_equiv_pos_as_xyz"}) {
        gemmi::cif::Column column = block.find_values(tag);
        if (!column || column.length() == 0) continue;
        std::vector<gemmi::Op> ops;
        for (const std::string& text : column)
            ops.push_back(ParseOperator(gemmi::cif::as_string(text), path));
        return ops;
    }
    for (const char* tag : {"_space_group_name_Hall", "_symmetry_space_group_name_Hall"})
        if (const std::string* value = block.find_value(tag)) {
            name = gemmi::cif::as_string(*value);
            // The symbol's change of basis is an operator text: check it first.
            const size_t open = name.find('(');
            if (open != std::string::npos)
                ParseOperator(name.substr(open + 1, name.find(')', open) - open - 1), path);
            return gemmi::symops_from_hall(name.c_str()).all_ops_sorted();
        }
    for (const char* tag : {"_space_group_name_H-M_alt", "_symmetry_space_group_name_H-M"})
        if (const std::string* value = block.find_value(tag)) {
            name = gemmi::cif::as_string(*value);
            if (const gemmi::SpaceGroup* sg = gemmi::find_spacegroup_by_name(name))
                return sg->operations().all_ops_sorted();
            throw PriorError(path + ": unknown space group '" + name + "'");
        }
    throw PriorError(path + ": no space group (neither operators nor a symbol)");
}

// The cell, or a cell that is not a crystal's when a constant is missing.
gemmi::UnitCell ReadCell(gemmi::cif::Block& block) {
    gemmi::UnitCell cell;
    gemmi::cif::Table t = block.find(
        "_cell_", {"length_a", "length_b", "length_c", "angle_alpha", "angle_beta", "angle_gamma"});
    if (!t.ok()) return cell;
    auto row = t.one();
    double c[6];
    for (int i = 0; i < 6; ++i) {
        c[i] = gemmi::cif::as_number(row[i]);
        if (!std::isfinite(c[i]) || c[i] <= 0.0 || (i >= 3 && c[i] >= 180.0)) return cell;
    }
    cell.set(c[0], c[1], c[2], c[3], c[4], c[5]);
    return cell;
}

// Sites as the _atom_site_ loop gives them; U from U_iso or B_iso, and the
// anisotropic U of the _atom_site_aniso_ loop matched by label.
std::vector<ModelSite> ReadSites(gemmi::cif::Block& block) {
    using gemmi::cif::as_number;
    using gemmi::cif::as_string;
    enum { kLabel, kSymbol, kX, kY, kZ, kUiso, kBiso, kOcc };
    std::vector<ModelSite> sites;
    gemmi::cif::Table atoms =
        block.find("_atom_site_", {"label", "?type_symbol", "fract_x", "fract_y", "fract_z",
                                   "?U_iso_or_equiv", "?B_iso_or_equiv", "?occupancy"});
    for (auto row : atoms) {
        ModelSite site;
        site.label = as_string(row[kLabel]);
        const std::string symbol = row.has(kSymbol) ? as_string(row[kSymbol]) : site.label;
        gemmi::SmallStructure::Site parsed;
        gemmi::split_element_and_charge(symbol.empty() ? std::string("?") : symbol, &parsed);
        site.element = parsed.element;
        if (site.element == gemmi::El::X) site.label += " (" + symbol + ")";
        site.fract = gemmi::Fractional(as_number(row[kX]), as_number(row[kY]), as_number(row[kZ]));
        if (row.has(kUiso))
            site.uIso = as_number(row[kUiso], 0.0);
        else if (row.has(kBiso))
            site.uIso = as_number(row[kBiso], 0.0) / gemmi::u_to_b();
        if (row.has(kOcc)) site.occupancy = as_number(row[kOcc], 1.0);
        sites.push_back(site);
    }
    for (auto row :
         block.find("_atom_site_aniso_", {"label", "U_11", "U_22", "U_33", "U_12", "U_13", "U_23"})) {
        const std::string label = row.str(0);
        for (ModelSite& site : sites) {
            if (site.label != label) continue;
            site.anisotropic = true;
            site.uCif = {as_number(row[1], 0.0), as_number(row[2], 0.0), as_number(row[3], 0.0),
                         as_number(row[4], 0.0), as_number(row[5], 0.0), as_number(row[6], 0.0)};
            break;
        }
    }
    return sites;
}

}  // namespace

AtomModel ReadCifModel(const std::string& path) {
    gemmi::cif::Document doc;
    try {
        doc = gemmi::cif::read_file(path);
    } catch (const std::exception& e) {
        throw PriorError(path + ": not a readable CIF (" + std::string(e.what()).substr(0, 200) + ")");
    }
    const gemmi::cif::Block* found = BlockWithAtoms(doc);
    if (!found) throw PriorError(path + ": no atoms (no _atom_site_fract_x loop)");
    gemmi::cif::Block& block = const_cast<gemmi::cif::Block&>(*found);

    AtomModel model;
    model.source = path;
    model.cell = ReadCell(block);
    if (!model.cell.is_crystal()) throw PriorError(path + ": no usable unit cell");
    for (const char* tag : {"_space_group_name_H-M_alt", "_symmetry_space_group_name_H-M"})
        if (const std::string* value = block.find_value(tag)) {
            model.groupName = gemmi::cif::as_string(*value);
            break;
        }
    try {
        model.ops = GroupOperators(block, path, model.groupName);
        model.sites = ReadSites(block);
    } catch (const PriorError&) {
        throw;
    } catch (const std::exception& e) {
        throw PriorError(path + ": " + std::string(e.what()).substr(0, 200));
    }
    if (model.sites.empty()) throw PriorError(path + ": no atoms");
    return model;
}
