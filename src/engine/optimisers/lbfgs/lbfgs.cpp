#include "engine/optimisers/lbfgs/lbfgs.h"

#include <omp.h>

#include <cfloat>
#include <cmath>
#include <memory>
#include <vector>

#include "util/IO.h"
#include "numeric/MatrixD.h"
#include "numeric/SolverData.h"

// Every vector operation below runs in the team of InTeam, in which each
// thread touches only its own parts (see VectorXDMP); the scalars are atomic
// sums, read only after a barrier. The work between two evaluations shares
// as few entries into the team as its scalars allow. The callbacks run on
// the calling thread, outside the team, and open their own.

namespace {

const lbfgs_parameter_t kDefaultParam = {
    6, 1e-5, 0, 1e-5, 0, LBFGS_LINESEARCH_QUADRATIC, 40, 1e-20, 1e20, 1e-4, 0.9, 0.9, 1e-16, 0.0, 0, -1,
};

double Dot(const VectorXDMP& a, const VectorXDMP& b) {
    double r = 0.0;
    InTeam([&] { a.Dot(&r, b); });
    return r;
}

// x = xp + stp s, part by part.
void StepFrom(VectorXDMP& x, const VectorXDMP& xp, const VectorXDMP& s, double stp) {
    InTeam([&] {
        x.Init(xp);
        x.Add(s, stp);
    });
}

double Evaluate(tag_callback_data* cd, VectorXDMP& x, VectorXDMP& g, double stp) {
    return cd->proc_evaluate(cd->instance, x, g, cd->n, stp);
}

// Effective end of the L1 range for a vector of n unknowns.
int OwlqnEnd(const lbfgs_parameter_t* param, int n) {
    return param->orthantwise_end < 0 ? n : param->orthantwise_end;
}

// Calls f(i, v) for the elements of the calling thread's parts whose long
// index i lies in [start, end); v is the element's index within its part.
template <class F>
void ForOwnRange(const VectorXDMP& x, int start, int end, F f) {
    const int step = omp_get_num_threads();
    for (int p = omp_get_thread_num(); p < x.parts.size(); p += step) {
        const int first = x.offsets[p];
        const int from = std::max(start - first, 0);
        const int to = std::min(end - first, x.parts[p]->Dim());
        for (int v = from; v < to; ++v) f(p, v);
    }
}

// The parameter checks, in the documented order; 0 when all pass.
int CheckParameters(int n, lbfgs_parameter_t& p) {
    if (n < 1) return LBFGSERR_INVALID_N;
    if (p.epsilon < 0.0) return LBFGSERR_INVALID_EPSILON;
    if (p.past < 0) return LBFGSERR_INVALID_TESTPERIOD;
    if (p.delta < 0.0) return LBFGSERR_INVALID_DELTA;
    if (p.min_step < 0.0) return LBFGSERR_INVALID_MINSTEP;
    if (p.max_step < p.min_step) return LBFGSERR_INVALID_MAXSTEP;
    if (p.ftol < 0.0) return LBFGSERR_INVALID_FTOL;
    if ((p.linesearch == LBFGS_LINESEARCH_BACKTRACKING_WOLFE ||
         p.linesearch == LBFGS_LINESEARCH_BACKTRACKING_STRONG_WOLFE) &&
        (p.wolfe <= p.ftol || 1.0 <= p.wolfe))
        return LBFGSERR_INVALID_WOLFE;
    if (p.gtol < 0.0) return LBFGSERR_INVALID_GTOL;
    if (p.xtol < 0.0) return LBFGSERR_INVALID_XTOL;
    if (p.max_linesearch <= 0) return LBFGSERR_INVALID_MAXLINESEARCH;
    if (p.orthantwise_c < 0.0) return LBFGSERR_INVALID_ORTHANTWISE;
    if (p.orthantwise_start < 0 || n < p.orthantwise_start) return LBFGSERR_INVALID_ORTHANTWISE_START;
    if (p.orthantwise_end < 0) p.orthantwise_end = n;
    if (n < p.orthantwise_end) return LBFGSERR_INVALID_ORTHANTWISE_END;
    if (p.orthantwise_c != 0.0) {
        if (p.linesearch != LBFGS_LINESEARCH_BACKTRACKING_WOLFE) return LBFGSERR_INVALID_LINESEARCH;
    } else if (p.linesearch < LBFGS_LINESEARCH_QUADRATIC ||
               p.linesearch > LBFGS_LINESEARCH_BACKTRACKING_STRONG_WOLFE) {
        return LBFGSERR_INVALID_LINESEARCH;
    }
    return 0;
}

typedef int (*line_search_proc)(int n, VectorXDMP& x, double* f, VectorXDMP& g, VectorXDMP& s, double* stp,
                                const VectorXDMP& xp, const VectorXDMP& gp, VectorXDMP& w,
                                tag_callback_data* cd, const lbfgs_parameter_t* param);

line_search_proc SelectLineSearch(const lbfgs_parameter_t& p) {
    if (p.orthantwise_c != 0.0) return line_search_backtracking_owlqn;
    if (p.linesearch == LBFGS_LINESEARCH_QUADRATIC) return line_search_quardratic;
    return line_search_backtracking;
}

// f plus the L1 term of x, and the pseudo-gradient, when there is an L1 term.
double AddL1Term(double fx, const VectorXDMP& x, const VectorXDMP& g, VectorXDMP& pg, int n,
                 const lbfgs_parameter_t& p) {
    if (p.orthantwise_c == 0.0) return fx;
    double norm = 0.0;
    InTeam([&] {
        owlqn_x1norm(&norm, x, p.orthantwise_start, p.orthantwise_end);
        owlqn_pseudo_gradient(pg, x, g, n, p.orthantwise_c, p.orthantwise_start, p.orthantwise_end);
    });
    return fx + norm * p.orthantwise_c;
}

// One iteration's update, in one entry into the team: the new correction pair
// lm[newest] from the step xp -> x, the next direction d = -H g (or -H pg) by
// the two-loop recursion over the `bound` newest pairs with H0 = (ys / yy) I,
// and xp, gp set to x, g for the next line search. The barriers stand where a
// scalar summed over all threads is read. Returns ys / yy, or 0 when the pair
// has no curvature.
double NextDirection(lbfgs_workspace& ws, const VectorXDMP& x, const VectorXDMP& g,
                     const VectorXDMP& steepest, int newest, int bound) {
    const int m = ws.m;
    tag_iteration_data* lm = ws.lm.get();
    tag_iteration_data& it = lm[newest];
    double ys = 0.0, yy = 0.0;
    for (int i = 0; i < m; ++i) lm[i].alpha = ws.beta[i] = 0.0;
    InTeam([&] {
        it.s.Diff(x, ws.xp);
        it.y.Diff(g, ws.gp);
        it.y.Dot(&ys, it.s);
        it.y.Dot(&yy, it.y);
        ws.d.nInit(steepest);
#pragma omp barrier
#pragma omp single
        it.ys = ys;
        // The single's closing barrier publishes ys.
        int j = newest + 1;
        for (int i = 0; i < bound; ++i) {
            j = (j + m - 1) % m;
            lm[j].s.Dot(&lm[j].alpha, ws.d);  // returns with the sum seen by all
            ws.d.Add(lm[j].y, -lm[j].alpha / lm[j].ys);
        }
        ws.d *= ys / yy;
        for (int i = 0; i < bound; ++i) {
            lm[j].y.Dot(&ws.beta[j], ws.d);
            ws.d.Add(lm[j].s, lm[j].alpha / lm[j].ys - ws.beta[j] / lm[j].ys);
            j = (j + 1) % m;
        }
        ws.xp.Init(x);
        ws.gp.Init(g);
    });
    return ys > 0.0 && yy > 0.0 ? ys / yy : 0.0;
}

// Keeps the direction in the orthant of the steepest descent.
void ConstrainToOrthant(VectorXDMP& d, const VectorXDMP& pg, int start, int end) {
    InTeam([&] {
        ForOwnRange(d, start, end, [&](int p, int v) {
            double& dv = (*d.parts[p])[v];
            if (dv * (*pg.parts[p])[v] >= 0.0) dv = 0.0;
        });
    });
}

// Gives v the shape of x unless it has it already.
void Fit(VectorXDMP& v, const VectorXDMP& x) {
    if (v.parts.size() != x.parts.size() || v.Length() != x.Length()) v.Resize(x);
}

// Shapes the workspace for x and m pairs, allocating only what it lacks.
void Fit(lbfgs_workspace& ws, const VectorXDMP& x, int m, bool owlqn) {
    for (VectorXDMP* v : {&ws.g, &ws.d, &ws.xp, &ws.gp, &ws.w}) Fit(*v, x);
    if (owlqn) Fit(ws.pg, x);
    if (ws.m != m) {
        ws.lm.reset(new tag_iteration_data[m]);
        ws.beta.assign(m, 0.0);
        ws.m = m;
    }
    for (int i = 0; i < m; ++i) {
        ws.lm[i].alpha = 0.0;
        ws.lm[i].ys = 0.0;
        Fit(ws.lm[i].s, x);
        Fit(ws.lm[i].y, x);
    }
}

}  // namespace

