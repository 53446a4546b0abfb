// The header and sizes of the density grid file, shared by the engine and the map companion.
#include <algorithm>

#include "util/LittleEndian.h"
#include "gridfile/PgridFormat.h"

namespace {

constexpr long kHeaderBytes = 152;

// A value past the end of the file leaves its target as it was.
template <class T>
void Get(FILE* f, T& value) {
    fread_LE(&value, sizeof value, 1, f);
}

void SkipBytes(FILE* f, long count) {
    for (long i = 0; i < count && fgetc(f) != EOF; ++i) {}
}

void SkipInts(FILE* f, long long count) {
    int32_t scratch;
    for (long long i = 0; i < count && fread_LE(&scratch, 4, 1, f) == 1; ++i) {}
}

}  // namespace

void ReadPgridHeader(FILE* f, PgridHeader& h) {
    for (int32_t& word : h.version) Get(f, word);
    SkipBytes(f, h.version[3]);
    fread_LE(h.title, sizeof h.title, 1, f);
    Get(f, h.constant);
    Get(f, h.gridType);
    Get(f, h.nChannel);
    Get(f, h.dimension);
    for (int32_t& n : h.gridSize) Get(f, n);
    Get(f, h.nAsym);
    for (float& c : h.cell) Get(f, c);
}

void SkipPgridOperators(FILE* f) {
    int32_t nOps = 0, constant = 0, nOrigins = 0;
    Get(f, nOps);
    Get(f, constant);
    Get(f, nOrigins);
    SkipInts(f, 12LL * std::max(nOps, 0));
    SkipInts(f, 3LL * std::max(nOrigins, 0));
}

long PgridFileSize(int gridType, int valuesPerVoxel, int nSymOp, int nAsym) {
    long operators = gridType == 1 ? 12 + 48L * nSymOp + 12 : 0;
    long perVoxel = 4L * valuesPerVoxel + (gridType == 1 ? 4 : 0);
    return kHeaderBytes + operators + perVoxel * nAsym;
}

std::string PriorFileName(const std::string& gridFile) {
    return gridFile.substr(0, gridFile.rfind('.')) + "_prior.pgrid";
}
