"""mspgr.dat: the 1651 magnetic space-group types in their BNS settings.

Numbers, operators and time reversal come from spglib's magnetic database.
spglib has no symbols, so the BNS and OG labels, the OG-to-BNS transformation
and the magnetic Wyckoff positions are read from the magnetic-group table that
Debian's python3-pymatgen ships (an SQLite file made from the ISO-MAG data of
the ISOTROPY suite). The operators of both sources are checked to agree.
"""
import array
import sqlite3
from fractions import Fraction

import spglib
from cctbx import sgtbx

from . import ops as O

PYMATGEN_TABLE = "/usr/lib/python3/dist-packages/pymatgen/symmetry/symm_data_magnetic.sqlite"
LINE_WIDTH = 118     # the program keeps 119 characters of a line


def _rows():
    db = sqlite3.connect(PYMATGEN_TABLE)
    rows = {}
    for r in db.execute("SELECT magtype, BNS1, BNS2, BNS_label, OG1, OG2, OG3, OG_label, "
                        "OG_BNS_transform, BNS_symops, BNS_lattice, BNS_Wyckoff FROM space_groups"):
        rows["%d.%d" % (r[1], r[2])] = r
    db.close()
    return rows


def _point_operators():
    db = sqlite3.connect(PYMATGEN_TABLE)
    table = {}
    for idx, hexagonal, matrix in db.execute("SELECT idx, hex, matrix FROM point_operators"):
        m = [int(float(v)) for v in matrix.split(",")]
        table[(idx, hexagonal)] = [m[0:3], m[3:6], m[6:9]]
    db.close()
    return table


def _spglib_ops(uni):
    d = spglib.get_magnetic_symmetry_from_database(uni)
    result = []
    for r, t, tr in zip(d["rotations"], d["translations"], d["time_reversals"]):
        result.append(O.Op(r.tolist(), [O.units(Fraction(float(v)).limit_denominator(48)) for v in t],
                           -1 if tr else 1))
    return result


def _table_ops(blob, number, point_ops):
    b = array.array("b", blob)
    hexagonal = 1 if 143 <= number <= 194 else 0
    result = []
    for i in range(0, len(b), 6):
        r = point_ops[(b[i] - 1, hexagonal)]
        t = [O.units(Fraction(b[i + k], b[i + 4])) for k in (1, 2, 3)]
        result.append(O.Op(r, t, b[i + 5]))
    return result


def _table_lattice(blob):
    b = array.array("b", blob)
    return [[O.units(Fraction(b[i + k], b[i + 3])) for k in range(3)] for i in range(0, len(b), 4)]


def _closure_with(ops, translations):
    """All operators shifted by all translations."""
    return {op.shifted(t) for op in ops for t in translations}


def _reduced(full, letter):
    """One operator of each class modulo the centring the loader adds by letter; identity first."""
    centring = [(0, 0, 0)] + O.lattice_translations(letter, 1)
    kept, covered = [], set()
    for op in sorted(full, key=lambda o: (not o.is_identity(), o.time_reversal == -1, full.index(o))):
        if op in covered:
            continue
        kept.append(op)
        covered |= {op.shifted(t) for t in centring}
    assert covered == set(full) and len(full) == len(kept) * len(centring)
    return kept


def _transformation(blob):
    """OG-to-BNS transformation as "a,b,2c;0,0,0" (identity when the settings agree)."""
    b = array.array("b", blob)
    if not b:
        return "a,b,c;0,0,0"
    rows = ",".join(O.component([b[3 * i], b[3 * i + 1], b[3 * i + 2]], 0, "abc") for i in range(3))
    shift = ",".join(str(Fraction(b[9 + k], b[12])) for k in range(3))
    return rows + ";" + shift


def _moment(matrix):
    """Allowed moment components, e.g. "mx,-mx,0"."""
    return ",".join(O.component(row, 0, ("mx", "my", "mz")) for row in matrix)


