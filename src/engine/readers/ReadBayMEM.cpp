// Reader of the keyword-driven .BayMEM data set format: grid, cell, symmetry and phased reflections.
//
// Each line is searched for the keywords in a fixed order and the first hit
// wins; a keyword is expected at the head of its line, since its value is
// scanned from a fixed position. Blank lines and '#' comments are skipped
// everywhere. Symmetry comes either as lattice translations ("centers") and
// operators ("symmetry"), every operator being repeated for every
// translation, or as a symbol ("spacegroup") when no operators are given.
#include "engine/readers/ReadBayMEM.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "util/FieldScan.h"
#include "util/IO.h"
#include "util/TextLine.h"
#include "numeric/VectorD.h"
#include "crystal/OperatorList.h"
#include "crystal/SpaceGroup.h"
#include "engine/MEMData3D.h"
#include "engine/readers/PositionalReader.h"

namespace {

const int kLineSize = 120;

// The value of a keyword line starts at a fixed position; a line that ends
// before it has no value.
const char* valueAt(const char* line, std::size_t position) {
    return line + std::min(position, std::strlen(line));
}

bool contains(const char* line, const char* word) { return std::strstr(line, word) != nullptr; }

std::string withoutBlanks(const char* text) {
    std::string compact;
    for (; *text; ++text)
        if (!std::isspace((unsigned char)*text)) compact += *text;
    return compact;
}

// A symbol is often written without blanks ("P42/mnm"), while the table
// separates its parts ("P 42/m n m"). The first tabulated symbol that is
// equal without blanks replaces the written one; an unknown symbol stays.
void spellAsTabulated(char* symbol) {
    const std::string compact = withoutBlanks(symbol);
    for (int n = 0; n < kSpaceGroupCount; ++n)
        for (const _SpaceGroup* setting : spaceGroup[n])
            if (withoutBlanks(setting->name) == compact) {
                std::strcpy(symbol, setting->name);
                return;
            }
}

class BayMemFileReader {
public:
    BayMemFileReader(MEMData3D& mem, FILE* f) : mem_(mem), f_(f) {}

    // False when the file declares a dimension other than 3.
    bool readAll();
    void settleSymmetry();
    bool storeValues();

private:
    bool fetch() { return getLineSkipBlank(line_, kLineSize, f_, "#") != nullptr; }
    void readCell();
    void readSymbol();
    void readCenters();
    void readSymmetry();
    void readReflections();

