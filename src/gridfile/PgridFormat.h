// Layout of the binary density grid file (.pgrid): header, sizes and the prior's name.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// All values are 4 bytes, little-endian, without padding. The body follows at
// offset 152: with gridType 0 the values of each asymmetric-unit voxel; with
// gridType 1 first the operator block (count, 0, 1, count x 12 integers, an
// origin vector of three zeros), then per voxel an index and its values.
struct PgridHeader {
    int32_t version[4] = {3, 0, 0, 0};  // a non-zero version[3] counts reserved bytes at 16
    char title[80] = {};
    int32_t constant = 1;
    int32_t gridType = 0;  // 1: operator block and indexed voxels
    int32_t nChannel = 1;  // 2: a positive and a negative value per voxel
    int32_t dimension = 3;
    int32_t gridSize[3] = {0, 0, 0};
    int32_t nAsym = 0;   // voxels in the file
    float cell[6] = {};  // a, b, c, alpha, beta, gamma
};

// Reads a header and skips its reserved bytes. Fields beyond the end of a short
// file keep the values they had.
void ReadPgridHeader(FILE* f, PgridHeader& header);

// Skips the operator block of a gridType 1 file, stopping at the end of the file.
void SkipPgridOperators(FILE* f);

// Size in bytes of a file as this program writes it.
long PgridFileSize(int gridType, int valuesPerVoxel, int nSymOp, int nAsym);

// The prior density file that belongs to a grid file: the name up to its last
// '.', followed by "_prior.pgrid".
std::string PriorFileName(const std::string& gridFile);

// Index of a voxel in a gridType 1 file. The strides are those of a grid one
// larger than the analysis grid in every direction, as the format defines them.
inline int32_t PgridVoxelIndex(const int* gridSize, const int* xyz) {
    return ((gridSize[1] + 1) * xyz[2] + xyz[1]) * (gridSize[0] + 1) + xyz[0];
}
