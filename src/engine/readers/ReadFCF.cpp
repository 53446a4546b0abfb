// Reader of the CIF reflection files (.fcf) that structure refinement programs write.
//
// This is a line scanner, not a CIF parser: it looks for a fixed set of words
// by substring search. It takes the cell, F(000), the operator loop of the
// symmetry, and one or more reflection loops that give the measured magnitude
// (as F or as F squared, each with its su) and the calculated structure factor
// (as A and B or as |Fc| and its phase). The measured magnitude is combined
// with the calculated phase of the refinement. Reflections weaker than three
// su constrain nothing and are only listed. The file has no voxel grid, so the
// grid comes from the resolution of the settings.
//
// When unobserved reflections are estimated the analysis is a Patterson
// function: every row feeds F squared as a real datum, whatever its columns
// (F squared as it stands, or F squared from F with su 2 |F| su(F)), no
// phase is needed, and the total is F(000) squared (the file's F(000) is
// squared; the total of an Alb control file stands as it is).
#include "engine/readers/ReadFCF.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "util/FieldScan.h"
#include "util/IO.h"
#include "util/StrToken.h"
#include "util/TextLine.h"
#include "numeric/VectorD.h"
#include "crystal/OperatorList.h"
#include "engine/MEMData3D.h"
#include "engine/readers/PositionalReader.h"

namespace {

const int kLineSize = 150;
const double kSqrt2 = 1.4142135623730951;
const double kDegree = 3.141592653589793 / 180.0;

// The reflection columns the reader knows, in the order their tags are tested.
enum Column { kH, kK, kL, kFo, kSigma, kA, kB, kFoSquared, kSigmaSquared, kFc, kPhase, kColumns };
const char* const kTags[kColumns] = {"_refln_index_h", "_refln_index_k",        "_refln_index_l",
                                     "_refln_F_meas",  "_refln_F_sigma",        "_refln_A_calc",
                                     "_refln_B_calc",  "_refln_F_squared_meas", "_refln_F_squared_sigma",
                                     "_refln_F_calc",  "_refln_phase_calc"};
const int keycode[kColumns] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};

// A row needs this many tokens to give a reflection: fewer cannot hold the
// indices, a magnitude, its su and a calculated structure factor.
const int kMinRowTokens = 7;

// Indices beyond this are typing errors; the bound keeps every later sum and
// negation of indices inside int.
const int kIndexLimit = 1 << 20;

int boundedIndex(int i) { return i > kIndexLimit ? kIndexLimit : (i < -kIndexLimit ? -kIndexLimit : i); }

// A value is read that many characters after the start of its tag; a line
// that ends earlier gives an empty value instead of a read past its end.
const char* valueAfter(const char* tag, std::size_t offset) {
    const std::size_t length = std::strlen(tag);
    return tag + (offset < length ? offset : length);
}

const char* firstNonBlank(const char* s) {
    while (std::isspace(static_cast<unsigned char>(*s))) ++s;
    return s;
}

// One pass over a .fcf file into the analysis.
class FcfScanner {
public:
    FcfScanner(MEMData3D& mem, FILE* f) : mem_(mem), f_(f) {}

    void scanAll();
    bool storeValues();

private:
    bool fetch();
    bool actOnLine();
    bool readScalar();
    bool readLoop();
    bool readSymmetryLoop();
    void readOperators(bool withId);
    void readReflectionLoop();
    void readTags();
    void readRow();
    void takeToken(int c, const char* token);
    void takeMagnitude(int c, const char* token);
    void takeSquared(int c, const char* token);
    void classify();

    MEMData3D& mem_;
    FILE* f_;
    char line_[kLineSize] = "";
    bool ended_ = false;
    bool f000Read_ = false;  // false: the totals are those of an Alb control file, if any
    // The three words of the current line; the third is kept from an earlier
    // line when the current one has fewer than three.
    char w1_[15] = "", w2_[35] = "", w3_[35] = "";
    int column_[kColumns];
    // Values of a row; a column that a row does not reach keeps the value of
    // an earlier row.
    int h_ = 0, k_ = 0, l_ = 0;
    double Fo_ = 0.0, sigma_ = 0.0, A_ = 0.0, B_ = 0.0, Fc_ = 0.0;
    double modulus_ = 0.0;  // |F| of an F column, for the su of its square
    std::vector<double> FobsRe_, FobsIm_, weightF_;
    ObjVector<StructureFactor> weak_;
};