void lbfgs_parameter_init(lbfgs_parameter_t* param) { *param = kDefaultParam; }

int lbfgs(int n, VectorXDMP& x, double* ptr_fx, lbfgs_evaluate_t proc_evaluate,
          lbfgs_progress_t proc_progress, void* instance, lbfgs_parameter_t* _param, lbfgs_workspace* work) {
    lbfgs_parameter_t param = _param ? *_param : kDefaultParam;
    const int bad = CheckParameters(n, param);
    if (bad) return bad;
    const int m = param.m;
    const bool owlqn = param.orthantwise_c != 0.0;
    const line_search_proc linesearch = SelectLineSearch(param);
    tag_callback_data cd = {n, instance, proc_evaluate, proc_progress};

    lbfgs_workspace own;
    lbfgs_workspace& ws = work ? *work : own;
    Fit(ws, x, m, owlqn);
    VectorXDMP &xp = ws.xp, &g = ws.g, &gp = ws.gp, &d = ws.d, &w = ws.w, &pg = ws.pg;
    std::vector<double> pf(param.past, 0.0);
    const VectorXDMP& steepest = owlqn ? pg : g;  // the gradient the tests and directions use

    double fx = Evaluate(&cd, x, g, 0.0);
    fx = AddL1Term(fx, x, g, pg, n, param);
    if (!pf.empty()) pf[0] = fx;

    double xnorm = 0.0, gnorm = 0.0;
    InTeam([&] {
        d.nInit(steepest);
        x.Norm2(&xnorm);
        steepest.Norm2(&gnorm);
        xp.Init(x);
        gp.Init(g);
    });
    double step = 1.0 / gnorm;
    if (ws.scale > 0.0) {
        d *= ws.scale;
        step = 1.0;
    }

    int ret = 0;
    for (int k = 1, end = 0;; ++k) {
        // xp and gp hold x and g here.
        const int ls = linesearch(n, x, &fx, g, d, &step, xp, owlqn ? pg : gp, w, &cd, &param);
        if (owlqn) {
            InTeam([&] {
                owlqn_pseudo_gradient(pg, x, g, n, param.orthantwise_c, param.orthantwise_start,
                                      param.orthantwise_end);
            });
        }
        if (ls < 0) {
            InTeam([&] {
                x.Init(xp);
                g.Init(gp);
            });
            ret = ls;
            break;
        }

        xnorm = gnorm = 0.0;
        InTeam([&] {
            x.Norm2(&xnorm);
            steepest.Norm2(&gnorm);
        });
        if (proc_progress) {
            ret = proc_progress(instance, x, g, fx, xnorm, gnorm, step, n, k, ls);
            if (ret) break;
        }
        if (gnorm / std::max(xnorm, 1.0) <= param.epsilon) {
            ret = LBFGS_SUCCESS;
            break;
        }
        if (!pf.empty()) {
            // The relative decrease over the last `past` iterations.
            if (param.past <= k && (pf[k % param.past] - fx) / fx < param.delta) {
                ret = LBFGS_STOP;
                break;
            }
            pf[k % param.past] = fx;
        }
        if (param.max_iterations != 0 && param.max_iterations <= k) {
            ret = LBFGSERR_MAXIMUMITERATION;
            break;
        }

        const double gamma = NextDirection(ws, x, g, steepest, end, std::min(m, k));
        if (gamma > 0.0) ws.scale = gamma;
        end = (end + 1) % m;
        if (owlqn) ConstrainToOrthant(d, pg, param.orthantwise_start, param.orthantwise_end);

        step = 1.0;
        if (ptr_fx && std::isfinite(fx)) *ptr_fx = fx;
    }
    if (ptr_fx && std::isfinite(fx)) *ptr_fx = fx;
    return ret;
}

