// A model in another setting of the data's space group brought onto the data's axes.
#pragma once

#include <optional>
#include <vector>

#include "prior/AtomModel.h"

// The change of basis C (x_data = C x_model, up to an origin shift that the
// origin search settles) under which the model's operators become the data's,
// found through the reference settings of gemmi's tables and checked by
// comparing the operator sets. None when either group is not tabulated or
// the two are not one group.
std::optional<gemmi::Op> SettingChange(const std::vector<gemmi::Op>& model,
                                       const std::vector<gemmi::Op>& data);

// The model with its cell, operators, coordinates and anisotropic
// displacements expressed in the basis that C leads to.
AtomModel ChangedBasis(const AtomModel& model, const gemmi::Op& c);
