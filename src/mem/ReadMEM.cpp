// Reader of the positional MEM data set format (.mem and .mep files).
//
// The file is a fixed sequence of logical lines without keywords: title,
// cell, a free line, symmetry and grid, F(000) and lambda, then three counted
// blocks (individual F, groups of overlapped reflections, listed-only
// reflections). Blank lines and '#' comments may stand anywhere. A field
// that does not scan leaves its target as it was, and a line with too few
// fields is dropped, so a hand-edited file never stops the reader (only a
// cell too large for any grid the program can index does); the
// counts then follow what was actually read, so that later stages never
// address a reflection that is not there.
#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstdio>
#include <vector>

#include "app/IO.h"
#include "app/TextLine.h"
#include "mem/MEMData3D.h"

namespace {

// Indices beyond this are typing errors; the bound keeps every later sum
// and negation of indices inside int.
const double kIndexLimit = 1 << 20;

// Indices are written as numbers; 1.5 rounds to 2 and -1.5 to -1.
int toIndex(double x) {
  if (!(std::fabs(x) <= kIndexLimit))
    x = x > 0 ? kIndexLimit : -kIndexLimit;
  return (int)std::floor(x + 0.5);
}

StructureFactor* newReflection(double h, double k, double l) {
  const int indices[3] = {toIndex(h), toIndex(k), toIndex(l)};
  return new StructureFactor(indices);
}

// A grid with voxels along every axis whose cell of points fits the int
// index of the Fourier library. The product is taken in double, where three
// ints cannot overflow and a value near INT_MAX is still exact.
bool usableGrid(const int* n) {
  return n[0] >= 1 && n[1] >= 1 && n[2] >= 1 && (double)n[0] * n[1] * n[2] <= INT_MAX;
}

double voxelVolumeOf(const UnitCell& uc, const int* n) {
  return uc.orthoMatrix.Determinant() / ((double)n[0] * n[1] * n[2]);
}

// The counts were taken from these lists, so each holds at least the values
// of its array; only the list of group magnitudes can hold more, when a group
// has more than one, and then the first ones are taken.
void copyValues(const std::vector<double>& src, double* dst, std::size_t n) {
  HV_ASSERT(src.size() >= n);
  std::copy(src.begin(), src.begin() + n, dst);
}

// One pass over a .mem file into the analysis. The values of the reflections
// are collected first, because the arrays of the analysis can only be sized
// once all counts are known.
class MemFileReader {
public:
  MemFileReader(MEMData3D& mem, FILE* f) : mem_(mem), f_(f) {}

  void readAll();
  bool storeValues();

private:
  void fetchLine();
  // The end of the file, or a read error, which ends it as well.
  bool atEnd() const { return std::feof(f_) || std::ferror(f_); }
  // At the end of the file every further fetch gives the same line again; a
  // block stops early when that line can yield nothing (blank or a comment).
  bool exhausted() const {
    if (!atEnd())
      return false;
    const char* p = line_;
    while (std::isspace((unsigned char)*p))
      ++p;
    return *p == '\0' || *p == '#';
  }

  void readTitle();
  void readCell();
  void readSymmetryAndGrid();
  void readMoments();
  void readIndividual();
  void readGroups();
  void readGroup();
  void readListed();

