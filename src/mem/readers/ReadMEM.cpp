// Reader of the positional MEM data set format (.mem and .mep files).
#include "mem/MEMData3D.h"
#include "mem/readers/PositionalReader.h"

bool MEMData3D::ReadMEM(const std::string& path) {
  nGroups = 0;
  FILE* f = OpenDataFile(path);
  if (!f)
    return false;
  PositionalReader reader(*this, f, PositionalReader::Layout::Mem);
  reader.readAll();
  std::fclose(f);
  return reader.storeValues();
}
