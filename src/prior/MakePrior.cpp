// The steps of halvorin-prior in order, with the console lines that tell what each decided.
#include "prior/MakePrior.h"

#include <algorithm>
#include <optional>

#include <gemmi/neutron92.hpp>

#include "engine/blocks/GridSymmetry.h"
#include "prior/ModelSetting.h"
#include "prior/OriginChoice.h"
#include "prior/PriorError.h"
#include "prior/SettingChange.h"

namespace {

// The origins to try when the group leaves the origin free (P 1, polar axes):
// the nearest ones, the data's own first.
constexpr size_t kMostOrigins = 64;
constexpr size_t kReflectionsForOrigin = 300;
// Atomic cores are about 0.1 A wide; a grid much coarser samples them by
// their peaks alone, and the prior's structure factors fall off at high angle.
constexpr double kCoarseVoxel = 0.15;

// The longest distance between neighbouring lattice planes of the grid.
double VoxelEdge(const MEMData3D& mem) {
    const gemmi::UnitCell cell = AnalysisCell(mem);
    const double reciprocal[3] = {cell.ar, cell.br, cell.cr};
    double edge = 0.0;
    for (int i = 0; i < 3; ++i) edge = std::max(edge, 1.0 / (mem.gridSize[i] * reciprocal[i]));
    return edge;
}

bool HasNegativeScatterer(const AtomModel& model) {
    for (const ModelSite& s : model.sites)
        if (ScatteringFactor(s.element, 0.0, Radiation::Neutron) < 0.0) return true;
    return false;
}

void CheckNeutronElements(const AtomModel& model) {
    for (const ModelSite& s : model.sites)
        if (!gemmi::Neutron92<double>::has(s.element))
            throw PriorError(model.source + ": atom " + s.label +
                             " has no tabulated neutron scattering length");
}

std::string GroupText(const MEMData3D& mem) {
    return std::string(mem.unitCell.spgName) + " (" + std::to_string(mem.nSymOp) + " operators)";
}

// The model on the data's axes: unchanged when the operators agree up to an
// origin shift, else transformed by the change of basis between the two
// settings of the group. Another group is refused, naming both.
AtomModel InDataSetting(const AtomModel& model, const MEMData3D& mem, const std::vector<gemmi::Op>& dataOps,
                        std::optional<gemmi::Op>* change) {
    if (!OriginShifts(model.ops, dataOps).empty()) return model;
    *change = SettingChange(model.ops, dataOps);
    if (!*change)
        throw PriorError("the model's space group " + model.groupName + " (" +
                         std::to_string(model.ops.size()) + " operators) of " + model.source +
                         " is not the data's " + GroupText(mem) + " in any origin or setting");
    return ChangedBasis(model, **change);
}

// Of the origins that the group allows, the one the phases favour; one
// console line gives the whole change of basis when it is not the identity.
gemmi::Op::Tran ChooseOrigin(const AtomModel& model, const MEMData3D& mem,
                             const std::vector<gemmi::Op>& dataOps, const std::optional<gemmi::Op>& change,
                             Radiation radiation, FILE* out) {
    std::vector<gemmi::Op::Tran> shifts = OriginShifts(model.ops, dataOps);
    if (shifts.size() > kMostOrigins) shifts.resize(kMostOrigins);
    double correlation = 0.0;
    const size_t best =
        shifts.size() == 1 ? 0
                           : BestOrigin(model, shifts, dataOps, PhasedReflections(mem, kReflectionsForOrigin),
                                        radiation, &correlation);
    const gemmi::Op::Tran t = shifts[best];
    if (!out) return t;
    if (change) {
        gemmi::Op total = gemmi::Op::identity();
        total.tran = t;
        // A CIF that lists only operators names no setting.
        const std::string setting = model.groupName.empty() ? "" : " " + model.groupName;
        fprintf(out,
                "Change of basis: %s (the model's setting%s moved to the data's axes and origin; %zu origins "
                "fit the group, this one agrees best with the phases)\n",
                total.combine(*change).triplet().c_str(), setting.c_str(), shifts.size());
    } else if (t[0] || t[1] || t[2]) {
        fprintf(out,
                "Change of basis: %s (the model's origin moved to the data's; %zu origins fit the group, "
                "this one agrees best with the phases)\n",
                ShiftText(t).c_str(), shifts.size());
    }
    return t;
}

}  // namespace

