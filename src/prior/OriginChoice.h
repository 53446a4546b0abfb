// Of the origins that the group allows, the one in which the model agrees with the data's phases.
#pragma once

#include <vector>

#include "prior/AnalysisGrid.h"
#include "prior/AtomModel.h"
#include "prior/ProcrystalDensity.h"

// Structure factors of the model, moved by each shift in turn, against the
// measured phased values: the index of the shift with the highest
// correlation. Origins that the group alone cannot tell apart (a centre of
// symmetry at another corner, a polar axis) differ in the phases, which only
// the data fix. Ties keep the earlier shift.
size_t BestOrigin(const AtomModel& model, const std::vector<gemmi::Op::Tran>& shifts,
                  const std::vector<gemmi::Op>& dataOps, const std::vector<PhasedReflection>& data,
                  Radiation radiation, double* correlation);
