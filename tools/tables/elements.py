"""elements.ini and asfdc: element radii and colours, X-ray form factors, neutron lengths.

Radii: cctbx's ICSD table (neutral atoms), covalent and van der Waals radii;
gemmi's values fill the elements those tables lack. Form factors: International
Tables 1992 four-Gaussian fits and Waasmaier-Kirfel 1995 five-Gaussian fits,
both from cctbx eltbx, for every element and ion they list. Neutron bound
coherent scattering lengths (fm): Neutron News 1992 via cctbx; 0 where unknown.
Colours are this program's own scheme, made from the periodic table position.
"""
import colorsys
import re

import gemmi
import numpy as np
from cctbx.eltbx import covalent_radii, icsd_radii, neutron, tiny_pse, van_der_waals_radii, xray_scattering

ASFDC_WIDTH = 119   # the program keeps 119 characters of a line


def number(value):
    """A single-precision table value in its shortest exact decimal form."""
    return np.format_float_positional(np.float32(value), unique=True, trim="0")


def _elements():
    """(atomic number, symbol) for every element of the periodic table cctbx knows."""
    result = []
    for e in tiny_pse.table_iterator():
        if e.symbol() != "D":
            result.append((e.atomic_number(), e.symbol()))
    return sorted(result)


def _radius(table, symbol):
    try:
        return table(symbol).radius()
    except (RuntimeError, ValueError):
        return None


def _radii(symbol):
    g = gemmi.Element(symbol)
    covalent = _radius(covalent_radii.table, symbol) or g.covalent_r
    atomic = _radius(icsd_radii.table, symbol) or covalent
    vdw = van_der_waals_radii.vdw.table.get(symbol) or g.vdw_r
    return atomic, covalent, vdw


# Conventional colours of the commonest light elements in structure drawings.
_FIXED_COLOURS = {
    "H": (1.0, 1.0, 1.0), "C": (0.35, 0.35, 0.35), "N": (0.2, 0.3, 0.95), "O": (0.95, 0.1, 0.1),
    "F": (0.55, 0.9, 0.3), "Cl": (0.15, 0.85, 0.15), "Br": (0.6, 0.15, 0.1), "I": (0.45, 0.0, 0.6),
    "S": (0.95, 0.85, 0.2), "P": (1.0, 0.5, 0.0),
}

_PERIOD_STARTS = [1, 3, 11, 19, 37, 55, 87, 119]


def _period(z):
    return max(i for i, start in enumerate(_PERIOD_STARTS) if start <= z) + 1


def _colour(z, symbol):
    """Hue by kind of element, lightness falling with the period."""
    if symbol in _FIXED_COLOURS:
        return _FIXED_COLOURS[symbol]
    period = _period(z)
    column = z - _PERIOD_STARTS[period - 1]
    noble = z in (2, 10, 18, 36, 54, 86, 118)
    if noble:
        hue = 0.5
    elif column == 0:
        hue = 0.78                      # alkali metals: violet
    elif column == 1:
        hue = 0.33                      # alkaline earths: green
    elif period >= 6 and 2 <= column <= 15:
        hue = 0.45 if period == 6 else 0.55   # lanthanides, actinides: teal, cyan
    elif period >= 4 and column <= 11 + (14 if period >= 6 else 0):
        hue = 0.6 - 0.04 * (column - 2) % 0.6   # transition metals: blues to reds
    else:
        hue = 0.08 + 0.03 * column      # p-block: browns and ochres
    lightness = 0.75 - 0.06 * period
    return colorsys.hls_to_rgb(hue % 1.0, lightness, 0.55)


def elements_ini_lines():
    lines = ["# atomic number, symbol, radii in angstrom (atomic, covalent, van der Waals),",
             "# colour as red, green, blue between 0 and 1"]
    for z, symbol in _elements():
        radii = _radii(symbol)
        colour = _colour(z, symbol)
        lines.append("%d %s %.3f %.3f %.3f %.3f %.3f %.3f" % ((z, symbol) + tuple(radii) + tuple(colour)))
    return lines


def _element_of(label):
    """'Fe2+' -> 'Fe', 'Cval' -> 'C', 'Hiso' -> 'H'."""
    return re.match(r"[A-Z][a-z]?", re.sub(r"(val|iso)$", "", label)).group(0)


def _neutron_length(symbol):
    try:
        return neutron.neutron_news_1992_table(symbol).bound_coh_scatt_length().real
    except (RuntimeError, ValueError):
        return 0.0


def asfdc_lines():
    lines = []
    for entry in xray_scattering.it1992_iterator():
        label = entry.label()
        assert len(label) <= 5, label
        element = tiny_pse.table(_element_of(label))
        four = entry.fetch()
        five = xray_scattering.wk1995(label).fetch()
        assert four.n_terms() == 4 and five.n_terms() == 5, label
        line2 = list(four.array_of_a()) + [four.c()] + list(four.array_of_b()) + [_neutron_length(element.symbol())]
        line3 = list(five.array_of_a()) + [five.c()] + list(five.array_of_b())
        record = ["%s %s %d" % (label, number(element.weight()), element.atomic_number()),
                  " ".join(number(v) for v in line2),
                  " ".join(number(v) for v in line3),
                  "%s: IT 1992 a1-a4 c b1-b4 b_coh(fm); WK 1995 a1-a5 c b1-b5" % label]
        assert all(len(line) <= ASFDC_WIDTH for line in record), record
        lines.extend(record)
    return lines
