// Unobserved reflections: every reflection of the grid's index box that the data lack, in Patterson symmetry.
#pragma once

class MEMData3D;

// Adds the reflections of the index box |h| <= n/2 - 1 that the data lack:
// those the true group forbids at the head of the list (held at zero), the
// others at its end (calculated only). The cell stays in Patterson symmetry.
void CreateHKL0(MEMData3D& mem);