// The next line with something other than blanks that is not a '#' comment.
// False at the end of the file, with the line emptied. A last line without a
// line end is delivered, but the end of the file is seen at once.
bool FcfScanner::fetch() {
    if (!getLineSkipBlank(line_, kLineSize, f_, "#")) {
        line_[0] = '\0';
        ended_ = true;
        return false;
    }
    ended_ = std::feof(f_) || std::ferror(f_);
    return true;
}

void FcfScanner::scanAll() {
    std::copy(keycode, keycode + kColumns, column_);
    fetch();
    while (!ended_) {
        w1_[0] = w2_[0] = '\0';
        ScanKeeping(line_, "%14s %34s %34s", w1_, w2_, w3_);
        if (actOnLine()) fetch();
    }
}

// Whether the main loop goes on with the next line; a symmetry loop hands
// back the line that ended it.
bool FcfScanner::actOnLine() {
    if (readScalar()) return true;
    if (std::strstr(line_, "loop_")) return readLoop();
    return true;  // data_ lines and everything else
}

// F(000) and the cell; a later value replaces an earlier one, so several
// data blocks merge into one data set.
bool FcfScanner::readScalar() {
    struct CellItem {
        const char* tag;
        std::size_t offset;
    };
    static const CellItem kCell[6] = {{"_cell_length_a", 15},   {"_cell_length_b", 15},
                                      {"_cell_length_c", 15},   {"_cell_angle_alpha", 18},
                                      {"_cell_angle_beta", 17}, {"_cell_angle_gamma", 18}};
    if (const char* p = std::strstr(line_, "_exptl_crystal_F_000")) {
        ScanKeeping(valueAfter(p, 20), "%lf%lf", &mem_.targetMoment[0], &mem_.targetMoment[1]);
        f000Read_ = true;
        return true;
    }
    UnitCell& uc = mem_.unitCell;
    for (int i = 0; i < 6; ++i)
        if (const char* p = std::strstr(line_, kCell[i].tag)) {
            getValueAndEsd(valueAfter(p, kCell[i].offset), uc.cell[i], uc.cellEsd[i]);
            return true;
        }
    return false;
}

// The first tag stands on the loop_ line or on the next one. A loop whose
// tags name symmetry operators is the symmetry loop; any other loop is read
// as reflections.
bool FcfScanner::readLoop() {
    if (w2_[0] != '_') {
        w2_[0] = '\0';
        if (!fetch()) return true;
        ScanKeeping(line_, "%29s", w2_);
    }
    if (std::strstr(line_, "_symmetry_equiv_pos") || std::strstr(line_, "_space_group_symop"))
        return readSymmetryLoop();
    readReflectionLoop();
    return true;
}

bool FcfScanner::readSymmetryLoop() {
    bool withId = false;
    if (std::strstr(line_, "_symmetry_equiv_pos_site_id") || std::strstr(line_, "_space_group_symop_id")) {
        withId = true;
        // The operator tag stands on the line of the id tag or on the next one.
        if (w3_[0] != '_' && !fetch()) return true;
    }
    if (!std::strstr(line_, "_symmetry_equiv_pos_as_xyz") &&
        !std::strstr(line_, "_space_group_symop_operation_xyz"))
        return true;
    readOperators(withId);
    return false;
}

