// Matching a grid's integer operators against gemmi's space-group table.
#include "map/MapSymmetry.h"

const gemmi::SpaceGroup* FindSpaceGroup(const CellDensity& d) {
    std::vector<gemmi::Op> ops;
    for (const GridOperator& g : d.operators) {
        gemmi::Op op;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) op.rot[i][j] = g.rot[3 * j + i] * gemmi::Op::DEN;
            const long scaled = static_cast<long>(g.shift[i]) * gemmi::Op::DEN;
            if (scaled % d.gridSize[i] != 0) return nullptr;
            op.tran[i] = static_cast<int>(scaled / d.gridSize[i]);
        }
        ops.push_back(op.wrap());
    }
    gemmi::GroupOps group = gemmi::split_centering_vectors(ops);
    if (group.order() != static_cast<int>(ops.size())) return nullptr;
    return gemmi::find_spacegroup_by_ops(group);
}
