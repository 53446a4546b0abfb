// The model of a SHELX .res or .ins file: cell, lattice, symmetry cards, scattering types and atoms.
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "prior/AtomModel.h"
#include "prior/PriorError.h"

namespace {

// Instructions that are not atoms. An atom line is any other line whose
// second word is a scattering-type number.
const std::set<std::string>& Instructions() {
    static const std::set<std::string> names = {
        "TITL", "CELL", "ZERR", "LATT", "SYMM", "SFAC", "DISP", "UNIT", "LAUE", "REM",  "MORE", "TIME",
        "HKLF", "OMIT", "SHEL", "BASF", "TWIN", "EXTI", "SWAT", "HOPE", "MERG", "SPEC", "RESI", "MOVE",
        "ANIS", "AFIX", "HFIX", "FRAG", "FEND", "EXYZ", "EADP", "EQIV", "CONN", "PART", "BIND", "FREE",
        "DFIX", "DANG", "BUMP", "SAME", "SADI", "CHIV", "FLAT", "DELU", "SIMU", "DEFS", "ISOR", "NCSY",
        "SUMP", "L.S.", "CGLS", "BLOC", "DAMP", "STIR", "WGHT", "FVAR", "BOND", "CONF", "MPLA", "RTAB",
        "HTAB", "LIST", "ACTA", "SIZE", "TEMP", "WPDB", "FMAP", "GRID", "PLAN", "MOLE", "END",  "ABIN",
        "ANSC", "ANSR", "NEUT", "WIGL", "XNPD", "RIGU", "PRIG", "SHEL", "STIR", "TWST", "BEDE", "LONE",
        "NOTR", "REST", "SETI", "EGEN", "POLY"};
    return names;
}

std::string Upper(std::string s) {
    for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

bool ToNumber(const std::string& word, double& value) {
    char* end = nullptr;
    value = std::strtod(word.c_str(), &end);
    return end != word.c_str() && *end == '\0' && std::isfinite(value);
}

// Logical lines: a line ending in '=' continues on the next; text after '!' is a comment.
std::vector<std::vector<std::string>> LogicalLines(std::istream& in) {
    std::vector<std::vector<std::string>> lines;
    std::string line, joined;
    while (std::getline(in, line)) {
        const size_t bang = line.find('!');
        if (bang != std::string::npos) line.erase(bang);
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
        const bool continues = !line.empty() && line.back() == '=';
        if (continues) line.pop_back();
        joined += ' ' + line;
        if (continues && joined.size() < 100000) continue;
        std::istringstream words(joined);
        std::vector<std::string> tokens;
        for (std::string w; words >> w;) tokens.push_back(w);
        if (!tokens.empty()) lines.push_back(tokens);
        joined.clear();
    }
    return lines;
}

// A coded parameter 10 m + p: m = 0 free, |m| = 1 fixed, m > 1 p times
// free variable m, m < -1 p times (free variable -m minus 1).
double Decode(double coded, const std::vector<double>& fvar) {
    const double m = std::round(coded / 10.0);
    if (m == 0.0) return coded;
    const double p = coded - 10.0 * m;
    if (std::fabs(m) == 1.0) return p;
    const size_t k = static_cast<size_t>(std::min(std::fabs(m), 1e6));
    const double fv = k <= fvar.size() ? fvar[k - 1] : 1.0;
    return m > 0 ? p * fv : p * (fv - 1.0);
}

// The operator followed by the inversion: -R x - t.
gemmi::Op Inverted(const gemmi::Op& op) {
    gemmi::Op out{op.negated_rot(), {-op.tran[0], -op.tran[1], -op.tran[2]}};
    return out.wrap();
}

// Lattice type n: 1 P, 2 I, 3 R (obverse), 4 F, 5 A, 6 B, 7 C; positive n adds a centre of symmetry.
std::vector<gemmi::Op> ExpandLattice(const std::vector<gemmi::Op>& symm, int latt) {
    using Tr = gemmi::Op::Tran;
    const int h = gemmi::Op::DEN / 2, t = gemmi::Op::DEN / 3;
    static const std::map<int, std::vector<Tr>> centring = {{1, {}},
                                                            {2, {{h, h, h}}},
                                                            {3, {{2 * t, t, t}, {t, 2 * t, 2 * t}}},
                                                            {4, {{0, h, h}, {h, 0, h}, {h, h, 0}}},
                                                            {5, {{0, h, h}}},
                                                            {6, {{h, 0, h}}},
                                                            {7, {{h, h, 0}}}};
    std::vector<gemmi::Op> ops = {gemmi::Op::identity()};
    ops.insert(ops.end(), symm.begin(), symm.end());
    if (latt > 0) {
        const size_t n = ops.size();
        for (size_t i = 0; i < n; ++i) ops.push_back(Inverted(ops[i]));
    }
    const auto it = centring.find(std::abs(latt));
    if (it == centring.end())
        throw PriorError("LATT " + std::to_string(latt) + " is not a lattice type (1 to 7)");
    const size_t n = ops.size();
    for (const Tr& c : it->second)
        for (size_t i = 0; i < n; ++i) ops.push_back(ops[i].translated(c).wrap());
    for (gemmi::Op& op : ops) op.wrap();
    return ops;
}

// Difference-map peaks Q1, Q2, ... are listed like atoms but are none.
bool IsPeak(const std::string& label) {
    return label.size() > 1 && label[0] == 'Q' &&
           label.find_first_not_of("0123456789", 1) == std::string::npos;
}

struct ResState {
    AtomModel model;
    std::vector<gemmi::Element> sfac;
    std::vector<double> fvar;
    std::vector<gemmi::Op> symm;
    int latt = 1;
    bool haveCell = false;
    double lastUeq = 0.0;  // of the last atom that does not ride, for riding hydrogen U
};

void ReadSfac(ResState& s, const std::vector<std::string>& w) {
    double number = 0.0;
    // The long form gives one element with its own coefficients.
    if (w.size() > 2 && ToNumber(w[2], number)) {
        s.sfac.push_back(gemmi::Element(w[1]));
        return;
    }
    for (size_t i = 1; i < w.size(); ++i) s.sfac.push_back(gemmi::Element(w[i]));
}

void ReadAtom(ResState& s, const std::vector<std::string>& w, const std::string& path) {
    std::vector<double> v;
    for (size_t i = 1; i < w.size(); ++i) {
        double x = 0.0;
        if (!ToNumber(w[i], x))
            throw PriorError(path + ": atom " + w[0] + ": '" + w[i] + "' is not a number");
        v.push_back(x);
    }
    if (v.size() < 6) throw PriorError(path + ": atom " + w[0] + " needs a type, x, y, z, occupancy and U");
    const double type = v[0];
    if (type != std::floor(type) || type < 1 || type > static_cast<double>(s.sfac.size()))
        throw PriorError(path + ": atom " + w[0] + " has scattering type " + w[1] + ", not one of SFAC");
    ModelSite site;
    site.label = w[0];
    site.element = s.sfac[static_cast<size_t>(type) - 1];
    site.fract = gemmi::Fractional(Decode(v[1], s.fvar), Decode(v[2], s.fvar), Decode(v[3], s.fvar));
    site.occupancy = Decode(v[4], s.fvar);
    if (v.size() >= 11) {
        // U11 U22 U33 U23 U13 U12
        site.anisotropic = true;
        site.uCif = {Decode(v[5], s.fvar),  Decode(v[6], s.fvar), Decode(v[7], s.fvar),
                     Decode(v[10], s.fvar), Decode(v[9], s.fvar), Decode(v[8], s.fvar)};
        s.lastUeq = (site.uCif.u11 + site.uCif.u22 + site.uCif.u33) / 3.0;
    } else if (v[5] < 0.0 && v[5] > -5.0) {
        // A riding atom: a multiple of the U of the atom before it.
        site.uIso = -v[5] * s.lastUeq;
    } else {
        site.uIso = Decode(v[5], s.fvar);
        s.lastUeq = site.uIso;
    }
    s.model.sites.push_back(site);
}

void ReadLine(ResState& s, const std::vector<std::string>& w, const std::string& path) {
    const std::string key = Upper(w[0]);
    double x = 0.0;
    if (key == "CELL") {
        double c[7] = {};
        if (w.size() < 8) throw PriorError(path + ": CELL needs a wavelength and six constants");
        for (int i = 0; i < 7; ++i)
            if (!ToNumber(w[i + 1], c[i]))
                throw PriorError(path + ": CELL: '" + w[i + 1] + "' is not a number");
        if (c[1] <= 0 || c[2] <= 0 || c[3] <= 0 || c[4] <= 0 || c[5] <= 0 || c[6] <= 0 || c[4] >= 180 ||
            c[5] >= 180 || c[6] >= 180)
            throw PriorError(path + ": CELL constants out of range");
        s.model.cell.set(c[1], c[2], c[3], c[4], c[5], c[6]);
        s.haveCell = true;
    } else if (key == "LATT") {
        if (w.size() < 2 || !ToNumber(w[1], x) || x != std::floor(x) || std::fabs(x) > 7 || x == 0)
            throw PriorError(path + ": LATT needs a lattice type from -7 to 7");
        s.latt = static_cast<int>(x);
    } else if (key == "SYMM") {
        std::string text;
        for (size_t i = 1; i < w.size(); ++i) text += w[i];
        s.symm.push_back(ParseOperator(text, path));
    } else if (key == "SFAC") {
        ReadSfac(s, w);
    } else if (key == "FVAR") {
        for (size_t i = 1; i < w.size() && ToNumber(w[i], x); ++i) s.fvar.push_back(x);
    } else if (Instructions().count(key) == 0 && w.size() > 1 && ToNumber(w[1], x) && !IsPeak(key)) {
        ReadAtom(s, w, path);
    }
}

}  // namespace

AtomModel ReadResModel(const std::string& path) {
    std::ifstream in(path);
    if (!in) throw PriorError("cannot open " + path);
    ResState s;
    s.model.source = path;
    s.model.occupancyPerImage = true;
    for (const std::vector<std::string>& w : LogicalLines(in)) {
        const std::string key = Upper(w[0]);
        if (key == "HKLF" || key == "END") break;
        ReadLine(s, w, path);
    }
    if (!s.haveCell) throw PriorError(path + ": no CELL");
    if (s.model.sites.empty()) throw PriorError(path + ": no atoms");
    try {
        s.model.ops = ExpandLattice(s.symm, s.latt);
    } catch (const PriorError& e) {
        throw PriorError(path + ": " + e.what());
    }
    s.model.groupName = "LATT " + std::to_string(s.latt) + " and " + std::to_string(s.symm.size()) + " SYMM";
    return s.model;
}
