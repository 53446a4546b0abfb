// The scalar root finder of the multipliers: far starts in both directions, edges of finiteness, and giving up.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "common/CapturedOutput.h"
#include "engine/optimisers/lbfgs/LineSearch.h"

namespace {

struct Function {
    explicit Function(std::function<double(double)> fn) : f(std::move(fn)) {}
    std::function<double(double)> f;
    std::vector<double> tried;
};

double Call(void* data, double x) {
    Function& fn = *static_cast<Function*>(data);
    fn.tried.push_back(x);
    return fn.f(x);
}

const double kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

TEST(ScalarRoot, FindsRootsFromFarStartsThroughEveryWalk) {
    struct Case {
        const char* what;
        std::function<double(double)> f;
        double start, root;
    } cases[] = {
        {"start far above: walks down", [](double x) { return std::log(x / 3.0); }, 1e6, 3.0},
        {"start far below: walks up", [](double x) { return 1.0 - 7.0 / x; }, 1e-5, 7.0},
        {"not finite at the start: walks down", [](double x) { return x > 50 ? kNaN : x * x - 2.0; }, 1e4,
         std::sqrt(2.0)},
        {"not finite above: pulls the top point in",
         [](double x) { return x > 30 ? kNaN : std::log(x / 20.0); }, 12.0, 20.0},
        {"a root exactly at the start", [](double x) { return x - 5.0; }, 5.0, 5.0},
    };
    for (const Case& c : cases) {
        Function fn{c.f};
        double x = c.start;
        CapturedOutput quiet;
        const double r = LineSearch(Call, &fn, x, 1e-9, 4.0);
        EXPECT_NEAR(r, c.root, 1e-6 * c.root) << c.what;
        // The regular exit evaluates at the result last, which leaves the state there.
        EXPECT_EQ(fn.tried.back(), r) << c.what;
        EXPECT_EQ(x, r) << c.what;
        EXPECT_EQ(quiet.text(), "") << c.what;
    }
}

// Without a root the parabola's candidate eventually leaves the bracket, and
// the search says so, by the sign of the discriminant of the fit.
TEST(ScalarRoot, GivesUpWithItsMessageWhenThereIsNoRoot) {
    struct Case {
        std::function<double(double)> f;
        const char* message;
    } cases[] = {
        {[](double x) { return std::fabs(x - 5.0) + 1.0; }, "Oops! Something is wrong! (d>=0)\n"},
        {[](double x) { return std::pow(std::fabs(x - 5.0), 0.8) + 1.0; },
         "Oops! Something is wrong! (d<0)\n"},
    };
    for (const Case& c : cases) {
        Function fn{c.f};
        double x = 1.0;
        CapturedOutput out;
        const double r = LineSearch(Call, &fn, x, 1e-9, 4.0);
        EXPECT_EQ(out.text(), c.message);
        EXPECT_NEAR(r, 5.0, 1e-3);  // the best point: the minimum of |f|
    }
}