int line_search_backtracking(int n, VectorXDMP& x, double* f, VectorXDMP& g, VectorXDMP& s, double* stp,
                             const VectorXDMP& xp, const VectorXDMP& gp, VectorXDMP& w, tag_callback_data* cd,
                             const lbfgs_parameter_t* param) {
    if (*stp <= 0.0) return LBFGSERR_INVALIDPARAMETERS;
    const double dginit = Dot(g, s);
    if (0.0 < dginit) return LBFGSERR_INCREASEGRADIENT;

    // Growth of the step when the slope is still too steep for the curvature test.
    constexpr double kInc = 2.1, kDec = 0.5;
    const double finit = *f;
    const double dgtest = param->ftol * dginit;
    for (int count = 1;; ++count) {
        StepFrom(x, xp, s, *stp);
        *f = Evaluate(cd, x, g, *stp);

        double width = kDec;
        if (std::isfinite(*f) && *f <= finit + *stp * dgtest) {
            if (param->linesearch == LBFGS_LINESEARCH_BACKTRACKING_ARMIJO) return count;
            const double dg = Dot(g, s);
            if (dg < param->wolfe * dginit) {
                width = kInc;
            } else {
                if (param->linesearch == LBFGS_LINESEARCH_BACKTRACKING_WOLFE) return count;
                if (dg <= -param->wolfe * dginit) return count;
            }
        }
        if (*stp < param->min_step) return LBFGSERR_MINIMUMSTEP;
        if (*stp > param->max_step) return LBFGSERR_MAXIMUMSTEP;
        if (count >= param->max_linesearch) return LBFGSERR_MAXIMUMLINESEARCH;
        *stp *= width;
    }
}

