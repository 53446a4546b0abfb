// The limited-memory BFGS minimiser (with OWL-QN for an L1 term) on per-thread vectors.
#pragma once

#include <memory>
#include <vector>

#include "engine/optimisers/lbfgs/VectorXDMP.h"

// Status codes of lbfgs. Positive results of a line search count its evaluations.
enum {
    LBFGS_SUCCESS = 0,
    LBFGS_STOP = 1,
    LBFGSERR_OUTOFMEMORY = -1022,
    LBFGSERR_INVALID_N = -1020,
    LBFGSERR_INVALID_EPSILON = -1017,
    LBFGSERR_INVALID_TESTPERIOD = -1016,
    LBFGSERR_INVALID_DELTA = -1015,
    LBFGSERR_INVALID_LINESEARCH = -1014,
    LBFGSERR_INVALID_MINSTEP = -1013,
    LBFGSERR_INVALID_MAXSTEP = -1012,
    LBFGSERR_INVALID_FTOL = -1011,
    LBFGSERR_INVALID_WOLFE = -1010,
    LBFGSERR_INVALID_GTOL = -1009,
    LBFGSERR_INVALID_XTOL = -1008,
    LBFGSERR_INVALID_MAXLINESEARCH = -1007,
    LBFGSERR_INVALID_ORTHANTWISE = -1006,
    LBFGSERR_INVALID_ORTHANTWISE_START = -1005,
    LBFGSERR_INVALID_ORTHANTWISE_END = -1004,
    LBFGSERR_ROUNDING_ERROR = -1001,
    LBFGSERR_MINIMUMSTEP = -1000,
    LBFGSERR_MAXIMUMSTEP = -999,
    LBFGSERR_MAXIMUMLINESEARCH = -998,
    LBFGSERR_MAXIMUMITERATION = -997,
    LBFGSERR_WIDTHTOOSMALL = -996,
    LBFGSERR_INVALIDPARAMETERS = -995,
    LBFGSERR_INCREASEGRADIENT = -994,
};

// Line searches selected by lbfgs_parameter_t::linesearch.
enum {
    LBFGS_LINESEARCH_QUADRATIC = 0,
    LBFGS_LINESEARCH_BACKTRACKING_ARMIJO = 1,
    LBFGS_LINESEARCH_BACKTRACKING_WOLFE = 2,
    LBFGS_LINESEARCH_BACKTRACKING_STRONG_WOLFE = 3,
};

struct lbfgs_parameter_t {
    int m;               // correction pairs kept
    double epsilon;      // stop when gnorm / max(xnorm, 1) <= epsilon
    int past;            // distance of the objective-decrease test; 0: none
    double delta;        // smallest relative decrease over `past` iterations
    int max_iterations;  // 0: unlimited
    int linesearch;      // see the enum above
    int max_linesearch;  // evaluations per line search
    double min_step;
    double max_step;
    double ftol;            // sufficient decrease
    double wolfe;           // curvature factor of the backtracking searches
    double gtol;            // curvature factor of the quadratic search
    double xtol;            // smallest relative bracket of the quadratic search
    double orthantwise_c;   // coefficient of the L1 term; 0: none
    int orthantwise_start;  // first index of the L1 term
    int orthantwise_end;    // one past the last; negative: n
};

typedef double (*lbfgs_evaluate_t)(void* instance, const VectorXDMP& x, VectorXDMP& g, int n, double step);
typedef int (*lbfgs_progress_t)(void* instance, const VectorXDMP& x, const VectorXDMP& g, double fx,
                                double xnorm, double gnorm, double step, int n, int k, int ls);

// One correction pair of the two-loop recursion.
struct tag_iteration_data {
    double alpha;
    VectorXDMP s;  // x_{k+1} - x_k
    VectorXDMP y;  // g_{k+1} - g_k
    double ys;     // y . s
};

// The minimiser's own vectors. A caller that runs the minimiser again and
// again keeps one, so that they are allocated once, not per run; it may also
// make g and d of parts of its own, shaped as x, which are then used as they are.
struct lbfgs_workspace {
    VectorXDMP g, d;           // gradient, search direction
    VectorXDMP xp, gp, w, pg;  // previous point and gradient, search scratch, pseudo-gradient
    std::unique_ptr<tag_iteration_data[]> lm;
    std::vector<double> beta;  // the two-loop's second scalars, one per pair
    int m = 0;                 // pairs in lm
    // ys / yy of the last pair of an earlier run, 0 while there is none. A run
    // that finds it scales its first direction by it and tries the step 1, as
    // later iterations do, instead of a step of 1 / |g|: a gradient that has
    // become small in late runs would otherwise make that first step far too
    // long and cost a dozen or more evaluations to halve back.
    double scale = 0.0;
};

// What a line search hands on to the objective.
struct tag_callback_data {
    int n;
    void* instance;
    lbfgs_evaluate_t proc_evaluate;
    lbfgs_progress_t proc_progress;
};

void lbfgs_parameter_init(lbfgs_parameter_t* param);

// Minimises the objective from x, which holds the result on return. n is
// checked and handed on to the callbacks; it needn't be the length of x.
// A null param stands for the defaults, a null proc_progress is allowed.
// On a failed line search x and g are those of the last accepted point.
// Without a workspace the vectors are allocated for this run alone.
int lbfgs(int n, VectorXDMP& x, double* ptr_fx, lbfgs_evaluate_t proc_evaluate,
          lbfgs_progress_t proc_progress, void* instance, lbfgs_parameter_t* param,
          lbfgs_workspace* work = nullptr);

// The line searches: the evaluation count, or a status below zero.
// Under OWL-QN gp is the pseudo-gradient.
int line_search_backtracking(int n, VectorXDMP& x, double* f, VectorXDMP& g, VectorXDMP& s, double* stp,
                             const VectorXDMP& xp, const VectorXDMP& gp, VectorXDMP& w, tag_callback_data* cd,
                             const lbfgs_parameter_t* param);
int line_search_backtracking_owlqn(int n, VectorXDMP& x, double* f, VectorXDMP& g, VectorXDMP& s, double* stp,
                                   const VectorXDMP& xp, const VectorXDMP& gp, VectorXDMP& w,
                                   tag_callback_data* cd, const lbfgs_parameter_t* param);
int line_search_quardratic(int n, VectorXDMP& x, double* f, VectorXDMP& g, VectorXDMP& s, double* stp,
                           const VectorXDMP& xp, const VectorXDMP& gp, VectorXDMP& w, tag_callback_data* cd,
                           const lbfgs_parameter_t* param);

// Parallel-region operations of OWL-QN over the long index range [start, end):
// adds the L1 norm to *norm atomically; pg = the pseudo-gradient.
void owlqn_x1norm(double* norm, const VectorXDMP& x, int start, int end);
void owlqn_pseudo_gradient(VectorXDMP& pg, const VectorXDMP& x, const VectorXDMP& g, int n, double c,
                           int start, int end);
