// CCP4/MRC through gemmi, and the two text formats written directly.
#include "map/MapFormats.h"

#include <gemmi/ccp4.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "map/MapError.h"
#include "map/MapSymmetry.h"

namespace {

constexpr double kBohr = 0.529177210903;  // angstrom

std::string Lower(std::string s) {
    for (char& c : s) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return s;
}

bool EndsWith(const std::string& s, const char* tail) {
    const size_t n = strlen(tail);
    return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

// A text file that reports a failed open or a failed final write.
class OutputFile {
public:
    explicit OutputFile(const std::string& path) : path_(path), f_(fopen(path.c_str(), "w")) {
        if (!f_) throw MapError("cannot write " + path + ": " + strerror(errno));
    }
    ~OutputFile() {
        if (f_) fclose(f_);
    }
    FILE* get() { return f_; }
    void Close() {
        const bool ok = !ferror(f_);
        const bool closed = fclose(f_) == 0;
        f_ = nullptr;
        if (!ok || !closed) throw MapError("cannot write " + path_);
    }

private:
    std::string path_;
    FILE* f_;
};

gemmi::UnitCell GemmiCell(const CellDensity& d) {
    return gemmi::UnitCell(d.cell[0], d.cell[1], d.cell[2], d.cell[3], d.cell[4], d.cell[5]);
}

// Column i of the orthogonalisation matrix: lattice vector i in angstrom.
gemmi::Vec3 LatticeVector(const gemmi::UnitCell& cell, int i) {
    gemmi::Fractional f(i == 0, i == 1, i == 2);
    gemmi::Position p = cell.orthogonalize(f);
    return gemmi::Vec3(p.x, p.y, p.z);
}

}  // namespace

MapFormat FormatOfPath(const std::string& path) {
    const std::string p = Lower(path);
    if (EndsWith(p, ".ccp4") || EndsWith(p, ".map") || EndsWith(p, ".mrc")) return MapFormat::Ccp4;
    if (EndsWith(p, ".cube") || EndsWith(p, ".cub")) return MapFormat::Cube;
    if (EndsWith(p, ".xsf")) return MapFormat::Xsf;
    return MapFormat::Unknown;
}

void WriteCcp4Map(const std::string& path, const CellDensity& d, const std::vector<float>& values) {
    gemmi::Ccp4<float> map;
    map.grid.set_size(d.gridSize[0], d.gridSize[1], d.gridSize[2]);
    map.grid.set_unit_cell(GemmiCell(d));
    const gemmi::SpaceGroup* sg = FindSpaceGroup(d);
    map.grid.spacegroup = sg ? sg : &gemmi::get_spacegroup_p1();
    map.grid.data = values;
    map.update_ccp4_header(2, true);
    // The first label says where the map comes from; the rest stay blank.
    std::string label = "halvorin-map: " + d.title;
    label.resize(80, ' ');
    std::memcpy(map.header_word(57), label.data(), 80);
    try {
        map.write_ccp4_map(path);
    } catch (const std::exception&) {
        throw MapError("cannot write " + path + ": " + strerror(errno));
    }
}

void WriteCubeFile(const std::string& path, const CellDensity& d, const std::vector<float>& values) {
    const gemmi::UnitCell cell = GemmiCell(d);
    OutputFile out(path);
    FILE* f = out.get();
    fprintf(f, "%s\n", d.title.empty() ? "density" : d.title.c_str());
    fprintf(f, "density per cubic bohr, whole cell, written by halvorin-map\n");
    fprintf(f, "%5d %12.6f %12.6f %12.6f\n", 0, 0.0, 0.0, 0.0);
    for (int i = 0; i < 3; ++i) {
        const gemmi::Vec3 v = LatticeVector(cell, i) / (d.gridSize[i] * kBohr);
        fprintf(f, "%5d %12.6f %12.6f %12.6f\n", d.gridSize[i], v.x, v.y, v.z);
    }
    const double scale = kBohr * kBohr * kBohr;
    for (int x = 0; x < d.gridSize[0]; ++x)
        for (int y = 0; y < d.gridSize[1]; ++y) {
            for (int z = 0; z < d.gridSize[2]; ++z)
                fprintf(f, "%13.5E%s", values[d.Index(x, y, z)] * scale, z % 6 == 5 ? "\n" : "");
            if (d.gridSize[2] % 6 != 0) fputc('\n', f);
        }
    out.Close();
}

void WriteXsfFile(const std::string& path, const CellDensity& d, const std::vector<float>& values) {
    const gemmi::UnitCell cell = GemmiCell(d);
    OutputFile out(path);
    FILE* f = out.get();
    fprintf(f, "# %s\nCRYSTAL\nPRIMVEC\n", d.title.c_str());
    for (int i = 0; i < 3; ++i) {
        const gemmi::Vec3 v = LatticeVector(cell, i);
        fprintf(f, " %14.8f %14.8f %14.8f\n", v.x, v.y, v.z);
    }
    fprintf(f, "BEGIN_BLOCK_DATAGRID_3D\n density\n BEGIN_DATAGRID_3D_density\n");
    fprintf(f, " %d %d %d\n 0.0 0.0 0.0\n", d.gridSize[0] + 1, d.gridSize[1] + 1, d.gridSize[2] + 1);
    for (int i = 0; i < 3; ++i) {
        const gemmi::Vec3 v = LatticeVector(cell, i);
        fprintf(f, " %14.8f %14.8f %14.8f\n", v.x, v.y, v.z);
    }
    long count = 0;
    for (int z = 0; z <= d.gridSize[2]; ++z)
        for (int y = 0; y <= d.gridSize[1]; ++y)
            for (int x = 0; x <= d.gridSize[0]; ++x) {
                const int i = d.Index(x % d.gridSize[0], y % d.gridSize[1], z % d.gridSize[2]);
                fprintf(f, " %12.5E%s", values[i], ++count % 6 == 0 ? "\n" : "");
            }
    if (count % 6 != 0) fputc('\n', f);
    fprintf(f, " END_DATAGRID_3D\nEND_BLOCK_DATAGRID_3D\n");
    out.Close();
}

void WriteMapFile(const std::string& path, const CellDensity& d, const std::vector<float>& values) {
    switch (FormatOfPath(path)) {
    case MapFormat::Ccp4: return WriteCcp4Map(path, d, values);
    case MapFormat::Cube: return WriteCubeFile(path, d, values);
    case MapFormat::Xsf: return WriteXsfFile(path, d, values);
    case MapFormat::Unknown: break;
    }
    throw MapError("unknown map format of " + path + " (use .ccp4, .map, .mrc, .cube or .xsf)");
}
