// The limited-memory minimiser on textbook functions and its failure exit.
#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "common/CapturedOutput.h"
#include "engine/optimisers/lbfgs/lbfgs.h"

namespace {

// A test function over a long vector that is split into uneven parts, as the
// analysis splits its unknowns over threads.
struct Problem {
    using Function = std::function<double(const std::vector<double>&, std::vector<double>&)>;
    explicit Problem(Function fn) : f(std::move(fn)) {}
    Function f;
    int evaluations = 0;
    int nonFinite = 0;
};

std::vector<double> Flatten(const VectorXDMP& v) {
    std::vector<double> out;
    for (int p = 0; p < v.parts.size(); ++p)
        for (int i = 0; i < v.parts[p]->Dim(); ++i) out.push_back((*v.parts[p])[i]);
    return out;
}

double Evaluate(void* instance, const VectorXDMP& x, VectorXDMP& g, int, double) {
    Problem& p = *static_cast<Problem*>(instance);
    std::vector<double> grad(x.Length());
    const double f = p.f(Flatten(x), grad);
    for (int q = 0, k = 0; q < g.parts.size(); ++q)
        for (int i = 0; i < g.parts[q]->Dim(); ++i) (*g.parts[q])[i] = grad[k++];
    ++p.evaluations;
    if (!std::isfinite(f)) ++p.nonFinite;
    return f;
}

VectorXDMP Split(const std::vector<double>& values) {
    VectorXDMP v;
    const std::size_t cut[] = {0, values.size() / 3, values.size() / 2, values.size()};
    for (int p = 0; p < 3; ++p) {
        VectorXD* part = new VectorXD(static_cast<int>(cut[p + 1] - cut[p]));
        for (std::size_t i = cut[p]; i < cut[p + 1]; ++i) (*part)[i - cut[p]] = values[i];
        v.AddPart(part);
    }
    return v;
}

// sum over pairs of 100 (x2 - x1^2)^2 + (1 - x1)^2; minimum 0 at all ones.
double Rosenbrock(const std::vector<double>& x, std::vector<double>& g) {
    double f = 0.0;
    for (std::size_t i = 0; i < x.size(); i += 2) {
        const double t1 = 1.0 - x[i], t2 = 10.0 * (x[i + 1] - x[i] * x[i]);
        g[i + 1] = 20.0 * t2;
        g[i] = -2.0 * (x[i] * g[i + 1] + t1);
        f += t1 * t1 + t2 * t2;
    }
    return f;
}

lbfgs_parameter_t Params(int linesearch) {
    lbfgs_parameter_t p;
    lbfgs_parameter_init(&p);
    p.linesearch = linesearch;
    p.epsilon = 1e-8;
    return p;
}

}  // namespace

// Also with teams of 2 and 3 threads on the 3 parts: an iteration's vector
// work shares one team with barriers before each summed scalar is read, and a
// missing barrier shows as a different path or a wrong minimum.
TEST(Minimiser, FindsTheRosenbrockMinimumWithEveryLineSearch) {
    const int before = omp_get_max_threads();
    for (int team : {1, 2, 3}) {
        omp_set_num_threads(team);
        for (int ls : {0, 1, 2, 3}) {
            Problem prob{Rosenbrock};
            VectorXDMP x = Split(std::vector<double>(10, -1.2));
            lbfgs_parameter_t p = Params(ls);
            double fx = 0.0;
            CapturedOutput quiet;
            const int status = lbfgs(10, x, &fx, Evaluate, nullptr, &prob, &p);
            EXPECT_GE(status, 0) << "line search " << ls << ", team " << team;
            EXPECT_LT(fx, 1e-10) << "line search " << ls << ", team " << team;
            for (double v : Flatten(x)) EXPECT_NEAR(v, 1.0, 1e-4) << "line search " << ls;
        }
    }
    omp_set_num_threads(before);
}

// Beyond x = 1.2 the function is not a number, and the first step of unit
// length goes there; the minimum at 1 lies close to that edge.
TEST(Minimiser, StepsBackFromNotANumber) {
    for (int ls : {0, 1}) {
        Problem prob{[](const std::vector<double>& x, std::vector<double>& g) {
            double f = 0.0;
            for (std::size_t i = 0; i < x.size(); ++i) {
                const double d = x[i] - 1.0;
                f += x[i] > 1.2 ? std::nan("") : d * d * d * d + d * d;
                g[i] = 4.0 * d * d * d + 2.0 * d;
            }
            return f;
        }};
        VectorXDMP x = Split({0.5, 0.6, 0.7});
        lbfgs_parameter_t p = Params(ls);
        double fx = 0.0;
        CapturedOutput quiet;
        lbfgs(3, x, &fx, Evaluate, nullptr, &prob, &p);
        EXPECT_GT(prob.nonFinite, 0) << "line search " << ls;
        for (double v : Flatten(x)) EXPECT_NEAR(v, 1.0, 1e-3) << "line search " << ls;
    }
}

// Finite only at the start point: every trial step fails, and the caller gets the start back.
TEST(Minimiser, FailedLineSearchRestoresTheLastPoint) {
    const std::vector<double> start = {0.5, -0.25, 2.0};
    Problem prob{[&](const std::vector<double>& x, std::vector<double>& g) {
        for (std::size_t i = 0; i < x.size(); ++i) g[i] = 2.0 * x[i];
        return x == start ? 4.3125 : std::numeric_limits<double>::quiet_NaN();
    }};
    VectorXDMP x = Split(start);
    double fx = 0.0;
    lbfgs_parameter_t p = Params(1);
    EXPECT_EQ(lbfgs(3, x, &fx, Evaluate, nullptr, &prob, &p), LBFGSERR_MAXIMUMLINESEARCH);
    EXPECT_EQ(prob.evaluations, 1 + p.max_linesearch);
    EXPECT_EQ(Flatten(x), start);
}

// A run that shares its workspace with an earlier one starts with that run's
// curvature: on 50 (x - 1)^2 the first step lands on the minimum at once,
// where a start of unit length along -g, near the minimum, needs many halvings.
TEST(Minimiser, ARunAfterAnotherStartsWithItsCurvature) {
    Problem prob{[](const std::vector<double>& x, std::vector<double>& g) {
        double f = 0.0;
        for (std::size_t i = 0; i < x.size(); ++i) {
            f += 50.0 * (x[i] - 1.0) * (x[i] - 1.0);
            g[i] = 100.0 * (x[i] - 1.0);
        }
        return f;
    }};
    lbfgs_parameter_t p = Params(1);
    lbfgs_workspace work;
    VectorXDMP x = Split({0.5, -0.25, 2.0, 0.0});
    double fx = 0.0;
    EXPECT_EQ(lbfgs(4, x, &fx, Evaluate, nullptr, &prob, &p, &work), LBFGS_SUCCESS);
    EXPECT_NEAR(work.scale, 0.01, 1e-12);

    for (int shared : {1, 0}) {
        VectorXDMP again = Split({1.001, 0.999, 1.002, 0.998});
        lbfgs_workspace fresh;
        prob.evaluations = 0;
        EXPECT_EQ(lbfgs(4, again, &fx, Evaluate, nullptr, &prob, &p, shared ? &work : &fresh), LBFGS_SUCCESS);
        for (double v : Flatten(again)) EXPECT_NEAR(v, 1.0, 1e-6);
        if (shared)
            EXPECT_EQ(prob.evaluations, 2);  // the start and one step
        else
            EXPECT_GT(prob.evaluations, 6);
    }
}
