// One Wyckoff position of a space-group setting, as the table files give it.
#pragma once

#include <cstdint>

#include "numeric/Object.h"
#include "numeric/Matrix4D.h"

class Wyckoff : public Object {
public:
    std::int32_t multiplicity = 0;
    char letter = 0;
    char siteSymmetry[10] = "";  // at most 9 characters of the site-symmetry text
    // The first coordinate triplet: free parameters in the linear part, fixed
    // coordinates in the translation column. The grid rule reads the latter.
    Matrix4D matrix;
};