  MEMData3D& mem_;
  FILE* f_;
  char line_[120] = "";
  double lambda_ = 0.0;
  // The sigma of the most recent group member that carried one; a member
  // before any such line has no weight.
  double sigmaG_ = INFINITY;
  std::vector<double> FobsRe_, FobsIm_, weightF_, refWeight_, Gobs_, weightG_;
};

// Fetches the next logical line. A fetch that runs into the end of the file
// leaves what it read last, an empty line after a line end; once the end has
// been seen, the line stays as it was, so a last line without a line end is
// seen again by every later fetch.
void MemFileReader::fetchLine() {
  if (atEnd())
    return;
  SkipCommentLines(f_, line_);
}

// The logical lines in file order; reading stops at the end of the file, and
// whatever follows the last block is ignored.
void MemFileReader::readAll() {
  void (MemFileReader::*const lines[])() = {
      &MemFileReader::readTitle,      &MemFileReader::readCell,
      nullptr,  // free text, such as the space-group symbol
      &MemFileReader::readSymmetryAndGrid, &MemFileReader::readMoments,
      &MemFileReader::readIndividual, &MemFileReader::readGroups,
      &MemFileReader::readListed};
  for (auto read : lines) {
    fetchLine();
    if (read)
      (this->*read)();
    if (atEnd())
      return;
  }
}

void MemFileReader::readTitle() { std::snprintf(mem_.title, sizeof mem_.title, "%.79s", line_); }

void MemFileReader::readCell() {
  UnitCell& uc = mem_.unitCell;
  float* c = uc.cell;
  std::sscanf(line_, "%f%f%f%f%f%f", &c[0], &c[1], &c[2], &c[3], &c[4], &c[5]);
  uc.orthoMatrix.SetC2Ortho(uc.cell);
  uc.orthoInverse.Initialize(uc.orthoMatrix, 'I', 1.0);
}

void MemFileReader::readSymmetryAndGrid() {
  UnitCell& uc = mem_.unitCell;
  int* n = mem_.gridSize;
  int number = uc.spgNumber, setting = uc.spgSetting;
  std::sscanf(line_, "%d%d%d%d%d", &number, &setting, &n[0], &n[1], &n[2]);
  uc.setSpgNumber(number, setting);
  uc.createSymmetryOP();
  // Recomputed when the grid is left to be chosen from the resolution.
  mem_.voxelVolume = voxelVolumeOf(uc, n);
}

// F(000) and lambda; data with a negative scattering density give the sum of
// the negative scattering lengths between them.
void MemFileReader::readMoments() {
  double* moment = mem_.targetMoment;
  if (mem_.param.fileType == 3 || mem_.param.fileType == 8)
    std::sscanf(line_, "%lf%lf", &moment[0], &lambda_);
  else
    std::sscanf(line_, "%lf%lf%lf", &moment[0], &moment[1], &lambda_);
}

// h k l, Re F, Im F, sigma and an optional relative weight.
void MemFileReader::readIndividual() {
  int declared = 0;
  std::sscanf(line_, "%i", &declared);
  for (int i = 0; i < declared && !exhausted(); ++i) {
    fetchLine();
    double h, k, l, re, im, sigma, weight = 1.0;
    if (std::sscanf(line_, "%lf%lf%lf%lf%lf%lf%lf", &h, &k, &l, &re, &im, &sigma, &weight) < 6)
      continue;
    mem_.reflections.add(newReflection(h, k, l));
    FobsRe_.push_back(re);
    FobsIm_.push_back(im);
    weightF_.push_back(mem_.param.coefE / (sigma * sigma));
    refWeight_.push_back(std::fabs(weight));
  }
  mem_.nRefF = (int)FobsRe_.size();
}

void MemFileReader::readGroups() {
  int declared = 0;
  std::sscanf(line_, "%i", &declared);
  for (int g = 0; g < declared && !exhausted(); ++g)
    readGroup();
  mem_.nGroups = (int)mem_.groupSize.size();
}

// A count line, then the members: h k l, and on the first member G and sigma.
// Every member line with all five fields adds a magnitude to the list from
// which the groups take theirs in order, so a group should have exactly one.
// Only members that were read count, and a group without members is dropped;
// a group without any magnitude gets 0 with weight 0, so that it constrains
// nothing and the groups after it keep theirs.
void MemFileReader::readGroup() {
  fetchLine();
  int declared;
  if (std::sscanf(line_, "%d", &declared) != 1)
    return;
  const double coefE = mem_.param.coefE;
  int members = 0;
  bool haveG = false;
  double G = 0.0, sigma = 0.0;
  for (int m = 0; m < declared && !exhausted(); ++m) {
    fetchLine();
    double h, k, l;
    const int fields = std::sscanf(line_, "%lf%lf%lf%lf%lf", &h, &k, &l, &G, &sigma);
    if (fields < 3)
      continue;
    if (fields == 5)
      sigmaG_ = sigma;
    mem_.reflections.add(newReflection(h, k, l));
    mem_.groupMult.push_back(0);
    weightF_.push_back(coefE / (sigmaG_ * sigmaG_));
    refWeight_.push_back(1.0);
    if (fields == 5) {
      haveG = true;
      Gobs_.push_back(G);
      weightG_.push_back(coefE / (sigma * sigma));
    }
    ++members;
  }
  if (members == 0)
    return;
  mem_.groupSize.push_back(members);
  mem_.nRefG += members;
  if (!haveG) {
    Gobs_.push_back(0.0);
    weightG_.push_back(0.0);
  }
}

// h k l of reflections that are calculated for the report only.
void MemFileReader::readListed() {
  int declared = 0;
  std::sscanf(line_, "%i", &declared);
  for (int i = 0; i < declared && !exhausted(); ++i) {
    fetchLine();
    double h, k, l;
    if (std::sscanf(line_, "%lf%lf%lf", &h, &k, &l) != 3)
      continue;
    mem_.reflections.add(newReflection(h, k, l));
    mem_.refFobsRe.push_back(0.0);
    mem_.refFobsIm.push_back(0.0);
    mem_.refFobsSigma.push_back(0.0);
    ++mem_.nRefE;
  }
}

// Settles the multiplier and the grid, then fills the arrays of the analysis.
// False, with nothing allocated, when no usable grid can be had.
bool MemFileReader::storeValues() {
  MEMParam& param = mem_.param;
  if (lambda_ != 0.0)
    param.lambda = param.initialLambda = lambda_;
  // Any grid number below 1 is replaced, not only a product below 1: two
  // negative numbers give a positive product, and the grid must still have
  // voxels along every axis. So is a grid too large to index, a typing error
  // such as 100000 on each axis. The voxel volume then follows the grid
  // actually chosen, so that the density file holds densities, not zeros.
  int* n = mem_.gridSize;
  if (!usableGrid(n)) {
    mem_.unitCell.CalcGridNo(n, (float)param.gridResolution);
    if (!usableGrid(n)) {  // an absurd cell: even the chosen grid is too large
      IO::PrintError("The grid of %d x %d x %d voxels is too large.\n", n[0], n[1], n[2]);
      return false;
    }
    mem_.voxelVolume = voxelVolumeOf(mem_.unitCell, n);
  }

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

}  // namespace

bool MEMData3D::ReadMEM(const std::string& path) {
  nGroups = 0;
  FILE* f = IO::OpenInput(path);
  if (!f) {
    IO::Printf("Input file could not be opened.\n%s\n", path.c_str());
    IO::PrintError("Press Enter key to exit.\n");
    std::getchar();
    return false;
  }
  MemFileReader reader(*this, f);
  reader.readAll();
  std::fclose(f);
  return reader.storeValues();
}
