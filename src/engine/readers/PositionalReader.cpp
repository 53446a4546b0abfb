// The shared scanner of the positional data set formats (.mem, .mep and .fos files).
#include "engine/readers/PositionalReader.h"

#include <algorithm>
#include <cctype>
#include <climits>

#include "util/FieldScan.h"
#include "util/IO.h"
#include "util/TextLine.h"
#include "engine/MEMData3D.h"

namespace {

// Indices beyond this are typing errors; the bound keeps every later sum
// and negation of indices inside int.
const double kIndexLimit = 1 << 20;

// A last line without a line end is taken again by every fetch after the end
// of the file. Counts scanned from such lines multiply (groups of members), so
// the repetition is cut off here, far beyond any file a person has written,
// before it grows into a hang.
const int kEndRepeats = 1000;

StructureFactor* newReflection(double h, double k, double l) {
    const int indices[3] = {ReflectionIndex(h), ReflectionIndex(k), ReflectionIndex(l)};
    return new StructureFactor(indices);
}

// A grid with voxels along every axis whose cell of points fits the int
// index of the Fourier library. The product is taken in double, where three
// ints cannot overflow and a value near INT_MAX is still exact.
bool usableGrid(const int* n) {
    return n[0] >= 1 && n[1] >= 1 && n[2] >= 1 && (double)n[0] * n[1] * n[2] <= INT_MAX;
}

// The counts were taken from these lists, so each holds at least the values
// of its array; only the list of group magnitudes can hold more, when a group
// has more than one, and then the first ones are taken.
void copyValues(const std::vector<double>& src, double* dst, std::size_t n) {
    HV_ASSERT(src.size() >= n);
    std::copy(src.begin(), src.begin() + n, dst);
}

}  // namespace

int ReflectionIndex(double x) {
    if (!(std::fabs(x) <= kIndexLimit)) x = x > 0 ? kIndexLimit : -kIndexLimit;
    return (int)std::floor(x + 0.5);
}

double GridVoxelVolume(const MEMData3D& mem) {
    const int* n = mem.gridSize;
    return mem.unitCell.orthoMatrix.Determinant() / ((double)n[0] * n[1] * n[2]);
}

// Any grid number below 1 is replaced, not only a product below 1: two
// negative numbers give a positive product, and the grid must still have
// voxels along every axis. So is a grid too large to index, a typing error
// such as 100000 on each axis. A grid that is replaced gets its own voxel
// volume, so that the density file holds densities.
bool SettleGrid(MEMData3D& mem) {
    int* n = mem.gridSize;
    if (usableGrid(n)) return true;
    mem.unitCell.CalcGridNo(n, (float)mem.param.gridResolution);
    if (!usableGrid(n)) {
        IO::PrintError("The grid of %d x %d x %d voxels is too large.\n", n[0], n[1], n[2]);
        return false;
    }
    mem.voxelVolume = GridVoxelVolume(mem);
    return true;
}

void StoreIndividualValues(MEMData3D& mem, const std::vector<double>& re, const std::vector<double>& im,
                           const std::vector<double>& weight) {
    mem.nRefF = (int)re.size();
    mem.AllocateMemory();
    std::copy(re.begin(), re.end(), mem.FobsRe);
    std::copy(im.begin(), im.end(), mem.FobsIm);
    std::copy(weight.begin(), weight.end(), mem.weightF);
    std::fill(mem.refWeight, mem.refWeight + mem.nRefF, 1.0);
}

IO::File OpenDataFile(const std::string& path) {
    IO::File f = IO::OpenInput(path);
    if (!f) {
        IO::Printf("Input file could not be opened.\n%s\n", path.c_str());
        IO::PrintError("Press Enter key to exit.\n");
        std::getchar();
    }
    return f;
}

// Fetches the next logical line. A fetch that runs into the end of the file
// leaves what it read last, an empty line after a line end; once the end has
// been seen, the line stays as it was, so a last line without a line end is
// seen again by every later fetch.
void PositionalReader::fetchLine() {
    if (atEnd()) {
        ++endRepeats_;
        return;
    }
    SkipCommentLines(f_, line_);
}

// At the end of the file every further fetch gives the same line again; a
// block stops early when that line can yield nothing (blank or a comment), or
// once it has been repeated kEndRepeats times.
bool PositionalReader::exhausted() const {
    if (!atEnd()) return false;
    if (endRepeats_ >= kEndRepeats) return true;
    const char* p = line_;
    while (std::isspace((unsigned char)*p)) ++p;
    return *p == '\0' || *p == '#';
}

