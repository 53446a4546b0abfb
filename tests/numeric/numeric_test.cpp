// Matrices, operators and their text, coordinate reduction and counted lists.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "numeric/MatrixD.h"
#include "numeric/Vector.h"
#include "numeric/VectorD.h"
#include "numeric/Matrix4D.h"

namespace {

// A row-by-row literal into a compact column-major MatrixDD.
MatrixDD fromRows(int rows, int cols, std::initializer_list<double> values) {
    MatrixDD M(rows, cols);
    auto it = values.begin();
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) M(i, j) = *it++;
    return M;
}

// Permutations need row exchanges: the sign of the determinant must come from the pivots.
TEST(MatrixInverse, InverseAndDeterminant) {
    const MatrixDD A = fromRows(4, 4, {4, -2, 1, 0.5, 3, 6, -4, 2, 2, 1, 8, -1, 0.25, -3, 2, 5});
    const MatrixDD Ainv(A, 'I');
    MatrixDD left(4, 4), right(4, 4);
    left.GeMM(Ainv, A);
    right.GeMM(A, Ainv);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            EXPECT_NEAR(left(i, j), i == j, 1e-13) << i << ", " << j;
            EXPECT_NEAR(right(i, j), i == j, 1e-13) << i << ", " << j;
        }
    EXPECT_NEAR(fromRows(3, 3, {0, 1, 0, 0, 0, 1, 1, 0, 0}).Determinant(), 1.0, 1e-15);
    EXPECT_NEAR(fromRows(3, 3, {0, 1, 0, 1, 0, 0, 0, 0, 1}).Determinant(), -1.0, 1e-15);
    EXPECT_NEAR(fromRows(3, 3, {2, -3, 1, 2, 0, -1, 1, 4, 5}).Determinant(), 49.0, 1e-12);
    EXPECT_EQ(MatrixDD().Determinant(), 1.0);
}