PriorWritten MakePrior(const PriorOptions& o, FILE* out) {
    const AtomModel read = ReadModel(o.model);
    bool neutron = o.neutron;
    if (neutron) CheckNeutronElements(read);
    std::unique_ptr<MEMData3D> mem = LoadAnalysis(o.data, neutron && HasNegativeScatterer(read));
    if (mem->targetMoment[0] != 0.0 && mem->targetMoment[1] != 0.0 && !neutron) {
        // Two density channels exist only for nuclear densities.
        neutron = true;
        CheckNeutronElements(read);
    }
    const Radiation radiation = neutron ? Radiation::Neutron : Radiation::Xray;
    if (!UsableCell(AnalysisCell(*mem)))
        throw PriorError(mem->param.dataFile + ": the cell constants give no usable cell");
    const std::vector<gemmi::Op> dataOps = DataOperators(mem->unitCell.symOp);
    std::optional<gemmi::Op> change;
    const AtomModel model = InDataSetting(read, *mem, dataOps, &change);
    // The cells are compared on the data's axes, after any change of basis.
    const std::string note = CompareCells(model.cell, model.source, mem->unitCell.cell, mem->param.dataFile);
    const gemmi::Op::Tran t = ChooseOrigin(model, *mem, dataOps, change, radiation, out);
    const std::vector<ModelSite> sites = ShiftedSites(model.sites, t);
    const std::vector<int> gridOps = MakeGridOperators(mem->unitCell.symOp, mem->gridSize);
    const ProcrystalGrids grids =
        ComputeProcrystal(model, sites, AnalysisCell(*mem), mem->gridSize, dataOps, gridOps, radiation);

    char title[160];
    snprintf(title, sizeof title, "Procrystal prior, W = %.3g, of %s", o.uniformFraction,
             model.source.substr(model.source.find_last_of('/') + 1).c_str());
    const PriorWritten w = WritePrior(*mem, grids, o.uniformFraction, title);
    if (!out) return w;
    if (!note.empty()) fprintf(out, "%s\n", note.c_str());
    const double edge = VoxelEdge(*mem);
    if (edge > kCoarseVoxel)
        fprintf(out,
                "Note: voxels of up to %.2f A sample the atoms' cores coarsely; a grid of 0.1 A "
                "represents the model better\n",
                edge);
    fprintf(out, "Model:         %s, %zu sites, %s\n", model.source.c_str(), model.sites.size(),
            neutron ? "neutron scattering lengths" : "X-ray form factors (IT92)");
    fprintf(out, "Data:          %s, %s, grid %d x %d x %d, %d voxels in the asymmetric unit\n",
            mem->param.dataFile.c_str(), GroupText(*mem).c_str(), mem->gridSize[0], mem->gridSize[1],
            mem->gridSize[2], mem->NASYM);
    fprintf(out, "Blend:         W = %.3g: %.3g procrystal + %.3g uniform\n", o.uniformFraction,
            1.0 - o.uniformFraction, o.uniformFraction);
    for (int c = 0; c < 2; ++c)
        if (mem->targetMoment[c] != 0.0)
            fprintf(out, "%s total %.4f (F(000) %.4f), lowest |density| %.4g per A^3\n",
                    c == 0 ? "Positive:     " : "Negative:     ", w.total[c], mem->targetMoment[c],
                    w.lowest[c]);
    fprintf(out, "Prior:         %s\n", w.path.c_str());
    return w;
}