// The logical lines in file order; reading stops at the end of the file, and
// whatever follows the last block is ignored.
void PositionalReader::readAll() {
    using Step = void (PositionalReader::*)();
    const Step memLines[] = {&PositionalReader::readTitle,
                             &PositionalReader::readCell,
                             nullptr,  // free text, such as the space-group symbol
                             &PositionalReader::readSymmetryAndGrid,
                             &PositionalReader::readMoments,
                             &PositionalReader::readIndividual,
                             &PositionalReader::readGroups,
                             &PositionalReader::readListed};
    const Step fosLines[] = {
        &PositionalReader::readTitle,           &PositionalReader::readCell,   nullptr,
        &PositionalReader::readSymmetryAndGrid, &PositionalReader::readScale,  &PositionalReader::readMoments,
        &PositionalReader::readIndividual,      &PositionalReader::readGroups, &PositionalReader::readListed};
    const Step* lines = layout_ == Layout::Fos ? fosLines : memLines;
    const int count = layout_ == Layout::Fos ? 9 : 8;
    for (int i = 0; i < count; ++i) {
        fetchLine();
        if (lines[i]) (this->*lines[i])();
        if (atEnd()) return;
    }
}

void PositionalReader::readTitle() { std::snprintf(mem_.title, sizeof mem_.title, "%.79s", line_); }

void PositionalReader::readCell() {
    UnitCell& uc = mem_.unitCell;
    float* c = uc.cell;
    ScanKeeping(line_, "%f%f%f%f%f%f", &c[0], &c[1], &c[2], &c[3], &c[4], &c[5]);
    uc.orthoMatrix.SetC2Ortho(uc.cell);
    uc.orthoInverse.Initialize(uc.orthoMatrix, 'I', 1.0);
}

// .mem: space-group number, setting, grid; .fos: grid, space-group number,
// setting and a one-letter word that is not used.
void PositionalReader::readSymmetryAndGrid() {
    UnitCell& uc = mem_.unitCell;
    int* n = mem_.gridSize;
    int number = uc.spgNumber, setting = uc.spgSetting;
    if (layout_ == Layout::Fos) {
        char word[2];
        ScanKeeping(line_, "%d%d%d%d%d%1s", &n[0], &n[1], &n[2], &number, &setting, word);
    } else {
        ScanKeeping(line_, "%d%d%d%d%d", &number, &setting, &n[0], &n[1], &n[2]);
    }
    uc.setSpgNumber(number, setting);
    uc.createSymmetryOP();
    // Infinite for a grid left to be chosen later; it is not computed again.
    mem_.voxelVolume = GridVoxelVolume(mem_);
}

// The scale factor k of .fos data and its standard uncertainty; only their
// ratio enters the weights. Taken in single precision, as the file gives them.
void PositionalReader::readScale() {
    float k = 1.0f, sigmaK = 0.0f;
    ScanKeeping(line_, "%f%f", &k, &sigmaK);
    scaleVariance_ = sigmaK * sigmaK / (k * k);
}

// F(000) and lambda; data with a negative scattering density, and every .fos
// file, give the sum of the negative scattering lengths between them.
void PositionalReader::readMoments() {
    double* moment = mem_.targetMoment;
    const int type = mem_.param.fileType;
    if (layout_ == Layout::Mem && (type == 3 || type == 8))
        ScanKeeping(line_, "%lf%lf", &moment[0], &lambda_);
    else
        ScanKeeping(line_, "%lf%lf%lf", &moment[0], &moment[1], &lambda_);
}

void PositionalReader::readIndividual() {
    int declared = 0;
    ScanKeeping(line_, "%i", &declared);
    for (int i = 0; i < declared && !exhausted(); ++i) {
        fetchLine();
        if (layout_ == Layout::Fos)
            readFosLine();
        else
            readMemLine();
    }
    mem_.nRefF = (int)FobsRe_.size();
}

// h k l, Re F, Im F, sigma and an optional relative weight.
bool PositionalReader::readMemLine() {
    double h, k, l, re, im, sigma, weight = 1.0;
    if (ScanFields(line_, "%lf%lf%lf%lf%lf%lf%lf", &h, &k, &l, &re, &im, &sigma, &weight) < 6) return false;
    mem_.reflections.add(newReflection(h, k, l));
    FobsRe_.push_back(re);
    FobsIm_.push_back(im);
    weightF_.push_back(mem_.param.coefE / (sigma * sigma));
    refWeight_.push_back(std::fabs(weight));
    return true;
}