int line_search_backtracking_owlqn(int n, VectorXDMP& x, double* f, VectorXDMP& g, VectorXDMP& s, double* stp,
                                   const VectorXDMP& xp, const VectorXDMP& gp, VectorXDMP& w,
                                   tag_callback_data* cd, const lbfgs_parameter_t* param) {
    if (*stp <= 0.0) return LBFGSERR_INVALIDPARAMETERS;
    const int start = param->orthantwise_start;
    const int end = OwlqnEnd(param, n);
    // The orthant of the new point: that of xp, or of the steepest descent where xp is 0.
    InTeam([&] {
        ForOwnRange(w, 0, w.Length(), [&](int p, int v) {
            const double xv = (*xp.parts[p])[v];
            (*w.parts[p])[v] = xv == 0.0 ? -(*gp.parts[p])[v] : xv;
        });
    });

    const double finit = *f;
    for (int count = 1;; ++count) {
        double norm = 0.0, dgtest = 0.0;
        InTeam([&] {
            x.Init(xp);
            x.Add(s, *stp);
            ForOwnRange(x, start, end, [&](int p, int v) {  // the projection
                double& xv = (*x.parts[p])[v];
                if (xv * (*w.parts[p])[v] <= 0.0) xv = 0.0;
            });
        });
        *f = Evaluate(cd, x, g, *stp);
        InTeam([&] {
            owlqn_x1norm(&norm, x, start, end);
            double local = 0.0;
            ForOwnRange(x, 0, x.Length(), [&](int p, int v) {
                local += ((*x.parts[p])[v] - (*xp.parts[p])[v]) * (*gp.parts[p])[v];
            });
#pragma omp atomic
            dgtest += local;
        });
        *f += norm * param->orthantwise_c;
        if (*f <= finit + param->ftol * dgtest) return count;

        if (*stp < param->min_step) return LBFGSERR_MINIMUMSTEP;
        if (*stp > param->max_step) return LBFGSERR_MAXIMUMSTEP;
        if (count >= param->max_linesearch) return LBFGSERR_MAXIMUMLINESEARCH;
        *stp *= 0.5;
    }
}

