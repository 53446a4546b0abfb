// Shared body of the model-file fuzz targets: read a model, then place its atoms on a small grid.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzz_support.h"
#include "prior/AtomModel.h"
#include "prior/PriorError.h"
#include "prior/ProcrystalDensity.h"

// A model that is read must give a finite density on a 6 x 6 x 6 grid of its
// own cell; a refused one may only throw PriorError.
inline void FuzzModel(const uint8_t* data, size_t size, const char* extension) {
    const std::string path = WriteInput(data, size, extension);
    AtomModel model;
    try {
        model = ReadModel(path);
    } catch (const PriorError&) {
        return;
    }
    if (model.sites.size() > 16) model.sites.resize(16);
    const int grid[3] = {6, 6, 6};
    std::vector<int> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    for (Radiation r : {Radiation::Xray, Radiation::Neutron}) {
        const ProcrystalGrids g =
            ComputeProcrystal(model, model.sites, model.cell, grid, model.ops, identity, r);
        for (double v : g.plus)
            if (!std::isfinite(v)) abort();
    }
}