    MEMData3D& mem_;
    FILE* f_;
    char line_[kLineSize] = "";
    ObjVector<MatrixD> centers_, operators_;
    std::vector<double> FobsRe_, FobsIm_, weightF_;
};

bool BayMemFileReader::readAll() {
    int* n = mem_.gridSize;
    while (fetch()) {
        if (contains(line_, "title")) {
            ScanKeeping(valueAt(line_, 5), "%79s", mem_.title);
        } else if (contains(line_, "dimension")) {
            int dimension = 0;
            if (ScanFields(valueAt(line_, 9), "%d", &dimension) != 1 || dimension != 3) return false;
        } else if (contains(line_, "voxel")) {
            ScanKeeping(valueAt(line_, 5), "%d%d%d", &n[0], &n[1], &n[2]);
            // With the matrix of this moment: a cell given later does not correct it.
            mem_.voxelVolume = GridVoxelVolume(mem_);
        } else if (contains(line_, "cell")) {
            readCell();
        } else if (contains(line_, "spacegroup")) {
            readSymbol();
        } else if (contains(line_, "centers")) {
            readCenters();
        } else if (contains(line_, "symmetry")) {
            readSymmetry();
        } else if (contains(line_, "electrons")) {
            ScanKeeping(valueAt(line_, 9), "%lf", &mem_.targetMoment[0]);
        } else if (contains(line_, "fbegin")) {
            readReflections();
        }
    }
    return true;
}

void BayMemFileReader::readCell() {
    UnitCell& uc = mem_.unitCell;
    float* c = uc.cell;
    ScanKeeping(valueAt(line_, 5), "%f%f%f%f%f%f", &c[0], &c[1], &c[2], &c[3], &c[4], &c[5]);
    uc.orthoMatrix.SetC2Ortho(uc.cell);
    uc.orthoInverse.Initialize(uc.orthoMatrix, 'I', 1.0);
}

// The symbol is the rest of the line, with or without blanks between its parts.
void BayMemFileReader::readSymbol() {
    char* symbol = mem_.unitCell.spgName;
    const char* text = valueAt(line_, 10);
    while (std::isspace((unsigned char)*text)) ++text;
    std::snprintf(symbol, sizeof mem_.unitCell.spgName, "%s", text);
    std::size_t length = std::strlen(symbol);
    while (length > 0 && std::isspace((unsigned char)symbol[length - 1])) symbol[--length] = '\0';
    spellAsTabulated(symbol);
}

// Lattice translations, one a line; a line without three numbers ends the
// block and is consumed.
void BayMemFileReader::readCenters() {
    while (fetch() && !contains(line_, "endcenters")) {
        double t[3];
        if (ScanFields(line_, "%lf%lf%lf", &t[0], &t[1], &t[2]) != 3) return;
        Matrix4D* center = new Matrix4D;
        std::copy(t, t + 3, center->Translation());
        centers_.add(center);
    }
}

// Operators in the names x1, x2, x3, one a line.
void BayMemFileReader::readSymmetry() {
    static const char* names[] = {"x1", "x2", "x3"};
    while (fetch() && !contains(line_, "endsymmetry")) {
        Matrix4D* op = new Matrix4D;
        op->SetFromString(line_, names, 3, false);
        operators_.add(op);
    }
}

// h k l, Re F, Im F, sigma. The line of 0 0 0 gives F(000) instead.
void BayMemFileReader::readReflections() {
    while (fetch() && !contains(line_, "endf")) {
        int h, k, l;
        double re, im, sigma;
        if (ScanFields(line_, "%d%d%d%lf%lf%lf", &h, &k, &l, &re, &im, &sigma) < 6) continue;
        if (h == 0 && k == 0 && l == 0) {
            mem_.targetMoment[0] = re;
            continue;
        }
        const int indices[3] = {ReflectionIndex(h), ReflectionIndex(k), ReflectionIndex(l)};
        mem_.reflections.add(new StructureFactor(indices));
        FobsRe_.push_back(re);
        FobsIm_.push_back(im);
        weightF_.push_back(mem_.param.coefE / (sigma * sigma));
    }
}

// Every operator for every lattice translation, translation-major. Operators
// without any translation block are dropped, and the symbol decides. So is a
// product that is no symmetry operator (a translation of 1/0 or "nan", a
// rotation of a typing error): the voxel grid could not be mapped by it.
void BayMemFileReader::settleSymmetry() {
    UnitCell& uc = mem_.unitCell;
    uc.symOp.clear();
    for (MatrixD* center : centers_)
        for (MatrixD* op : operators_) {
            Matrix4D* product = new Matrix4D;
            product->GeMM(*center, *op, 'N', 'N', 1.0, 0.0);
            VectorD::Fractionalize(product->Translation(), 3);
            if (IsSymmetryOperator(*product))
                uc.symOp.add(product);
            else
                delete product;
        }
    if (uc.symOp.size() > 0) {
        // The list stays as the file gave it, also when it matches a setting.
        uc.setSpgFromSymmetryOP(uc.symOp);
    } else {
        uc.setSpgNameStandard(uc.spgName);
        uc.createSymmetryOP();
    }
}

bool BayMemFileReader::storeValues() {
    if (!SettleGrid(mem_)) return false;
    StoreIndividualValues(mem_, FobsRe_, FobsIm_, weightF_);
    return true;
}

}  // namespace

bool ReadBayMEM(MEMData3D& mem, const std::string& path) {
    IO::File f = OpenDataFile(path);
    if (!f) return false;
    BayMemFileReader reader(mem, f.get());
    const bool supported = reader.readAll();
    f.reset();
    if (!supported) {
        IO::PrintError("Dimension other than 3 is not supported.\nPress Enter key to exit.\n");
        std::getchar();
        return false;
    }
    reader.settleSymmetry();
    return reader.storeValues();
}