void owlqn_x1norm(double* norm, const VectorXDMP& x, int start, int end) {
    double local = 0.0;
    ForOwnRange(x, start, end, [&](int p, int v) { local += std::fabs((*x.parts[p])[v]); });
#pragma omp atomic
    *norm += local;
}

void owlqn_pseudo_gradient(VectorXDMP& pg, const VectorXDMP& x, const VectorXDMP& g, int n, double c,
                           int start, int end) {
    pg.Init(g);
    ForOwnRange(x, start, end, [&](int p, int v) {
        const double xv = (*x.parts[p])[v];
        const double gv = (*g.parts[p])[v];
        double& out = (*pg.parts[p])[v];
        if (xv < 0.0) {
            out = gv - c;
        } else if (xv > 0.0) {
            out = gv + c;
        } else if (gv < -c) {
            out = gv + c;  // the right partial derivative
        } else if (gv > c) {
            out = gv - c;  // the left partial derivative
        } else {
            out = 0.0;
        }
    });
}

namespace {

// The bracket of the parabola-fitting search: t0 < t1 < t2, t1 the best point.
struct Bracket {
    double t[3];
    double f[3];
};

// The search's shared state: where the last evaluation was, and the test.
class QuadraticSearch {
public:
    QuadraticSearch(VectorXDMP& x, double* f, VectorXDMP& g, VectorXDMP& s, double* stp, const VectorXDMP& xp,
                    tag_callback_data* cd, const lbfgs_parameter_t* param, double dginit)
        : x_(x),
          f_(f),
          g_(g),
          s_(s),
          stp_(stp),
          xp_(xp),
          cd_(cd),
          param_(param),
          finit_(*f),
          dginit_(dginit) {}

    double Eval(double t) {
        *stp_ = t;
        StepFrom(x_, xp_, s_, t);
        *f_ = Evaluate(cd_, x_, g_, t);
        ++count_;
        return *f_;
    }
    // Sufficient decrease and the curvature test at the point just evaluated.
    bool Accepts(double t, double f) const {
        return f <= finit_ + t * param_->ftol * dginit_ && std::fabs(Dot(g_, s_)) <= -dginit_ * param_->gtol;
    }
    // Ends the search at the best point: count, or the failure when it is no
    // better than the start. x and g are brought back to t1 when a later
    // trial left them elsewhere.
    int Finish(double t1, double f1, int failure) {
        if (!(f1 < finit_)) return failure;
        if (*stp_ != t1) Eval(t1);
        return count_;
    }
    int count() const { return count_; }
    bool Exhausted() const { return count_ >= param_->max_linesearch; }

private:
    VectorXDMP& x_;
    double* f_;
    VectorXDMP& g_;
    VectorXDMP& s_;
    double* stp_;
    const VectorXDMP& xp_;
    tag_callback_data* cd_;
    const lbfgs_parameter_t* param_;
    double finit_, dginit_;
    int count_ = 0;
};

constexpr double kUnset = DBL_MAX;
constexpr double kGolden = 0.3819660112501051;

// A better point t replaces t1; the old t1 goes below it or above it.
void NewCentre(Bracket& b, double t, double f) {
    const int side = t >= b.t[1] ? 0 : 2;
    b.t[side] = b.t[1];
    b.f[side] = b.f[1];
    b.t[1] = t;
    b.f[1] = f;
}

// A worse point t replaces the end on its side of t1.
void NewEnd(Bracket& b, double t, double f) {
    const int side = t >= b.t[1] ? 2 : 0;
    b.t[side] = t;
    b.f[side] = f;
}

}  // namespace

