// Kinds of atom of the cell with their X-ray form-factor parameters, and the table of elements.
#pragma once

#include <cstdint>
#include <cstdio>

#include "numeric/Object.h"
#include "numeric/Vector.h"

// One row of elements.ini: atomic number, radii and drawing colour.
class ElementData : public Object {
public:
    int atomicNumber = 0;
    float radius[3] = {};        // in the order of the file: atomic, covalent, van der Waals
    std::uint8_t color[4] = {};  // red, green, blue as 255 x the file's value; 255
    char symbol[3] = "";
};

// One kind of atom: a symbol (an element or an ion such as "Fe2+") with the
// Gaussian parameters of its form factor, looked up in the asfdc table.
class Element : public CloneableObj {
public:
    Element() = default;
    Element* Clone(unsigned int flags) const override;

    // Appends the rows of progvar/elements.ini to dPar; false, with a message,
    // when the file cannot be opened.
    static bool loadDefPar();
    // Looks up every element of `list` in progvar/asfdc and prints the table of
    // their parameters. 0, or minus the list's length when asfdc is missing.
    static int GetFormFactor(ObjVector<Element>& list);
    // Takes the parameters of the record of `file` (asfdc) that matches the
    // symbol and atomic number, an exact label ending the search, and prints
    // them. 1 when only a record of the same element but another label matched.
    int SetFormFactor(FILE* file);

    // The rows of elements.ini in file order; empty until loadDefPar.
    static ObjVector<ElementData> dPar;

    int atomicNumber = 0;
    char symbol[8] = "";
    // a1..a5 and b1..b5 of a sum of Gaussians a exp(-b s^2), the constant c and
    // the neutron scattering length bc, in this order of storage.
    double a1 = 0.0, b1 = 0.0, a2 = 0.0, b2 = 0.0, a3 = 0.0, b3 = 0.0, a4 = 0.0, b4 = 0.0, a5 = 0.0, b5 = 0.0,
           c = 0.0, bc = 0.0;
    // The number that stands after the label in the record taken.
    double recordValue = 0.0;
};
