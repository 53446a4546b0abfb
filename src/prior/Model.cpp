// Choosing the model reader by extension, and the checks every model must pass.
#include <algorithm>
#include <cctype>
#include <cmath>

#include <gemmi/it92.hpp>

#include "prior/AtomModel.h"
#include "prior/PriorError.h"

namespace {

std::string Extension(const std::string& path) {
    const size_t dot = path.find_last_of('.');
    const size_t slash = path.find_last_of('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string e = path.substr(dot + 1);
    for (char& c : e) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return e;
}

bool Finite(const gemmi::Fractional& f) {
    return std::isfinite(f.x) && std::isfinite(f.y) && std::isfinite(f.z) && std::fabs(f.x) < 1e6 &&
           std::fabs(f.y) < 1e6 && std::fabs(f.z) < 1e6;
}

}  // namespace

bool UsableCell(const gemmi::UnitCell& cell) {
    // Angles that close no parallelepiped leave no volume; a nearly flat cell
    // has reciprocal lengths that no grid can follow.
    const double box = cell.a * cell.b * cell.c;
    return std::isfinite(cell.volume) && std::isfinite(box) && box > 0.0 && cell.volume > 0.1 * box &&
           cell.a < 1e4 && cell.b < 1e4 && cell.c < 1e4 && cell.a > 0.1 && cell.b > 0.1 && cell.c > 0.1;
}

gemmi::Op ParseOperator(const std::string& text, const std::string& source) {
    const std::string refused = source + ": '" + text.substr(0, 60) + "' is not a symmetry operator";
    // Long digit runs would overflow the parser's arithmetic; no operator needs them.
    size_t run = 0;
    for (char c : text) {
        run = std::isdigit(static_cast<unsigned char>(c)) ? run + 1 : 0;
        if (run > 3) throw PriorError(refused);
    }
    gemmi::Op op;
    try {
        op = gemmi::parse_triplet(text);
    } catch (const std::exception&) {
        throw PriorError(refused);
    }
    for (const auto& row : op.rot)
        for (int v : row)
            if (v % gemmi::Op::DEN != 0 || std::abs(v) > gemmi::Op::DEN) throw PriorError(refused);
    const int det = op.det_rot() / (gemmi::Op::DEN * gemmi::Op::DEN * gemmi::Op::DEN);
    if (det != 1 && det != -1) throw PriorError(refused);
    return op.wrap();
}

AtomModel ReadModel(const std::string& path) {
    const std::string e = Extension(path);
    AtomModel model;
    if (e == "cif")
        model = ReadCifModel(path);
    else if (e == "res" || e == "ins")
        model = ReadResModel(path);
    else
        throw PriorError("unknown model format of " + path + " (use .cif, .res or .ins)");
    CheckModel(model);
    return model;
}

void CheckModel(const AtomModel& model) {
    const std::string& path = model.source;
    if (!UsableCell(model.cell)) throw PriorError(path + ": the cell constants give no usable cell");
    for (const ModelSite& s : model.sites) {
        if (s.element == gemmi::El::X || !gemmi::IT92<double>::has(s.element))
            throw PriorError(path + ": atom " + s.label + " is of an unknown element");
        if (!Finite(s.fract)) throw PriorError(path + ": atom " + s.label + " has no usable coordinates");
        if (!std::isfinite(s.occupancy) || s.occupancy < 0.0 || s.occupancy > 1e3)
            throw PriorError(path + ": atom " + s.label + " has no usable occupancy");
        const gemmi::SMat33<double>& u = s.uCif;
        const double uMax = std::max({std::fabs(u.u11), std::fabs(u.u22), std::fabs(u.u33), std::fabs(u.u12),
                                      std::fabs(u.u13), std::fabs(u.u23), std::fabs(s.uIso)});
        if (!std::isfinite(uMax) || uMax > 10.0)
            throw PriorError(path + ": atom " + s.label + " has no usable displacement parameters");
    }
    if (model.ops.empty() || model.ops.size() > 192)
        throw PriorError(path + ": " + std::to_string(model.ops.size()) + " symmetry operators");
}
