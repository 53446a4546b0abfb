// The table of elements and the lookup of form-factor parameters in asfdc.
#include "crystal/Element.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <string>

#include "util/FieldScan.h"
#include "util/IO.h"
#include "util/TextLine.h"

ObjVector<ElementData> Element::dPar;

Element* Element::Clone(unsigned int) const {
    Element* copy = new Element(*this);
    copy->refCount = 0;
    return copy;
}

bool Element::loadDefPar() {
    const std::string path = progvar + "elements.ini";
    const IO::File f = IO::OpenInput(path);
    if (!f) {
        IO::PrintError("The file (%s) was not opened.\n", path.c_str());
        return false;
    }
    char line[128];
    while (get_line(line, sizeof line, f.get())) {
        int number;
        char symbol[128];
        float radius[3], rgb[3];
        if (ScanFields(line, "%i %127s %f %f %f %f %f %f\n", &number, symbol, &radius[0], &radius[1],
                       &radius[2], &rgb[0], &rgb[1], &rgb[2]) != 8)
            continue;
        ElementData* row = new ElementData;
        row->atomicNumber = number;
        std::copy(radius, radius + 3, row->radius);
        for (int i = 0; i < 3; ++i)
            row->color[i] = (std::uint8_t)(255.0f * std::fmin(std::fmax(rgb[i], 0.0f), 1.0f));
        row->color[3] = 255;
        // Symbols have one or two letters.
        std::memcpy(row->symbol, symbol, 2);
        row->symbol[2] = '\0';
        dPar.add(row);
    }
    return true;
}

int Element::GetFormFactor(ObjVector<Element>& list) {
    const IO::File f = IO::OpenInput(progvar + "asfdc");
    if (!f) {
        IO::PrintError("Failed to open (%s).\n", "asfdc");
        return -list.size();
    }
    IO::Printf("%8s %-10s %-10s %-10s %-10s %-10s %-10s\n", " ", "a1", "a2", "a3", "a4", "a5", "c");
    IO::Printf("%8s %-10s %-10s %-10s %-10s %-10s %-10s\n", " ", "b1", "b2", "b3", "b4", "b5", "bc");
    for (Element* element : list) element->SetFormFactor(f.get());
    IO::Printf("\n");
    return 0;
}

// A record is four lines: label, a number and the atomic number; the four
// Gaussians with c and b1..b4 and bc; the five Gaussians with c and b1..b5;
// a remark. The label's first two characters (one, when the second is not a
// letter) are the element symbol, so "Fe" finds "Fe2+" as well; a record of
// the exact label found later replaces it and ends the search.
int Element::SetFormFactor(FILE* file) {
    a1 = b1 = a2 = b2 = a3 = b3 = a4 = b4 = a5 = b5 = c = bc = 0.0;
    char shown[8] = "";
    ScanKeeping(symbol, "%5s", shown);
    std::rewind(file);
    int result = 0;
    char lines[4][120];
    while (!std::feof(file) && !std::ferror(file)) {
        for (char* line : lines)
            if (!get_line(line, 120, file)) line[0] = '\0';
        char label[120] = "", number[120] = "", atomic[120] = "", prefix[3] = "";
        int z = -1;
        if (ScanFields(lines[0], "%119s%119s%119s", label, number, atomic) != 3) continue;
        ScanKeeping(label, "%2s", prefix);
        ScanKeeping(atomic, "%d", &z);
        if (!std::isalpha((unsigned char)prefix[1])) prefix[1] = '\0';
        if (!std::strstr(symbol, prefix) || atomicNumber != z) continue;
        ScanKeeping(number, "%lf", &recordValue);
        ScanKeeping(label, "%5s", shown);
        // The first value is a1; b5 holds it until the five-Gaussian line is read.
        ScanKeeping(lines[1], "%lf%lf%lf%lf%lf%lf%lf%lf%lf%lf", &b5, &a2, &a3, &a4, &c, &b1, &b2, &b3, &b4,
                    &bc);
        a5 = 0.0;
        if (ScanFields(lines[2], "%lf%lf%lf%lf%lf%lf%lf%lf%lf%lf%lf", &a1, &a2, &a3, &a4, &a5, &c, &b1, &b2,
                       &b3, &b4, &b5) < 10) {
            a1 = b5;
            b5 = 0.0;
        }
        if (std::strcmp(symbol, label) == 0) {
            result = 0;
            break;
        }
        result = 1;
    }
    IO::Printf("%4s:%10.6f %10.6f %10.6f %10.6f %10.6f %10.6f\n", shown, a1, a2, a3, a4, a5, c);
    IO::Printf("%4s %10.6f %10.6f %10.6f %10.6f %10.6f %10.6f\n", " ", b1, b2, b3, b4, b5, bc);
    return result;
}
