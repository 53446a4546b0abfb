// The three-dimensional analysis: unit cell, file readers and writers, voxel blocks and transforms.
#pragma once

#include <string>

#include "crystal/UnitCell.h"
#include "engine/MEMData.h"

class MEMData3D : public MEMData {
public:
    MEMData3D();
    ~MEMData3D() override;

    // Reads the data set named by param.dataFile with the reader of
    // param.fileType (mem/readers; each fulfils the same contract on the cell,
    // grid, F(000), reflection runs and value arrays) and attaches symmetry
    // equivalents to every reflection.
    bool ReadFobs() override;
    void CalcFcalc_impl(int withE) override;
    int WriteOutputFiles() override;
    void CalcFlnR() override;
    void DFT_Derivatives() override;
    void MakeThreadData() override;

    // False, with a message, when the grid cannot fit into this computer's
    // memory: a file may ask for any grid, and the run must end with a message
    // rather than a failed allocation.
    bool GridFitsMemory() const;

    // Output files and the restart and prior densities.
    int WritePgrid();
    int ReadRho2();
    int ReadPrior2();

    UnitCell unitCell;
    double voxelVolume = 0.0;  // cell volume / nVoxelCell, in cubic angstrom
};