// h k l, Re F, Im F, |F|, the intensity Io in counts and an optional relative
// weight, kept with its sign. sigma(F) follows from counting statistics and
// the uncertainty of the scale: sigma^2(I) / I^2 = 1 / (Io E) + q, and
// sigma^2(F) = F^2 / 4 times that.
bool PositionalReader::readFosLine() {
    double h, k, l;
    float re, im, modulus, Io, weight = 1.0f;
    if (ScanFields(line_, "%lf%lf%lf%f%f%f%f%f", &h, &k, &l, &re, &im, &modulus, &Io, &weight) < 7)
        return false;
    StructureFactor* sf = newReflection(h, k, l);
    mem_.reflections.add(sf);
    FobsRe_.push_back(re);
    FobsIm_.push_back(im);
    const double counts = Io * (float)mem_.param.coefE;
    weightF_.push_back(1.0 / (0.25 * modulus * modulus * (1.0 / counts + scaleVariance_)));
    refWeight_.push_back(weight);
    // NaN fails the test as well.
    if (!(Io > 1e-16)) {
        const int* hkl = sf->hkl.item(0);
        IO::Printf("Caution! Io is too small (< 1.0e-16). Io(%2d %2d %2d)=%E\n", hkl[0], hkl[1], hkl[2], Io);
    }
    return true;
}

void PositionalReader::readGroups() {
    int declared = 0;
    ScanKeeping(line_, "%i", &declared);
    for (int g = 0; g < declared && !exhausted(); ++g) readGroup();
    mem_.nGroups = (int)mem_.groupSize.size();
}

// A count line, then the members: h k l, and on the first member G and sigma.
// Every member line with all five fields adds a magnitude to the list from
// which the groups take theirs in order, so a group should have exactly one.
// Only members that were read count, and a group without members is dropped;
// a group without any magnitude gets 0 with weight 0, so that it constrains
// nothing and the groups after it keep theirs.
//
// The weight is E / sigma^2 for .mem data; .fos data give sigma(G) on the
// final scale and take 1 / sigma^2, formed in single precision.
void PositionalReader::readGroup() {
    fetchLine();
    int declared;
    if (ScanFields(line_, "%d", &declared) != 1) return;
    const bool fos = layout_ == Layout::Fos;
    auto weightOf = [&](double sigma) {
        return fos ? (double)(1.0f / (float)(sigma * sigma)) : mem_.param.coefE / (sigma * sigma);
    };
    int members = 0;
    bool haveG = false;
    for (int m = 0; m < declared && !exhausted(); ++m) {
        fetchLine();
        double h, k, l, G = 0.0, sigma = 0.0;
        int fields;
        if (fos) {
            float g = 0.0f, s = 0.0f;
            fields = ScanFields(line_, "%lf%lf%lf%f%f", &h, &k, &l, &g, &s);
            G = g;
            sigma = s;
        } else {
            fields = ScanFields(line_, "%lf%lf%lf%lf%lf", &h, &k, &l, &G, &sigma);
        }
        if (fields < 3) continue;
        if (fields == 5) sigmaG_ = sigma;
        mem_.reflections.add(newReflection(h, k, l));
        mem_.groupMult.push_back(0);
        weightF_.push_back(weightOf(sigmaG_));
        refWeight_.push_back(1.0);
        if (fields == 5) {
            haveG = true;
            Gobs_.push_back(G);
            weightG_.push_back(weightOf(sigma));
        }
        ++members;
    }
    if (members == 0) return;
    mem_.groupSize.push_back(members);
    mem_.nRefG += members;
    if (!haveG) {
        Gobs_.push_back(0.0);
        weightG_.push_back(0.0);
    }
}

// h k l of reflections that are calculated for the report only.
void PositionalReader::readListed() {
    int declared = 0;
    ScanKeeping(line_, "%i", &declared);
    for (int i = 0; i < declared && !exhausted(); ++i) {
        fetchLine();
        double h, k, l;
        if (ScanFields(line_, "%lf%lf%lf", &h, &k, &l) != 3) continue;
        mem_.reflections.add(newReflection(h, k, l));
        mem_.refFobsRe.push_back(0.0);
        mem_.refFobsIm.push_back(0.0);
        mem_.refFobsSigma.push_back(0.0);
        ++mem_.nRefE;
    }
}

bool PositionalReader::storeValues() {
    MEMParam& param = mem_.param;
    if (lambda_ != 0.0) param.lambda = param.initialLambda = lambda_;
    if (!SettleGrid(mem_)) return false;

    mem_.AllocateMemory();
    const std::size_t nConstrained = (std::size_t)mem_.nRefF + mem_.nRefG;
    copyValues(FobsRe_, mem_.FobsRe, mem_.nRefF);
    copyValues(FobsIm_, mem_.FobsIm, mem_.nRefF);
    copyValues(weightF_, mem_.weightF, nConstrained);
    copyValues(refWeight_, mem_.refWeight, nConstrained);
    if (mem_.nGroups > 0) {
        copyValues(Gobs_, mem_.Gobs, mem_.nGroups);
        copyValues(weightG_, mem_.weightG, mem_.nGroups);
    }
    return true;
}