// Operator rows up to the first line with an underscore, which the main loop
// then reads: the next tag, loop_ or data_ line.
void FcfScanner::readOperators(bool withId) {
    ObjVector<MatrixD> ops;
    while (fetch() && !std::strchr(line_, '_')) {
        char* text = line_;
        if (withId) {
            int id;
            if (ScanFields(line_, "%d", &id) != 1) break;
            char* digit = std::strpbrk(line_, "0123456789");
            text = digit + std::strcspn(digit, " \t,");
        }
        Up2Lo(text);
        Matrix4D* op = new Matrix4D;
        UnitCell::convertXYZ2Matrix_Q4(text, *op);
        VectorD::Fractionalize(op->Translation(), 3);
        if (IsSymmetryOperator(*op))
            ops.add(op);
        else
            delete op;
    }
    if (ops.size() == 0) return;  // no operator could be read: the symmetry stays as it was
    UnitCell& uc = mem_.unitCell;
    if (uc.setSpgFromSymmetryOP(ops) == 0)
        PutIdentityFirst(uc.symOp);  // the voxel grid takes the first operator as the identity
}

void FcfScanner::readReflectionLoop() {
    std::copy(keycode, keycode + kColumns, column_);
    readTags();
    // The rows run up to the next loop, data block, tag or text field.
    while (!std::strstr(line_, "loop_") && !std::strstr(line_, "data_")) {
        const char first = *firstNonBlank(line_);
        if (first == '_' || first == ';') break;
        readRow();
        if (!fetch()) return;
    }
}

// Numbers the tag lines from 0; a tag the reader does not know still takes
// up its column.
void FcfScanner::readTags() {
    for (int c = 0; w2_[0] == '_'; ++c) {
        for (int i = 0; i < kColumns; ++i)
            if (std::strstr(w2_, kTags[i])) column_[i] = c;
        w2_[0] = '\0';
        if (!fetch()) return;
        ScanKeeping(line_, "%29s", w2_);
    }
}

void FcfScanner::readRow() {
    StrToken tokens(line_, " ,\t\n");
    int c = 0;
    for (char* token = tokens.nextToken(); token; token = tokens.nextToken(), ++c) takeToken(c, token);
    // A loop without indices is of other content, such as atom sites.
    const bool indexed = column_[kH] >= 0 && column_[kK] >= 0 && column_[kL] >= 0;
    if (c >= kMinRowTokens && indexed) classify();
}

// The transformations rest on the column order that the files have: the
// magnitude before its su, the su before Fc, and Fc before the phase.
void FcfScanner::takeToken(int c, const char* token) {
    if (c == column_[kH]) ScanKeeping(token, "%d", &h_);
    if (c == column_[kK]) ScanKeeping(token, "%d", &k_);
    if (c == column_[kL]) ScanKeeping(token, "%d", &l_);
    if (mem_.param.estimateUnobserved)
        takeSquared(c, token);
    else
        takeMagnitude(c, token);
    if (c == column_[kA]) ScanKeeping(token, "%lf", &A_);
    if (c == column_[kB]) ScanKeeping(token, "%lf", &B_);
    if (c == column_[kPhase]) {
        ScanKeeping(token, "%lf", &B_);
        const double t = B_ * kDegree;
        A_ = Fc_ * std::cos(t);
        B_ = Fc_ * std::sin(t);
    }
}

// |F| and its su, from either kind of column. The factor sqrt(2) in place of
// 2 in the su of a magnitude from its square is kept as the established weight.
void FcfScanner::takeMagnitude(int c, const char* token) {
    if (c == column_[kFo]) ScanKeeping(token, "%lf", &Fo_);
    if (c == column_[kSigma]) ScanKeeping(token, "%lf", &sigma_);
    if (c == column_[kFoSquared]) {
        ScanKeeping(token, "%lf", &Fo_);
        Fo_ = Fo_ > 0.0 ? std::sqrt(Fo_) : 0.0;
    }
    if (c == column_[kSigmaSquared]) {
        ScanKeeping(token, "%lf", &sigma_);
        if (Fo_ > 0.0) sigma_ /= Fo_ * kSqrt2;
    }
    if (c == column_[kFc]) {
        ScanKeeping(token, "%lf", &Fc_);
        if (Fo_ == 0.0) sigma_ /= Fc_ * kSqrt2;
    }
}

