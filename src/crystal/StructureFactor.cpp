#include "crystal/StructureFactor.h"

#include <cblas.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <vector>

#include "util/MergeSort.h"

namespace {

// Two index triples or sums closer than single-precision epsilon are equal.
const double kEpsilon = 1.1920928955078125e-07;
const double kTwoPi = 6.283185307179586;

int roundIndex(double x) { return (int)std::floor(x + 0.5); }

// y = op^T x: for an operator (R, t) and x = (h, 0, 0) this gives the
// equivalent indices h R in y[0..dim-1] and the phase shift h . t in cycles in
// y[dim]. Components of y beyond the operator's columns keep their value.
void imageUnder(const MatrixD& op, const double* x, double* y, int dim) {
    HV_ASSERT(op.dim_[0] <= dim + 2 && op.dim_[1] <= dim + 2);
    cblas_dgemv(CblasColMajor, CblasTrans, op.dim_[0], op.dim_[1], 1.0, op.p_, op.ld, x, 1, 0.0, y, 1);
}

// Length of the reciprocal vector of the indices in x, that is 1/d; y is
// scratch of dim + 2 values.
double reciprocalLength(const MatrixD& reciprocal, const double* x, double* y, int dim) {
    HV_ASSERT(reciprocal.dim_[1] >= dim);
    imageUnder(reciprocal, x, y, dim);
    return cblas_dnrm2(dim, y, 1);
}

// The distinct images of one reflection under the operators. Each row is the
// triple (as doubles), then the sums of cos and sin of 2 pi times the phase
// shifts of all operators that land on it. The search is linear on purpose:
// an orbit has at most 48 rows.
class OrbitRows {
public:
    explicit OrbitRows(int dim) : dim_(dim), width_(dim + 2) {}

    void clear() { values_.clear(); }
    int count() const { return (int)(values_.size() / width_); }
    double* row(int r) { return values_.data() + r * width_; }
    double& cosSum(int r) { return row(r)[dim_]; }
    double& sinSum(int r) { return row(r)[dim_ + 1]; }

    // Starts a row for the triple of x with empty sums.
    void start(const double* x) {
        values_.insert(values_.end(), x, x + dim_);
        values_.push_back(0.0);
        values_.push_back(0.0);
    }

    // Adds the phase factor of an image y (triple, then phase in cycles) to its
    // row, starting a new row for a triple not seen yet.
    void collect(const double* y) {
        const double c = std::cos(kTwoPi * y[dim_]);
        const double s = std::sin(kTwoPi * y[dim_]);
        int r = find(y);
        if (r < 0) {
            start(y);
            r = count() - 1;
        }
        cosSum(r) += c;
        sinSum(r) += s;
    }

    // The phase factors of all operators cancel on the reflection itself.
    bool isAbsent() {
        return count() == 0 || (std::fabs(cosSum(0)) < kEpsilon && std::fabs(sinSum(0)) < kEpsilon);
    }

    void appendTriple(int r, ArrVector<int>& hkl) {
        std::vector<int> triple(dim_);
        for (int c = 0; c < dim_; ++c) triple[c] = roundIndex(row(r)[c]);
        hkl.add(triple.data());
    }

private:
    int find(const double* y) {
        for (int r = 0; r < count(); ++r) {
            const double* t = row(r);
            int c = 0;
            while (c < dim_ && std::fabs(t[c] - y[c]) < kEpsilon) ++c;
            if (c == dim_) return r;
        }
        return -1;
    }

