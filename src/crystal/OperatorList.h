// Checks and order of symmetry operator lists read from data files.
#pragma once

#include "numeric/Vector.h"
#include "numeric/Matrix4D.h"

// Whether op can be a crystallographic operator: an integer rotation of
// determinant +1 or -1, with entries of at most 16, and a finite translation. Text that is not an
// operator parses to something else, which would make the voxel grid and the
// equivalents of a reflection meaningless.
bool IsSymmetryOperator(const Matrix4D& op);

// Moves the identity to the front of ops, or puts it there when the list
// lacks it: a list used as it stands must begin with it, as every tabulated
// one does.
void PutIdentityFirst(ObjVector<MatrixD>& ops);
