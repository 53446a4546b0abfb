// Origin shifts between the model's and the data's operators, and the comparison of their cells.
#include "prior/ModelSetting.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

#include "prior/PriorError.h"

namespace {

constexpr int kDen = gemmi::Op::DEN;

using OpKey = std::pair<gemmi::Op::Rot, gemmi::Op::Tran>;

OpKey Key(gemmi::Op op) {
    op.wrap();
    return {op.rot, op.tran};
}

int Wrap(int t) { return ((t % kDen) + kDen) % kDen; }

// P g P^-1 with P: x -> x + t keeps R and makes the translation s + (I - R) t.
// gemmi keeps rotations and translations in units of 1/DEN, t in 1/DEN too.
gemmi::Op Conjugated(const gemmi::Op& g, const gemmi::Op::Tran& t) {
    gemmi::Op out = g;
    for (int i = 0; i < 3; ++i) {
        int rt = 0;
        for (int j = 0; j < 3; ++j) rt += g.rot[i][j] / kDen * t[j];
        out.tran[i] = g.tran[i] + t[i] - rt;
    }
    return out;
}

std::string Fraction(int n) {
    n = Wrap(n);
    if (n == 0) return "";
    int num = n, den = kDen;
    for (int d : {2, 2, 2, 3})
        if (num % d == 0 && den % d == 0) num /= d, den /= d;
    return "+" + std::to_string(num) + "/" + std::to_string(den);
}

}  // namespace

std::vector<gemmi::Op> DataOperators(const ObjVector<MatrixD>& symOp) {
    std::vector<gemmi::Op> ops;
    for (int n = 0; n < symOp.size(); ++n) {
        const MatrixD& m = *symOp[n];
        gemmi::Op op;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) op.rot[i][j] = static_cast<int>(std::lround(m(i, j))) * kDen;
            op.tran[i] = static_cast<int>(std::lround(m(i, 3) * kDen));
        }
        ops.push_back(op.wrap());
    }
    return ops;
}

std::vector<gemmi::Op::Tran> OriginShifts(const std::vector<gemmi::Op>& model,
                                          const std::vector<gemmi::Op>& data) {
    std::set<OpKey> wanted;
    for (const gemmi::Op& op : data) wanted.insert(Key(op));
    std::set<OpKey> given;
    for (const gemmi::Op& op : model) given.insert(Key(op));
    std::vector<gemmi::Op::Tran> shifts;
    if (given.size() != wanted.size()) return shifts;
    // Shifts of 1/24 reach every origin of the tabulated settings; the
    // translations of the conjugated operators are then whole 24ths.
    for (int x = 0; x < kDen; ++x)
        for (int y = 0; y < kDen; ++y)
            for (int z = 0; z < kDen; ++z) {
                const gemmi::Op::Tran t = {x, y, z};
                bool all = true;
                for (const OpKey& g : given) {
                    const gemmi::Op c = Conjugated(gemmi::Op{g.first, g.second}, t);
                    if (!wanted.count(Key(c))) {
                        all = false;
                        break;
                    }
                }
                if (all) shifts.push_back(t);
            }
    // Nearest origins first: a model in the data's origin keeps it.
    auto reach = [](const gemmi::Op::Tran& t) {
        int sum = 0;
        for (int c : t) sum += std::min(c, kDen - c) * std::min(c, kDen - c);
        return sum;
    };
    std::stable_sort(shifts.begin(), shifts.end(),
                     [&](const gemmi::Op::Tran& a, const gemmi::Op::Tran& b) { return reach(a) < reach(b); });
    return shifts;
}

std::vector<ModelSite> ShiftedSites(const std::vector<ModelSite>& sites, const gemmi::Op::Tran& t) {
    std::vector<ModelSite> out = sites;
    for (ModelSite& s : out) {
        s.fract.x += static_cast<double>(t[0]) / kDen;
        s.fract.y += static_cast<double>(t[1]) / kDen;
        s.fract.z += static_cast<double>(t[2]) / kDen;
        s.fract = s.fract.wrap_to_unit();
    }
    return out;
}

std::string ShiftText(const gemmi::Op::Tran& t) {
    return "x" + Fraction(t[0]) + ",y" + Fraction(t[1]) + ",z" + Fraction(t[2]);
}

std::string CompareCells(const gemmi::UnitCell& model, const std::string& modelName, const float* data,
                         const std::string& dataName) {
    const double m[6] = {model.a, model.b, model.c, model.alpha, model.beta, model.gamma};
    double worstLength = 0.0, worstAngle = 0.0;
    for (int i = 0; i < 3; ++i) worstLength = std::max(worstLength, std::fabs(m[i] / data[i] - 1.0));
    for (int i = 3; i < 6; ++i) worstAngle = std::max(worstAngle, std::fabs(m[i] - data[i]));
    char cells[9000];
    snprintf(cells, sizeof cells,
             "%.4f %.4f %.4f %.3f %.3f %.3f of %s and %.4f %.4f %.4f %.3f %.3f %.3f of %s", m[0], m[1], m[2],
             m[3], m[4], m[5], modelName.c_str(), data[0], data[1], data[2], data[3], data[4], data[5],
             dataName.c_str());
    if (!(worstLength <= 0.01) || !(worstAngle <= 0.5))
        throw PriorError("the cells " + std::string(cells) +
                         " differ by more than 1 % in a length or 0.5 degrees in an angle");
    if (worstLength > 1e-4 || worstAngle > 1e-3)
        return "Note: the cells " + std::string(cells) +
               " differ a little; atoms are placed by their fractional coordinates in the data's cell";
    return "";
}