    int dim_;
    int width_;
    std::vector<double> values_;
};

// The phase in cycles, in [0, 1), of the unit vector (c, s); the sine is used
// where it is better conditioned than the cosine.
double phaseInCycles(double c, double s) {
    double p;
    if (std::fabs(c) < 0.7)
        p = c < 0 ? 0.5 - std::asin(s) / kTwoPi : std::asin(s) / kTwoPi;
    else
        p = s < 0 ? 1.0 - std::acos(c) / kTwoPi : std::acos(c) / kTwoPi;
    p -= std::floor(p);
    if (std::fabs(p - 1.0) < 1e-06) p = 0;
    return p;
}

// Records the orbit of an allowed reflection: every row's triple with its
// phase, and the stabiliser order, which is the number of operators landing
// on each row (all with the same phase, so the length of the sum).
void storeAllowed(OrbitRows& rows, StructureFactor& sf) {
    double a = 0.0;
    for (int r = 0; r < rows.count(); ++r) {
        a = std::sqrt(rows.cosSum(r) * rows.cosSum(r) + rows.sinSum(r) * rows.sinSum(r));
        const double pair[2] = {phaseInCycles(rows.cosSum(r) / a, rows.sinSum(r) / a), 1.0};
        rows.appendTriple(r, sf.hkl);
        sf.phase.add(pair);
    }
    sf.stabilizerOrder = (int)std::floor(a + 0.5);
}

// An absent reflection keeps the raw sums; its calculated F is zero.
void storeAbsent(OrbitRows& rows, StructureFactor& sf) {
    sf.A = sf.B = 0.0;
    for (int r = 0; r < rows.count(); ++r) {
        const double pair[2] = {rows.cosSum(r), rows.sinSum(r)};
        rows.appendTriple(r, sf.hkl);
        sf.phase.add(pair);
    }
}

bool sameIndices(const int* a, const int* b, int dim) {
    for (int c = 0; c < dim; ++c)
        if (a[c] != b[c]) return false;
    return true;
}

// Without an inversion among the operators F(-h) is not given by symmetry:
// the mate -h_r gets the conjugate phase and the sign factor -1.
void addFriedelMates(StructureFactor& sf, int dim) {
    const int n = (int)sf.hkl.nItems();
    std::vector<int> minus(dim);
    for (int r = 0; r < n; ++r) {
        for (int c = 0; c < dim; ++c) minus[c] = -sf.hkl.item(r)[c];
        bool found = false;
        for (int q = 0; q < n && !found; ++q) found = sameIndices(sf.hkl.item(q), minus.data(), dim);
        if (found) continue;
        sf.hkl.add(minus.data());
        const double pair[2] = {-sf.phase.item(r)[0], -sf.phase.item(r)[1]};
        sf.phase.add(pair);
    }
}

// Orders reflections by ascending 1/d, the largest d-spacing first.
bool compare_d_spacing(void* a, void* b) {
    return static_cast<StructureFactor*>(static_cast<Object*>(a))->di <
           static_cast<StructureFactor*>(static_cast<Object*>(b))->di;
}

void sortByDSpacing(VectorBase& list) {
    const long n = list.size();
    if (n == 0) return;
    std::vector<void*> items(list.v.begin(), list.v.end());
    std::vector<void*> buffer(n);
    MergeSort(items.data(), buffer.data(), 0, n - 1, compare_d_spacing, 1);
    for (long i = 0; i < n; ++i) list.v[i] = static_cast<Object*>(items[i]);
}

// Position of a triple in the index box |h_c| <= hmax[c], component 0 fastest.
class IndexBox {
public:
    IndexBox(const int* hmax, int dim) : hmax_(hmax, hmax + dim) {}

    bool isEmpty() const {
        for (int h : hmax_)
            if (h < 0) return true;
        return false;
    }
    std::int64_t size() const {
        std::int64_t n = 1;
        for (int h : hmax_) n *= 2 * (std::int64_t)h + 1;
        return n;
    }
    bool contains(const int* h) const {
        for (size_t c = 0; c < hmax_.size(); ++c)
            if (std::abs(h[c]) > hmax_[c]) return false;
        return true;
    }
    std::int64_t position(const int* h) const {
        std::int64_t pos = 0, stride = 1;
        for (size_t c = 0; c < hmax_.size(); ++c) {
            pos += (h[c] + hmax_[c]) * stride;
            stride *= 2 * (std::int64_t)hmax_[c] + 1;
        }
        return pos;
    }
    int limit(int c) const { return hmax_[c]; }

private:
    std::vector<int> hmax_;
};

// Steps h through the box from the top down, the last component fastest;
// component 0 stops at `lowest0`. False after the last triple.
bool stepDown(std::vector<int>& h, const IndexBox& box, int lowest0) {
    for (int c = (int)h.size() - 1; c >= 0; --c) {
        const int lowest = c == 0 ? lowest0 : -box.limit(c);
        if (h[c] > lowest) {
            --h[c];
            return true;
        }
        h[c] = box.limit(c);
    }
    return false;
}

}  // namespace

StructureFactor::StructureFactor(const int* indices, int dim) : hkl(dim), phase(2) { hkl.add(indices); }

StructureFactor::StructureFactor(int dim) : hkl(dim), phase(2) {}

StructureFactor* StructureFactor::Clone(unsigned int) const { return new StructureFactor(*this); }

