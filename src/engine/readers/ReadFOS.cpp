// Reader of the .fos data set format: the .mem layout with counts from which the reader forms the weights.
#include "engine/readers/ReadFOS.h"

#include "engine/MEMData3D.h"
#include "engine/readers/PositionalReader.h"

bool ReadFOS(MEMData3D& mem, const std::string& path) {
    mem.nGroups = 0;
    const IO::File f = OpenDataFile(path);
    if (!f) return false;
    PositionalReader reader(mem, f.get(), PositionalReader::Layout::Fos);
    reader.readAll();
    return reader.storeValues();
}