int line_search_quardratic(int n, VectorXDMP& x, double* f, VectorXDMP& g, VectorXDMP& s, double* stp,
                           const VectorXDMP& xp, const VectorXDMP& gp, VectorXDMP& w, tag_callback_data* cd,
                           const lbfgs_parameter_t* param) {
    if (*stp <= 0.0) return LBFGSERR_INVALIDPARAMETERS;
    const double dginit = Dot(g, s);
    if (0.0 < dginit) return LBFGSERR_INCREASEGRADIENT;
    *stp = std::min(std::max(*stp, param->min_step), param->max_step);

    const double finit = *f;
    QuadraticSearch q(x, f, g, s, stp, xp, cd, param, dginit);
    Bracket b = {{0.0, *stp, kUnset}, {finit, kUnset, kUnset}};

    // Shrink: halve the step until a smaller step gets worse than the best.
    for (double t = *stp;; t *= 0.5) {
        const double v = q.Eval(t);
        if (q.Exhausted()) return v < finit ? q.count() : LBFGSERR_MAXIMUMLINESEARCH;
        if (!std::isfinite(v)) continue;
        if (v < b.f[1]) {
            b.t[2] = b.t[1];
            b.f[2] = b.f[1];
            b.t[1] = t;
            b.f[1] = v;
            if (q.Accepts(t, v)) return q.count();
        } else if (v > b.f[1]) {
            b.t[0] = t;
            b.f[0] = v;
            break;
        }
    }

    // Expand: the first trial was the best, so look beyond it for a worse point.
    if (b.f[2] == kUnset) {
        for (double t = b.t[1] * 2.0;; t *= 2.0) {
            double v = q.Eval(t);
            while (!std::isfinite(v) && !q.Exhausted()) {
                b.t[2] = t;
                t = (b.t[1] + b.t[2]) * 0.5;
                v = q.Eval(t);
            }
            if (v > b.f[1]) {
                b.t[2] = t;
                b.f[2] = v;
                break;
            }
            if (v < b.f[1]) {
                b.t[0] = b.t[1];
                b.f[0] = b.f[1];
                b.t[1] = t;
                b.f[1] = v;
                if (q.Accepts(t, v)) return q.count();
            }
            if (q.Exhausted()) return v < finit ? q.count() : LBFGSERR_MAXIMUMLINESEARCH;
        }
    }

    MatrixDD A(3, 3), rhs(3, 1);
    SolverData work;
    work.CreateForGeTRS(A);
    for (;;) {
        if (b.t[2] - b.t[0] <= param->xtol * b.t[2]) return q.Finish(b.t[1], b.f[1], LBFGSERR_WIDTHTOOSMALL);
        if (q.Exhausted()) return q.Finish(b.t[1], b.f[1], LBFGSERR_MAXIMUMLINESEARCH);

        for (int i = 0; i < 3; ++i) {
            A(i, 0) = b.t[i] * b.t[i];
            A(i, 1) = b.t[i];
            A(i, 2) = 1.0;
            rhs(i, 0) = b.f[i];
        }
        A.GeTRS(rhs, work);
        const double vertex = -rhs(1, 0) / (2.0 * rhs(0, 0));
        if (!(vertex >= b.t[0] && vertex <= b.t[2])) {
            IO::Printf("Step(%g) is not in the range of min(%g) and max(%g)\n", vertex, b.t[0], b.t[2]);
            return q.Finish(b.t[1], b.f[1], LBFGSERR_ROUNDING_ERROR);
        }

        const double v = q.Eval(vertex);
        if (v < b.f[1]) {
            NewCentre(b, vertex, v);
            if (q.Accepts(vertex, v)) return q.count();
            continue;
        }
        // No gain at the vertex: it narrows the bracket, and a golden-section
        // point on the other side of t1 is tried.
        const bool below = vertex < b.t[1];
        NewEnd(b, vertex, v);
        const double far = below ? b.t[2] : b.t[0];
        const double t = b.t[1] + (far - b.t[1]) * kGolden;
        const double u = q.Eval(t);
        if (u < b.f[1]) {
            NewCentre(b, t, u);
            if (q.Accepts(t, u)) return q.count();
        } else {
            NewEnd(b, t, u);
        }
    }
}
