// Reading matrix rows from operator text such as "x+1/2,-y,z" or "X1, -X2+1/2, X3".
//
// The grammar is loose on purpose, to take what crystallographic programs
// write: either case, several kinds of separator, coefficients before or after
// the name. Nothing is validated: a component that is not understood leaves
// its row zero in the linear part, and missing components leave their rows
// zero. Callers reduce translations themselves.

#include "numeric/MatrixD.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "util/FieldScan.h"
#include "util/StrToken.h"
#include "util/TextLine.h"

namespace {

// Text from the data files rounds thirds, sixths and twelfths to a few digits;
// a positive translation this close to one of them is taken as that fraction.
const double kFractionTolerance = 0.0001;

double snapToTwelfths(double a) {
    static const double fractions[] = {1.0 / 12, 1.0 / 6, 1.0 / 4, 1.0 / 3, 5.0 / 12, 1.0 / 2,
                                       7.0 / 12, 2.0 / 3, 3.0 / 4, 5.0 / 6, 11.0 / 12};
    for (double f : fractions)
        if (std::fabs(a - f) < kFractionTolerance) return f;
    return a;
}

// A term runs from its own first character, which may be a sign, up to the next
// '+' or '-'.
char* termEnd(char* term) {
    char* end = term + 1;
    while (*end != '\0' && *end != '+' && *end != '-') ++end;
    return end;
}

// The column whose name the term contains; the first name in order wins.
int findName(const char* term, const char** names, int nNames) {
    for (int j = 0; j < nNames; ++j)
        if (std::strstr(term, names[j])) return j;
    return -1;
}

// The coefficient of a named term: "x" 1, "-x" -1, "2x" 2, "x/2" and "1/2x" 0.5.
double coefficient(const char* term) {
    double v;
    if (ScanFields(term, "%lf", &v) != 1) v = (term[0] == '-') ? -1.0 : 1.0;
    if (const char* slash = std::strchr(term, '/')) {
        double divisor;
        if (ScanFields(slash + 1, "%lf", &divisor) == 1) v /= divisor;
    }
    return v;
}

// Each term assigns its element rather than adding to it, so "x+x" reads as x
// and a later constant replaces an earlier one.
void readComponent(MatrixD& M, int row, char* component, const char** names) {
    const int translationColumn = M.Dim(1) - 1;
    for (char* term = component; *term != '\0';) {
        char* end = termEnd(term);
        const char next = *end;
        *end = '\0';
        const int j = findName(term, names, translationColumn);
        if (j >= 0) {
            M(row, j) = coefficient(term);
        } else {
            double numerator = 0.0, denominator = 1.0;
            if (ScanFields(term, "%lf/%lf", &numerator, &denominator) >= 1) {
                const double a = numerator / denominator;
                M(row, translationColumn) = a > 0.0 ? snapToTwelfths(a) : a;
            }
        }
        *end = next;
        term = end;
    }
}

}  // namespace

// A text holds up to two segments separated by ';' or '|'. Each is a list of
// components, one per row from row 0, separated by blanks, tabs, commas or
// quotes. The second segment writes over what the first set, element by
// element, so it can amend single entries; further segments are ignored.
void MatrixD::SetFromString(char* text, const char** names, int rows, bool keepCase) {
    HV_ASSERT(rows <= dim_[0]);
    if (!keepCase) Up2Lo(text);
    const int stored = ld * dim_[1];
    for (int k = 0; k < stored; ++k) p_[k] = 0.0;
    if (stored > 0) p_[stored - 1] = 1.0;

    StrToken segments(text, ";|");
    for (int s = 0; s < 2; ++s) {
        char* segment = segments.nextToken();
        if (!segment) break;
        StrToken components(segment, " \t,'\"");
        for (int row = 0; row < rows; ++row) {
            char* component = components.nextToken();
            if (!component) break;
            readComponent(*this, row, component, names);
        }
    }
}
