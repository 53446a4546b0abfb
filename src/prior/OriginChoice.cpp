// Correlation of the model's structure factors with the data in each allowed origin.
#include "prior/OriginChoice.h"

#include <cmath>
#include <complex>

#include "prior/ModelSetting.h"

namespace {

constexpr double kTwoPi = 6.283185307179586;

// F(h) with a plus sign in the exponent, as the program's structure factors.
// An isotropic displacement is enough to compare origins.
std::complex<double> StructureFactor(const AtomModel& model, const std::vector<ModelSite>& sites,
                                     const std::vector<gemmi::Op>& ops, const PhasedReflection& r,
                                     Radiation radiation) {
    std::complex<double> f = 0.0;
    for (const ModelSite& s : sites) {
        const AtomDisplacement d = DisplacementOf(s, model.cell);
        const double b =
            d.anisotropic ? 78.95683520871486 * (d.uCart.u11 + d.uCart.u22 + d.uCart.u33) / 3.0 : d.bIso;
        const double amplitude = ImageWeight(s, model, ops) *
                                 ScatteringFactor(s.element, r.stol2, radiation) * std::exp(-b * r.stol2);
        for (const gemmi::Op& g : ops) {
            const std::array<double, 3> x = g.apply_to_xyz({s.fract.x, s.fract.y, s.fract.z});
            const double phase = kTwoPi * (r.hkl[0] * x[0] + r.hkl[1] * x[1] + r.hkl[2] * x[2]);
            f += amplitude * std::complex<double>(std::cos(phase), std::sin(phase));
        }
    }
    return f;
}

double Correlation(const AtomModel& model, const std::vector<ModelSite>& sites,
                   const std::vector<gemmi::Op>& ops, const std::vector<PhasedReflection>& data,
                   Radiation radiation) {
    double cross = 0.0, calc = 0.0, obs = 0.0;
    for (const PhasedReflection& r : data) {
        const std::complex<double> f = StructureFactor(model, sites, ops, r, radiation);
        cross += r.re * f.real() + r.im * f.imag();
        calc += std::norm(f);
        obs += r.re * r.re + r.im * r.im;
    }
    return calc > 0.0 && obs > 0.0 ? cross / std::sqrt(calc * obs) : 0.0;
}

}  // namespace

size_t BestOrigin(const AtomModel& model, const std::vector<gemmi::Op::Tran>& shifts,
                  const std::vector<gemmi::Op>& dataOps, const std::vector<PhasedReflection>& data,
                  Radiation radiation, double* correlation) {
    size_t best = 0;
    double bestValue = -2.0;
    for (size_t i = 0; i < shifts.size(); ++i) {
        const double c = Correlation(model, ShiftedSites(model.sites, shifts[i]), dataOps, data, radiation);
        if (c > bestValue + 1e-9) {
            bestValue = c;
            best = i;
        }
    }
    if (correlation) *correlation = bestValue;
    return best;
}
