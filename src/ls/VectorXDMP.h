// One long vector of the minimiser, kept in per-thread parts that may be shared with the voxel blocks.
#pragma once

#include <vector>

#include "base/Vector.h"
#include "base/VectorD.h"

// Element i of the long vector is element i - offsets[p] of part p, with p
// the last part whose offset is not above i. Parts are counted references,
// so a part can belong to a voxel block and to this vector at once.
class VectorXDMP : public Object {
public:
    ObjVector<VectorXD> parts;
    std::vector<int> offsets;   // index of each part's first element
};
