// Change of basis between two settings of one space group, and the model transformed by it.
#include "prior/SettingChange.h"

#include <set>

#include "prior/ModelSetting.h"

namespace {

constexpr int kDen = gemmi::Op::DEN;

gemmi::GroupOps Group(const std::vector<gemmi::Op>& ops) { return gemmi::split_centering_vectors(ops); }

// The operators of `ops` seen in the basis x' = C x: C g C^-1, with the
// lattice translations of the new cell. None when a rotation stops being
// whole-numbered, as for a C that is no change between settings of the group.
std::optional<std::vector<gemmi::Op>> Conjugated(const std::vector<gemmi::Op>& ops, const gemmi::Op& c) {
    gemmi::GroupOps g = Group(ops);
    g.change_basis_forward(c);
    std::vector<gemmi::Op> out = g.all_ops_sorted();
    for (const gemmi::Op& op : out)
        for (const auto& row : op.rot)
            for (int v : row)
                if (v % kDen != 0) return std::nullopt;
    return out;
}

bool SameGroupUpToOrigin(const std::vector<gemmi::Op>& a, const std::vector<gemmi::Op>& b) {
    return !OriginShifts(a, b).empty();
}

}  // namespace

std::optional<gemmi::Op> SettingChange(const std::vector<gemmi::Op>& model,
                                       const std::vector<gemmi::Op>& data) {
    const gemmi::SpaceGroup* m = gemmi::find_spacegroup_by_ops(Group(model));
    const gemmi::SpaceGroup* d = gemmi::find_spacegroup_by_ops(Group(data));
    if (!m || !d || m->number != d->number) return std::nullopt;
    // Each setting's basis operator links it with the reference setting; which
    // way round the table means is checked, not assumed: the composed
    // candidate counts only when it turns the one operator set into the other.
    const gemmi::Op bm = m->basisop(), bd = d->basisop();
    for (const gemmi::Op& c : {bd.inverse().combine(bm), bd.combine(bm.inverse())}) {
        if (c.det_rot() == 0) continue;
        const std::optional<std::vector<gemmi::Op>> moved = Conjugated(model, c);
        if (moved && SameGroupUpToOrigin(*moved, data)) return c;
    }
    return std::nullopt;
}

AtomModel ChangedBasis(const AtomModel& model, const gemmi::Op& c) {
    AtomModel out = model;
    out.cell = gemmi::UnitCell(model.cell).changed_basis_forward(c, false);
    out.ops = Conjugated(model.ops, c).value();
    // U_cif scaled by the reciprocal lengths is the covariance of the
    // fractional coordinates, which transforms with C's rotation part.
    const gemmi::Mat33 r = gemmi::rot_as_mat33(c);
    const gemmi::Vec3 before(model.cell.ar, model.cell.br, model.cell.cr);
    const gemmi::Vec3 after(out.cell.ar, out.cell.br, out.cell.cr);
    for (ModelSite& s : out.sites) {
        const std::array<double, 3> x = c.apply_to_xyz({s.fract.x, s.fract.y, s.fract.z});
        s.fract = gemmi::Fractional(x[0], x[1], x[2]).wrap_to_unit();
        if (!s.anisotropic) continue;
        const gemmi::SMat33<double>& u = s.uCif;
        const gemmi::SMat33<double> uStar = {u.u11 * before.x * before.x, u.u22 * before.y * before.y,
                                             u.u33 * before.z * before.z, u.u12 * before.x * before.y,
                                             u.u13 * before.x * before.z, u.u23 * before.y * before.z};
        const gemmi::SMat33<double> v = uStar.transformed_by(r);
        s.uCif = {v.u11 / (after.x * after.x), v.u22 / (after.y * after.y), v.u33 / (after.z * after.z),
                  v.u12 / (after.x * after.y), v.u13 / (after.x * after.z), v.u23 / (after.y * after.z)};
    }
    return out;
}
