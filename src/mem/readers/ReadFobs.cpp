// Entry from a data file to the analysis state: the reader chosen by file type, then symmetry expansion.
#include "mem/MEMData3D.h"

bool MEMData3D::ReadFobs() {
  bool read = false;
  switch (param.fileType) {
  case 3:
  case 4:
    read = ReadMEM(param.dataFile);
    break;
  case 5:
    read = ReadFOS(param.dataFile);
    break;
  case 6:
    read = ReadFCF(param.dataFile);
    break;
  case 7:
    read = ReadBayMEM(param.dataFile);
    break;
  case 8:
    param.estimateUnobserved = 1;
    read = ReadMEM(param.dataFile);
    break;
  case 10:
    read = ReadFFO(param.dataFile);
    break;
  default:
    // Condition files, Alb control files and plain .hkl files carry no data
    // of their own; neither does a .mep file declared with negative scattering.
    break;
  }
  if (read) {
    // Absent reflections keep their place and their measured values, so the
    // list of them is not needed here.
    ObjVector<StructureFactor> absent;
    StructureFactor::ExpandReflectionList(reflections, absent, unitCell.symOp,
                                          unitCell.orthoInverse, 3, 1 - unitCell.centric);
  }
  if (param.estimateUnobserved) {
    // The generated list spans the grid's whole index box: a grid that no
    // memory holds is refused before the box is laid out.
    if (!GridFitsMemory())
      return false;
    CreateHKL0();
  }
  return read;
}
