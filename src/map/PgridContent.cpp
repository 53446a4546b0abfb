// Reading a density grid file with every size checked before it is used.
#include "map/PgridContent.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "map/MapError.h"

namespace {

// Larger numbers than these come from a damaged or foreign file, and are
// refused before they decide the size of an allocation.
constexpr int32_t kMaxGridSide = 4096;
constexpr long long kMaxCellPoints = 1LL << 30;
constexpr int32_t kMaxOperators = 1024;
constexpr int32_t kMaxReservedBytes = 1 << 20;

using FilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

long FileSize(FILE* f) {
    if (fseek(f, 0, SEEK_END) != 0) return -1;
    const long size = ftell(f);
    rewind(f);
    return size;
}

template <class T>
void ReadArray(FILE* f, std::vector<T>& out, size_t count) {
    out.resize(count);
    if (count > 0 && fread(out.data(), sizeof(T), count, f) != count) throw MapError("file is truncated");
}

// The fields that identify the format and bound the sizes; everything after
// them is checked against the file's length.
void CheckHeader(const PgridHeader& h) {
    if (h.version[0] != 3 || h.constant != 1 || h.dimension != 3)
        throw MapError("not a .pgrid density grid file");
    if (h.gridType != 0 && h.gridType != 1) throw MapError("unknown grid type " + std::to_string(h.gridType));
    if (h.nChannel != 1 && h.nChannel != 2)
        throw MapError("unknown channel count " + std::to_string(h.nChannel));
    long long points = 1;
    for (int32_t n : h.gridSize) {
        if (n < 1 || n > kMaxGridSide) throw MapError("grid size " + std::to_string(n) + " out of range");
        points *= n;
    }
    if (points > kMaxCellPoints) throw MapError("grid too large");
    if (h.nAsym < 1 || h.nAsym > points)
        throw MapError("voxel count " + std::to_string(h.nAsym) + " does not fit the grid");
    for (int i = 0; i < 3; ++i)
        if (!(h.cell[i] > 0.0f && h.cell[i] < 1e4f) || !(h.cell[i + 3] > 0.0f && h.cell[i + 3] < 180.0f))
            throw MapError("cell constants out of range");
}

void CheckLength(long actual, long expected) {
    if (actual < expected)
        throw MapError("file is truncated (" + std::to_string(actual) + " of " + std::to_string(expected) +
                       " bytes)");
    if (actual > expected)
        throw MapError("file has " + std::to_string(actual - expected) +
                       " bytes more than its header declares");
}

}  // namespace

PgridContent ReadPgridContent(const std::string& path) {
    FilePtr file(fopen(path.c_str(), "rb"), fclose);
    if (!file) throw MapError(std::string("cannot open: ") + strerror(errno));
    FILE* f = file.get();
    const long size = FileSize(f);
    if (size < 16) throw MapError("not a .pgrid density grid file");

    PgridContent c;
    PgridHeader& h = c.header;
    if (fread(h.version, sizeof h.version, 1, f) != 1 || h.version[0] != 3)
        throw MapError("not a .pgrid density grid file");
    if (h.version[3] < 0 || h.version[3] > kMaxReservedBytes)
        throw MapError("not a .pgrid density grid file");
    rewind(f);
    ReadPgridHeader(f, h);
    if (feof(f)) throw MapError("file is truncated (" + std::to_string(size) + " bytes)");
    CheckHeader(h);

    int32_t nOps = 0;
    if (h.gridType == 1) {
        int32_t block[3] = {0, 0, 0};
        if (fread(block, sizeof block, 1, f) != 1) throw MapError("file is truncated");
        nOps = block[0];
        if (nOps < 1 || nOps > kMaxOperators || block[2] != 1) throw MapError("operator block is damaged");
    }
    CheckLength(size, h.version[3] + PgridFileSize(h.gridType, h.nChannel, nOps, h.nAsym));
    if (h.gridType == 1) {
        ReadArray(f, c.operators, 12 * static_cast<size_t>(nOps));
        std::vector<int32_t> origin;
        ReadArray(f, origin, 3);
    }

    const size_t records = static_cast<size_t>(h.nAsym);
    const size_t perRecord = static_cast<size_t>(h.nChannel) + (h.gridType == 1 ? 1 : 0);
    std::vector<float> body;
    ReadArray(f, body, records * perRecord);
    c.values.reserve(records * h.nChannel);
    if (h.gridType == 1) c.index.reserve(records);
    for (size_t r = 0; r < records; ++r) {
        const float* p = &body[r * perRecord];
        if (h.gridType == 1) {
            int32_t index;
            std::memcpy(&index, p++, sizeof index);
            c.index.push_back(index);
        }
        for (int k = 0; k < h.nChannel; ++k) {
            if (!std::isfinite(p[k])) throw MapError("voxel " + std::to_string(r + 1) + " holds no number");
            c.values.push_back(p[k]);
        }
    }
    return c;
}
