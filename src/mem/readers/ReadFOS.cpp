// Reader of the .fos data set format: the .mem layout with counts from which the reader forms the weights.
#include "mem/MEMData3D.h"
#include "mem/readers/PositionalReader.h"

bool MEMData3D::ReadFOS(const std::string& path) {
  nGroups = 0;
  FILE* f = OpenDataFile(path);
  if (!f)
    return false;
  PositionalReader reader(*this, f, PositionalReader::Layout::Fos);
  reader.readAll();
  std::fclose(f);
  return reader.storeValues();
}
