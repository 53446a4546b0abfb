// Entry from a data file to the analysis state: the reader chosen by file type, then symmetry expansion.
#include <set>

#include "mem/MEMData3D.h"

namespace {

// Squared amplitudes carry no phases of the group's translations: every
// equivalent of an allowed reflection holds the same real value. Absent
// reflections keep their sums, and a shift that is already zero stays as it
// is, so that symmorphic groups are expanded exactly as before.
void dropTranslationPhases(ObjVector<StructureFactor>& list, const ObjVector<StructureFactor>& absent) {
  std::set<const StructureFactor*> forbidden;
  for (const StructureFactor* f : absent)
    forbidden.insert(f);
  for (StructureFactor* f : list) {
    if (forbidden.count(f))
      continue;
    for (std::size_t j = 0; j < f->phase.nItems(); ++j)
      if (f->phase.item(j)[0] != 0.0)
        f->phase.item(j)[0] = 0.0;
  }
}

}  // namespace

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
    if (param.estimateUnobserved)
      dropTranslationPhases(reflections, absent);
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
