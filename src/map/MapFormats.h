// Writers of the whole-cell density in the formats that molecular and crystal viewers read.
#pragma once

#include <string>
#include <vector>

#include "map/CellDensity.h"

// The format of an output file, from its extension.
enum class MapFormat { Ccp4, Cube, Xsf, Unknown };
MapFormat FormatOfPath(const std::string& path);

// Each writes `values` (one channel of `density`, per cubic angstrom) to
// `path` and throws MapError when the file cannot be written.

// CCP4/MRC-2014, mode 2 (float32), axes x, y, z, the space group of the
// operators (1 when it is not in the table) and the statistics of the map.
void WriteCcp4Map(const std::string& path, const CellDensity& density, const std::vector<float>& values);

// Gaussian cube: lengths in bohr, no atoms, values per cubic bohr.
void WriteCubeFile(const std::string& path, const CellDensity& density, const std::vector<float>& values);

// XCrySDen structure file: a crystal with its lattice vectors and a periodic
// 3D data grid in angstrom, the first plane repeated at the end of each axis.
void WriteXsfFile(const std::string& path, const CellDensity& density, const std::vector<float>& values);

// Writes by the format of the extension.
void WriteMapFile(const std::string& path, const CellDensity& density, const std::vector<float>& values);
