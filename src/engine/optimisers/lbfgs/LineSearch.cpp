#include "engine/optimisers/lbfgs/LineSearch.h"

#include <cmath>

#include "util/IO.h"
#include "numeric/MatrixD.h"
#include "numeric/SolverData.h"

namespace {

constexpr double kGolden = 0.3819660112501051;

bool SameSign(double a, double b) { return a * b > 0.0; }

// Three points, t1 the centre, and the function they sample.
class Walk {
public:
    Walk(double (*f)(void*, double), void* data, double& x) : f_(f), data_(data), x_(x) {}
    double Eval(double t) {
        x_ = t;
        return f_(data_, t);
    }
    double t0 = 0, t1 = 0, t2 = 0, f0 = 0, f1 = 0, f2 = 0;

private:
    double (*f_)(void*, double);
    void* data_;
    double& x_;
};

// Down while the lower point is better (or the centre is not finite), up
// while the upper point is better, and back from an upper point that is not
// finite or still better than the centre, so that the parabola gets three
// finite values with the centre the smallest in magnitude.
void Bracket(Walk& w, double tol, double factor) {
    while (!std::isfinite(w.f1) || (std::fabs(w.f0) < std::fabs(w.f1) && SameSign(w.f1, w.f0))) {
        if (w.t0 / factor == w.t0) break;  // underflowed to 0: no smaller point is left
        const double v = w.Eval(w.t0 / factor);
        w.t2 = w.t1, w.t1 = w.t0, w.t0 = w.t0 / factor;
        w.f2 = w.f1, w.f1 = w.f0, w.f0 = v;
    }
    while (std::isfinite(w.f2) && std::fabs(w.f2) < std::fabs(w.f1) && SameSign(w.f1, w.f2)) {
        const double v = w.Eval(w.t2 * factor);
        w.t0 = w.t1, w.t1 = w.t2, w.t2 = w.t2 * factor;
        w.f0 = w.f1, w.f1 = w.f2, w.f2 = v;
    }
    while (!std::isfinite(w.f2) || (std::fabs(w.f1) > std::fabs(w.f2) && SameSign(w.f1, w.f2))) {
        const double x = w.t1 + (w.t2 - w.t1) / factor;
        if (x == w.t2) break;  // the interval cannot shrink any more
        const double v = w.Eval(x);
        if (!std::isfinite(v)) {
            w.t2 = x;
            continue;
        }
        if (std::fabs(w.t2 - w.t1) < std::fabs(tol * w.t2)) {
            if (std::fabs(w.f2) < std::fabs(w.f1)) w.t1 = w.t2;
            break;
        }
        if (std::fabs(w.f1) > std::fabs(w.f2) && SameSign(w.f1, w.f2)) {
            w.t0 = w.t1, w.f0 = w.f1;
            w.t1 = w.t2, w.f1 = w.f2;
        }
        w.t2 = x, w.f2 = v;
    }
}

bool Converged(const Walk& w, double tol) {
    return std::fabs(w.f1) <= tol || std::fabs(w.f0 - w.f1) <= std::fabs(w.f0 * tol) ||
           std::fabs(w.f2 - w.f1) <= std::fabs(w.f2 * tol) ||
           std::fabs(w.t2 - w.t1) <= std::fabs(w.t2 * tol) || std::fabs(w.t1 - w.t0) <= std::fabs(tol * w.t1);
}

// A candidate outside the bracket: its offset from t1 reaches past t0 or t2.
// A candidate that is not a number counts as outside: a degenerate fit would
// otherwise feed not-a-number points to the stop tests, which never hold for them.
bool Outside(const Walk& w, double r) {
    if (std::isnan(r)) return true;
    const double u = r - w.t1;
    return u / (w.t0 - w.t1) >= 1.0 || u / (w.t2 - w.t1) >= 1.0;
}

// One golden-section step into the wider of the two intervals.
void GoldenStep(Walk& w) {
    if (std::fabs(w.t0 - w.t1) <= std::fabs(w.t1 - w.t2)) {
        const double x = w.t1 - (w.t1 - w.t2) * kGolden;
        const double v = w.Eval(x);
        if (std::fabs(v) <= std::fabs(w.f1)) {
            w.t0 = w.t1, w.f0 = w.f1;
            w.t1 = x, w.f1 = v;
        } else {
            w.t2 = x, w.f2 = v;
        }
    } else {
        const double x = w.t1 + (w.t0 - w.t1) * kGolden;
        const double v = w.Eval(x);
        if (std::fabs(v) <= std::fabs(w.f1)) {
            w.t2 = w.t1, w.f2 = w.f1;
            w.t1 = x, w.f1 = v;
        } else {
            w.t0 = x, w.f0 = v;
        }
    }
}

}  // namespace

double LineSearch(double (*f)(void* data, double x), void* data, double& x, double tol, double factor) {
    Walk w(f, data, x);
    const double start = x;
    w.t1 = start;
    w.f1 = w.Eval(start);
    if (std::fabs(w.f1) < tol) return w.t1;
    w.t0 = start / factor;
    w.f0 = w.Eval(w.t0);
    w.t2 = start * factor;
    w.f2 = w.Eval(w.t2);
    Bracket(w, tol, factor);

    MatrixDD A(3, 3), coef(3, 1);
    SolverData work;
    work.CreateForGeTRS(A);
    for (;;) {
        if (Converged(w, tol)) {
            w.Eval(w.t1);
            return w.t1;
        }
        const double t[3] = {w.t0, w.t1, w.t2}, v[3] = {w.f0, w.f1, w.f2};
        for (int i = 0; i < 3; ++i) {
            A(i, 0) = t[i] * t[i];
            A(i, 1) = t[i];
            A(i, 2) = 1.0;
            coef(i, 0) = v[i];
        }
        A.GeTRS(coef, work);
        const double a = coef(0, 0), b = coef(1, 0), c = coef(2, 0);
        const double d = b * b - 4.0 * a * c;
        double r;
        if (d >= 0.0) {
            // The root nearer the centre first, the other when that one lies outside.
            r = -(b + std::sqrt(d)) / (2.0 * a);
            if (Outside(w, r)) r += std::sqrt(d) / a;
            if (Outside(w, r)) {
                IO::Printf("Oops! Something is wrong! (d>=0)\n");
                return w.t1;
            }
        } else {
            r = -b / (2.0 * a);
            if (Outside(w, r)) {
                IO::Printf("Oops! Something is wrong! (d<0)\n");
                return w.t1;
            }
        }

        const double xr = r;
        const double vr = w.Eval(xr);
        if (std::fabs(vr) < tol) return xr;
        if (std::fabs(w.t1) <= std::fabs(xr)) {
            if ((vr - w.f1) / (w.f2 - w.f1) >= 1.0) return w.t1;
            if (w.f1 * vr <= 0.0 || w.f2 * vr <= 0.0 || std::fabs(vr) < std::fabs(w.f1)) {
                w.t0 = w.t1, w.f0 = w.f1;
                w.t1 = xr, w.f1 = vr;
            } else {
                w.t2 = xr, w.f2 = vr;
            }
        } else {
            if ((vr - w.f1) / (w.f0 - w.f1) >= 1.0) return w.t1;
            if (vr * w.f0 <= 0.0 || w.f1 * vr <= 0.0 || std::fabs(vr) < std::fabs(w.f1)) {
                w.t2 = w.t1, w.f2 = w.f1;
                w.t1 = xr, w.f1 = vr;
            } else {
                w.t0 = xr, w.f0 = vr;
            }
        }
        if (SameSign(w.f0, w.f1) && SameSign(w.f1, w.f2)) GoldenStep(w);
    }
}