// F squared and its su, from either kind of column; a negative measured
// square stays as it was measured, and makes its row weak. No phase is needed.
void FcfScanner::takeSquared(int c, const char* token) {
    if (c == column_[kFo]) {
        ScanKeeping(token, "%lf", &modulus_);
        modulus_ = std::fabs(modulus_);
        Fo_ = modulus_ * modulus_;
    }
    if (c == column_[kSigma]) {
        ScanKeeping(token, "%lf", &sigma_);
        sigma_ *= 2.0 * modulus_;
    }
    if (c == column_[kFoSquared]) ScanKeeping(token, "%lf", &Fo_);
    if (c == column_[kSigmaSquared]) ScanKeeping(token, "%lf", &sigma_);
}

// Observed reflections constrain the density with the measured magnitude in
// the calculated direction; weak ones (below three su) are only listed, with
// their su itself.
void FcfScanner::classify() {
    const int indices[3] = {boundedIndex(h_), boundedIndex(k_), boundedIndex(l_)};
    StructureFactor* reflection = new StructureFactor(indices);
    // A Patterson datum is real; otherwise the magnitude takes the calculated direction.
    const bool real = mem_.param.estimateUnobserved != 0;
    const double m = std::sqrt(A_ * A_ + B_ * B_);
    const double re = real ? Fo_ : A_ * Fo_ / m, im = real ? 0.0 : B_ * Fo_ / m;
    if (3.0 * sigma_ > Fo_) {
        weak_.add(reflection);
        mem_.refFobsRe.push_back(re);
        mem_.refFobsIm.push_back(im);
        mem_.refFobsSigma.push_back(sigma_);
        return;
    }
    mem_.reflections.add(reflection);
    FobsRe_.push_back(re);
    FobsIm_.push_back(im);
    weightF_.push_back(mem_.param.coefE / (sigma_ * sigma_));
}

// Settles the cell, the symmetry and the grid, then fills the arrays of the
// analysis. False, with nothing allocated, when the file gives no F(000) or
// the cell is too large for a grid.
bool FcfScanner::storeValues() {
    const double* moment = mem_.targetMoment;
    if (!std::isfinite(moment[0]) || !std::isfinite(moment[1]) || (moment[0] == 0.0 && moment[1] == 0.0)) {
        // Several refinement programs leave the item out; without it the
        // density would have nothing to hold.
        IO::PrintError(
            "The file gives no F(000) (_exptl_crystal_F_000), the number of electrons\n"
            "in the unit cell. Add it as a line of its own, for example\n"
            "_exptl_crystal_F_000 76\n"
            "with the sum of the atomic numbers of all atoms in the cell.\n");
        return false;
    }
    if (mem_.param.estimateUnobserved && f000Read_) {
        // The Patterson function of a density integrates to its charge squared;
        // a control file states that total itself.
        mem_.targetMoment[0] = (moment[0] + moment[1]) * (moment[0] + moment[1]);
        mem_.targetMoment[1] = 0.0;
    }
    UnitCell& uc = mem_.unitCell;
    uc.orthoMatrix.SetC2Ortho(uc.cell);
    uc.orthoInverse.Initialize(uc.orthoMatrix, 'I', 1.0);
    uc.createSymmetryOP();
    // The file has no grid: it follows the resolution, unless the Alb control
    // file that named it gave one.
    if (mem_.param.estimateUnobserved)
        mem_.voxelVolume = GridVoxelVolume(mem_);
    else
        mem_.gridSize[0] = mem_.gridSize[1] = mem_.gridSize[2] = 0;
    if (!SettleGrid(mem_)) return false;
    mem_.nRefE = weak_.size();
    mem_.reflections.append(weak_);
    StoreIndividualValues(mem_, FobsRe_, FobsIm_, weightF_);
    return true;
}

}  // namespace

bool ReadFCF(MEMData3D& mem, const std::string& path) {
    mem.nGroups = 0;
    const IO::File f = OpenDataFile(path);
    if (!f) return false;
    FcfScanner scanner(mem, f.get());
    scanner.scanAll();
    return scanner.storeValues();
}
