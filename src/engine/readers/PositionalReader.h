// The shared scanner of the two positional data set formats, .mem (and .mep) and .fos.
#pragma once

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "util/IO.h"

class MEMData3D;

// Helpers of every data set reader.
//
// Opens a data file for reading; when it cannot be opened, says so and waits
// for a key, as every reader does, and gives null.
IO::File OpenDataFile(const std::string& path);
// An index as written in a file, rounded (1.5 to 2, -1.5 to -1) and bounded
// far beyond any real reflection, so that sums and negations of indices stay
// inside int.
int ReflectionIndex(double x);
// Chooses the grid from the cell and param.gridResolution when the file gave
// none with voxels along every axis, and then the voxel volume. False, with a
// message, when even that grid is too large to index: only an absurd cell
// does this.
bool SettleGrid(MEMData3D& mem);
// Cell volume over the voxels of the present grid, in cubic angstrom.
double GridVoxelVolume(const MEMData3D& mem);
// For formats of individual reflections only: sets nRefF from the values
// read, allocates the arrays of the analysis and fills them, every relative
// weight 1.
void StoreIndividualValues(MEMData3D& mem, const std::vector<double>& re, const std::vector<double>& im,
                           const std::vector<double>& weight);

// Both formats are a fixed sequence of logical lines without keywords: title,
// cell, a free line, symmetry and grid, F(000) and lambda, then three counted
// blocks (individual F, groups of overlapped reflections, listed-only
// reflections). A .fos file puts the grid before the space group, adds a line
// with the scale factor and its uncertainty, and gives counts and |F| from
// which the reader forms the weight itself.
//
// Blank lines and '#' comments may stand anywhere. A field that does not scan
// leaves its target as it was, and a line with too few fields is dropped, so
// a hand-edited file never stops the reader (only a cell too large for any
// grid the program can index does); the counts then follow what was actually
// read, so that later stages never address a reflection that is not there.
class PositionalReader {
public:
    enum class Layout { Mem, Fos };

    PositionalReader(MEMData3D& mem, FILE* f, Layout layout) : mem_(mem), f_(f), layout_(layout) {}

    // One pass over the file. The values of the reflections are collected
    // first, because the arrays of the analysis can only be sized once all
    // counts are known.
    void readAll();
    // Settles the multiplier and the grid, then fills the arrays of the
    // analysis. False, with nothing allocated, when no usable grid can be had.
    bool storeValues();

private:
    void fetchLine();
    // The end of the file, or a read error, which ends it as well.
    bool atEnd() const { return std::feof(f_) || std::ferror(f_); }
    bool exhausted() const;

    void readTitle();
    void readCell();
    void readSymmetryAndGrid();
    void readScale();
    void readMoments();
    void readIndividual();
    bool readMemLine();
    bool readFosLine();
    void readGroups();
    void readGroup();
    void readListed();

    MEMData3D& mem_;
    FILE* f_;
    const Layout layout_;
    char line_[120] = "";
    int endRepeats_ = 0;  // fetches after the end of the file
    double lambda_ = 0.0;
    // Relative variance of the scale factor of .fos data, sigma(k)^2 / k^2.
    double scaleVariance_ = 0.0;
    // The sigma of the most recent group member that carried one; a member
    // before any such line has no weight.
    double sigmaG_ = INFINITY;
    std::vector<double> FobsRe_, FobsIm_, weightF_, refWeight_, Gobs_, weightG_;
};