def _site_symmetry(triplet, full):
    """Order of the site's spatial point group, with "'" when some of it reverses time."""
    stabilizer = [s for s in full if (s * triplet).key()[:2] == triplet.key()[:2]]
    spatial = {s.r for s in stabilizer}
    primed = any(s.time_reversal == -1 for s in stabilizer)
    g = sgtbx.space_group()
    for r in spatial:
        g.expand_smx(O.Op(r, (0, 0, 0)).text())
    symbol = str(g.point_group_type())
    grey = any(s.time_reversal == -1 and s.r == O.IDENTITY.r for s in stabilizer)
    return symbol + ("1'" if grey else ("'" if primed else ""))


def _positions(blob, full):
    b = array.array("b", blob)
    if not b:
        return []
    count, offset, result = b[0], 0, []
    for n in range(1, count + 1):
        m = b[1 + offset]
        multiplicity = b[2 + offset] * m
        index = count - n
        letter = chr(97 + index) if index <= 25 else "@"
        s = b[3 + offset:3 + offset + 22]
        triplet = O.Op([[s[4], s[7], s[10]], [s[5], s[8], s[11]], [s[6], s[9], s[12]]],
                       [O.units(Fraction(s[k], s[3])) for k in range(3)])
        moment = [[s[13], s[16], s[19]], [s[14], s[17], s[20]], [s[15], s[18], s[21]]]
        result.append("%d%s %s %s %s" % (multiplicity, letter, triplet.text(),
                                         _site_symmetry(triplet, full), _moment(moment)))
        offset += m * 22 + 2
    return result


def _operator_lines(ops):
    texts = ["%s,%+d" % (op.text(), op.time_reversal) for op in ops]
    lines, line = [], "Operators:"
    for t in texts:
        if len(line) + 2 + len(t) > LINE_WIDTH:
            lines.append(line + ";")
            line = "\t" + t
        else:
            line = line + (" " if line.endswith(":") else "; ") + t
    lines.append(line)
    return lines


def _invariants(ops):
    """Type-level fingerprint: per rotation (det, trace), counts of unitary and primed operators."""
    counts = {}
    for op in ops:
        r = op.r
        key = (op.det(), r[0][0] + r[1][1] + r[2][2], op.time_reversal)
        counts[key] = counts.get(key, 0) + 1
    return sorted(counts.items())


def mspgr_lines():
    rows = _rows()
    point_ops = _point_operators()
    lines = list(HEADER)
    for uni in range(1, 1652):
        info = spglib.get_magnetic_spacegroup_type(uni)
        row = rows[info["bns_number"]]
        assert "%d.%d.%d" % (row[4], row[5], row[6]) == info["og_number"], info
        assert row[0] == info["type"] and row[1] == info["number"], info
        bns, og = row[3], row[7]
        letter = bns[0]
        centring = [tuple(t) for t in _table_lattice(row[10]) if any(v % O.UNIT for v in t)]
        assert sorted(centring) == sorted(O.lattice_translations(letter, 1)), bns
        listed = _table_ops(row[9], row[1], point_ops)
        full = listed + [op.shifted(t) for t in centring for op in listed]
        O.check_closure(full)
        reference = _spglib_ops(uni)
        assert len(reference) == len(full) and _invariants(reference) == _invariants(full), bns
        agree = set(reference) == set(full)
        lines.append("BNS: %s %s OG: %d.%d.%d %s" % (info["bns_number"], bns, row[4], row[5], row[6], og))
        lines.append("OG->BNS: %s" % _transformation(row[8]))
        lines.extend(_operator_lines(_reduced(full, letter)))
        lines.extend(_positions(row[11], full))
        lines.append("")
        STATS["same as spglib"] += agree
        STATS["other setting in spglib"] += not agree
    for line in lines:
        assert len(line) <= LINE_WIDTH + 1, line
    return lines


STATS = {"same as spglib": 0, "other setting in spglib": 0}

HEADER = [
    "# Magnetic space groups in their BNS settings, one record per type in BNS order.",
    "# Operators: x,y,z,+1 is unitary; a last component -1 reverses time. The lattice",
    "# translations of the first letter of the BNS symbol are implied, as in spgra.dat.",
    "# Positions: multiplicity and letter, first triplet, point group of the site",
    "# (' when part of it reverses time, 1' when it holds time reversal itself), moment.",
    "",
]