// Operator text into matrix rows, the loose grammar of the data files and of
// refinement output: each example with the operator it must give, as rows 0
// to 2 of (W(r,0), W(r,1), W(r,2) | W(r,3)) and the corner W(3,3).
TEST(OperatorText, TableOfExamples) {
    const struct {
        const char* text;
        int rows;
        double r[3][4];
        double corner;
    } cases[] = {
        {"x+1/2", 3, {{1, 0, 0, 0.5}}, 1},
        {"x-y", 3, {{1, -1, 0, 0}}, 1},
        {"2x", 3, {{2, 0, 0, 0}}, 1},
        {"x/2", 3, {{0.5, 0, 0, 0}}, 1},
        {"1/2x", 3, {{0.5, 0, 0, 0}}, 1},
        {"0.3333", 3, {{0, 0, 0, 1.0 / 3}}, 1},  // snapped to the exact third
        {"0.6667", 3, {{0, 0, 0, 2.0 / 3}}, 1},
        {"0.08333", 3, {{0, 0, 0, 1.0 / 12}}, 1},
        {"0.91667", 3, {{0, 0, 0, 11.0 / 12}}, 1},
        {"0.1", 3, {{0, 0, 0, 0.1}}, 1},
        {"0.3331", 3, {{0, 0, 0, 0.3331}}, 1},  // outside 0.0001 of a third
        {"x+1/2,-y,1/4-z", 3, {{1, 0, 0, 0.5}, {0, -1, 0, 0}, {0, 0, -1, 0.25}}, 1},
        // Case, quotes, blanks, tabs and empty components do not matter.
        {"X-Y,X,Z+1/6", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
        {"x-y x z+1/6", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
        {"'x-y, x, z+1/6'", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
        {"x-y\tx\t\tz+1/6", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
        {"  \"x-y\" ,, x , z+1/6 ,", 3, {{1, -1, 0, 0}, {1, 0, 0, 0}, {0, 0, 1, 1.0 / 6}}, 1},
        // Terms assign rather than add.
        {"x+x", 3, {{1, 0, 0, 0}}, 1},
        {"x+1/2+1/4", 3, {{1, 0, 0, 0.25}}, 1},
        {"-x+y-x", 3, {{-1, 1, 0, 0}}, 1},
        // A second segment overrides the first; a third is ignored.
        {"x,y,z;-x+1/2|y,z,x", 3, {{-1, 0, 0, 0.5}, {0, 1, 0, 0}, {0, 0, 1, 0}}, 1},
        {"x,y,z|x+1/2,y+1/2", 3, {{1, 0, 0, 0.5}, {0, 1, 0, 0.5}, {0, 0, 1, 0}}, 1},
        // The magnetic label from a fourth component, when four rows are read.
        {"-x,-y,z+1/2,-1", 4, {{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, 1, 0.5}}, -1},
        {"x,y,z,+1", 4, {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}, 1},
        {"x,y,z,-1", 3, {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}, 1},
        // Malformed text gives zeros, not faults.
        {"nonsense", 3, {}, 1},
        {"", 3, {}, 1},
        {";;,,||", 3, {}, 1},
        {"+-x++", 3, {{-1, 0, 0, 0}}, 1},
        {"1e-3", 3, {{0, 0, 0, -3}}, 1},                        // split at the exponent's sign
        {"x + 1/2", 3, {{1, 0, 0, 0}, {}, {0, 0, 0, 0.5}}, 1},  // a blank starts the next row
        {"-1/3", 3, {{0, 0, 0, -1.0 / 3}}, 1},                  // negative: left to the caller
    };
    const char* names[] = {"x", "y", "z", "q"};
    for (const auto& c : cases) {
        std::string text = c.text;
        Matrix4D W;
        W.SetFromString(&text[0], names, c.rows, false);
        for (int r = 0; r < 3; ++r)
            for (int j = 0; j < 4; ++j)
                EXPECT_NEAR(W(r, j), c.r[r][j], 1e-15) << "'" << c.text << "' (" << r << ", " << j << ")";
        EXPECT_EQ(W(3, 3), c.corner) << c.text;
        EXPECT_EQ(W(3, 0) + W(3, 1) + W(3, 2), 0.0) << c.text;
    }
    std::string infinite = "1/0";
    Matrix4D W;
    W.SetFromString(&infinite[0], names, 3, false);
    EXPECT_TRUE(std::isinf(W(0, 3)));
}

// Reduced to [0, 1), values within the tolerance of an integer becoming 0;
// twice the tolerance away from an integer a value stays.
TEST(Fractionalize, ReducesToUnitIntervalWithNearIntegersZero) {
    const double eps = 1.1920928955078125e-07;
    const double cases[][2] = {{-0.25, 0.75},     {-3.5, 0.5},
                               {1.0, 0.0},        {0.99999999, 0.0},
                               {-1e-9, 0.0},      {2.0 + 0.5 * eps, 0.0},
                               {0.9999, 0.9999},  {1.0 - 2 * eps, 1.0 - 2 * eps},
                               {2 * eps, 2 * eps}};
    for (const auto& c : cases) {
        double x = c[0];
        VectorD::Fractionalize(&x, 1);
        EXPECT_NEAR(x, c[1], 1e-16) << c[0];
    }
    double t[3] = {-0.5, 1.0, 2.75};
    VectorD::Fractionalize(t, 2);
    EXPECT_EQ(std::vector<double>(t, t + 3), (std::vector<double>{0.5, 0.0, 2.75}));  // beyond n untouched
}

// Rows of cctbx's uctbx.unit_cell(...).orthogonalization_matrix() for an
// oblique cell given in doubles, hence the tolerance; impossible angles give NaN.
TEST(CellMatrix, OrthogonalisationAsCctbx) {
    const float cell[6] = {5.1f, 7.3f, 9.7f, 78.5f, 101.2f, 115.9f};
    Matrix3D M;
    M.SetC2Ortho(cell);
    const double cctbx[9] = {
        5.1, -3.1886530550842278, -1.8840732068337278, 0, 6.566771786372815, 1.2349428170989316, 0,
        0,   9.4347858687829795};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(M(i, j), cctbx[3 * i + j], 2e-6) << "element (" << i << ", " << j << ")";
    const float impossible[6] = {5, 5, 5, 10, 10, 170};
    M.SetC2Ortho(impossible);
    EXPECT_TRUE(std::isnan(M(2, 2)));
}

// Compare tells the linear part from the translation, within 1e-6 of a cycle.
TEST(Operator, CompareTellsLinearPartFromTranslation) {
    const double fourFold[3][3] = {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}},
                 identity[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    Matrix4D W;
    W(0, 3) = 0.125;
    W.Initialize(fourFold);
    EXPECT_EQ(W(0, 3), 0.0);  // Initialize clears the translation
    W(0, 3) = 0.5, W(2, 3) = 0.25;
    EXPECT_EQ(W.Compare(W.m), 0);
    Matrix4D shifted(W);
    shifted(2, 3) += 0.9e-6;
    EXPECT_EQ(W.Compare(shifted.m), 0);
    shifted(2, 3) += 0.2e-6;
    EXPECT_EQ(W.Compare(shifted.m), 1);
    EXPECT_EQ(W.Compare(Matrix4D::E), 2);
    W.Initialize(identity);
    W(0, 3) = W(1, 3) = 0.5;
    EXPECT_EQ(W.Compare(Matrix4D::E), 1);
}

// Records its own destruction in a counter owned by the test.
class Tracked : public Object {
public:
    explicit Tracked(int* deaths, int id = 0) : id(id), deaths_(deaths) {}
    ~Tracked() override { ++*deaths_; }
    int id;

private:
    int* deaths_;
};

// An object dies with its last reference, whether two lists or one list twice
// hold it; removal closes the gap in order; append and assignment share
// objects, also with the list itself.
TEST(ObjVector, ObjectsDieWithTheirLastReference) {
    int deaths = 0;
    auto* shared = new Tracked(&deaths);
    {
        ObjVector<Tracked> first;
        first.add(shared);
        {
            ObjVector<Tracked> second;
            second.add(shared);
            second.add(shared);
            EXPECT_EQ(shared->refCount, 3);
            second.remove(0);
        }
        EXPECT_EQ(deaths, 0);
        EXPECT_EQ(shared->refCount, 1);
        for (int i = 1; i < 4; ++i) first.add(new Tracked(&deaths, i));
        first.remove(1);
        first.remove(2);  // the last entry
        EXPECT_EQ(deaths, 2);
        ASSERT_EQ(first.size(), 2);
        EXPECT_EQ(first[0], shared);
        EXPECT_EQ(first[1]->id, 2);

        ObjVector<Tracked> copy;
        copy.add(new Tracked(&deaths, 5));
        copy.append(first);
        ASSERT_EQ(copy.size(), 3);
        EXPECT_EQ(first.size(), 2);
        EXPECT_EQ(copy[1], shared);
        EXPECT_EQ(shared->refCount, 2);
        copy = first;  // copy's own object loses its only reference
        EXPECT_EQ(deaths, 3);
        EXPECT_EQ(shared->refCount, 2);
        auto& alias = copy;
        copy = alias;
        EXPECT_EQ(shared->refCount, 2);
        copy.append(copy);  // appending to itself must not read the array while it grows
        ASSERT_EQ(copy.size(), 4);
        EXPECT_EQ(copy[2], shared);
        EXPECT_EQ(shared->refCount, 3);
    }
    EXPECT_EQ(deaths, 5);
}

}  // namespace
