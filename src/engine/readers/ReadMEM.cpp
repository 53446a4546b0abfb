// Reader of the positional MEM data set format (.mem and .mep files).
#include "engine/readers/ReadMEM.h"

#include "engine/MEMData3D.h"
#include "engine/readers/PositionalReader.h"

bool ReadMEM(MEMData3D& mem, const std::string& path) {
    mem.nGroups = 0;
    const IO::File f = OpenDataFile(path);
    if (!f) return false;
    PositionalReader reader(mem, f.get(), PositionalReader::Layout::Mem);
    reader.readAll();
    return reader.storeValues();
}