int StructureFactor::ExpandReflectionList(ObjVector<StructureFactor>& list,
                                          ObjVector<StructureFactor>& absent, const ObjVector<MatrixD>& ops,
                                          const MatrixD& reciprocal, int dim, int friedel) {
    int nAbsent = 0;
    OrbitRows rows(dim);
    std::vector<double> x(dim + 2), y(dim + 2);
    for (StructureFactor* sf : list) {
        HV_ASSERT(sf->hkl.nItems() >= 1);
        std::fill(x.begin(), x.end(), 0.0);
        for (int c = 0; c < dim; ++c) x[c] = sf->hkl.item(0)[c];
        rows.clear();
        rows.start(x.data());
        sf->hkl.clear();
        sf->phase.clear();
        sf->di = reciprocalLength(reciprocal, x.data(), y.data(), dim);
        for (MatrixD* op : ops) {
            std::fill(y.begin(), y.end(), 0.0);
            imageUnder(*op, x.data(), y.data(), dim);
            rows.collect(y.data());
        }
        if (rows.isAbsent()) {
            ++nAbsent;
            storeAbsent(rows, *sf);
            absent.add(sf);
        } else {
            storeAllowed(rows, *sf);
        }
        if (friedel) addFriedelMates(*sf, dim);
    }
    return nAbsent;
}

void StructureFactor::DropTranslationPhases(ObjVector<StructureFactor>& list,
                                            const ObjVector<StructureFactor>& absent) {
    std::set<const StructureFactor*> forbidden;
    for (const StructureFactor* f : absent) forbidden.insert(f);
    for (StructureFactor* f : list) {
        if (forbidden.count(f)) continue;
        for (std::size_t j = 0; j < f->phase.nItems(); ++j)
            if (f->phase.item(j)[0] != 0.0) f->phase.item(j)[0] = 0.0;
    }
}

void StructureFactor::CreateReflectionList(ObjVector<StructureFactor>& out, StructureFactor& prototype,
                                           const ObjVector<MatrixD>& ops, const MatrixD& reciprocal,
                                           const int* hmax, double dmin, double dimin, bool half, int dim) {
    out.clear();
    const IndexBox box(hmax, dim);
    if (box.isEmpty()) return;
    // Each entry tells which visited triple claimed this point of the box, so
    // that every orbit is expanded once.
    std::vector<std::int64_t> seen(box.size(), -1);
    OrbitRows rows(dim);
    std::vector<int> h(hmax, hmax + dim), image(dim);
    std::vector<double> x(dim + 2), y(dim + 2);
    do {
        const std::int64_t here = box.position(h.data());
        if (seen[here] >= 0) continue;
        std::fill(x.begin(), x.end(), 0.0);
        for (int c = 0; c < dim; ++c) x[c] = h[c];
        const double di = reciprocalLength(reciprocal, x.data(), y.data(), dim);
        if (di < kEpsilon || 1.0 / di < dmin || di < dimin) continue;
        StructureFactor* sf = prototype.Clone(0);
        sf->di = di;
        rows.clear();
        for (MatrixD* op : ops) {
            std::fill(y.begin(), y.end(), 0.0);
            imageUnder(*op, x.data(), y.data(), dim);
            for (int c = 0; c < dim; ++c) image[c] = roundIndex(y[c]);
            // An equivalent outside the box is left out of this record altogether.
            if (!box.contains(image.data())) continue;
            seen[box.position(image.data())] = here;
            rows.collect(y.data());
        }
        if (rows.isAbsent()) {
            delete sf;
            continue;
        }
        storeAllowed(rows, *sf);
        out.add(sf);
    } while (stepDown(h, box, half ? 0 : -hmax[0]));
    sortByDSpacing(out);
}

int StructureFactor::RemoveDuplicate(ObjVector<StructureFactor>& list, VectorBase& reference,
                                     const ObjVector<MatrixD>&, const MatrixD&, int dim) {
    // The first triples of the reference records, looked up by value: a search
    // confined to a band of 1/d would do the same, but a needle-shaped cell
    // crowds thousands of reflections into one band and makes it quadratic.
    ObjVector<StructureFactor> records;
    records.VectorBase::append(reference);
    std::set<std::vector<int>> firsts;
    for (const StructureFactor* o : records)
        if (o->hkl.nItems() > 0) firsts.emplace(o->hkl.item(0), o->hkl.item(0) + dim);
    // The records that stay are gathered in one pass: removing them one by one
    // would move the rest of a long list each time.
    ObjVector<StructureFactor> kept;
    for (StructureFactor* e : list) {
        bool duplicate = false;
        for (size_t r = 0; r < e->hkl.nItems() && !duplicate; ++r)
            duplicate = firsts.count(std::vector<int>(e->hkl.item(r), e->hkl.item(r) + dim)) > 0;
        if (!duplicate) kept.add(e);
    }
    const int removed = list.size() - kept.size();
    list = kept;
    return removed;
}
