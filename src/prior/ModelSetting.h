// Bringing a model into the data's setting: the group's operators, the origin and the cell.
#pragma once

#include <string>
#include <vector>

#include "numeric/MatrixD.h"
#include "numeric/Vector.h"
#include "prior/AtomModel.h"

// The data's operators (4 x 4 matrices, translation in column 3) as gemmi
// operators with wrapped translations.
std::vector<gemmi::Op> DataOperators(const ObjVector<MatrixD>& symOp);

// Every origin shift t on a grid of 1/24 along each axis (x -> x + t) that
// turns the model's operators into the data's. Empty when the groups differ.
// Nearest shifts first, so that t = 0 leads when it works.
std::vector<gemmi::Op::Tran> OriginShifts(const std::vector<gemmi::Op>& model,
                                          const std::vector<gemmi::Op>& data);

// The model's sites moved by t (in 1/24), reduced to the unit cell.
std::vector<ModelSite> ShiftedSites(const std::vector<ModelSite>& sites, const gemmi::Op::Tran& t);

// "x+1/4,y,z+1/2": the change of basis that the shift t applies.
std::string ShiftText(const gemmi::Op::Tran& t);

// Compares the model's cell with the data's (a, b, c, alpha, beta, gamma).
// Throws PriorError beyond 1 % in a length or 0.5 degrees in an angle;
// returns a note for a smaller difference, else an empty text.
std::string CompareCells(const gemmi::UnitCell& model, const std::string& modelName, const float* data,
                         const std::string& dataName);
