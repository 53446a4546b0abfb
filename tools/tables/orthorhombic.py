"""Orthorhombic settings: symbols, spgro.dat, and the loader's axis permutations.

spgra.dat holds only the abc setting of each orthorhombic group. The program
makes the other five (ba-c, cab, -cba, bca, a-cb) itself, as Q W P with the
permutation matrices below, and names them from the columns of spgro.dat.
"""
import itertools

from cctbx import sgtbx

from . import ops as O

# Axis permutations in the order the loader applies them, given by rows, and
# the ITA code of the setting each one makes.
PO = [
    ((0, 1, 0), (1, 0, 0), (0, 0, -1)),
    ((0, 1, 0), (0, 0, 1), (1, 0, 0)),
    ((0, 0, 1), (0, 1, 0), (-1, 0, 0)),
    ((0, 0, 1), (1, 0, 0), (0, 1, 0)),
    ((1, 0, 0), (0, 0, 1), (0, -1, 0)),
]
PO_CODES = ["ba-c", "cab", "-cba", "bca", "a-cb"]
PO_BASIS = ["b,a,-c", "c,a,b", "-c,b,a", "b,c,a", "a,-c,b"]

# Older symbols of the five groups whose double glide planes are now written
# "e"; the program still accepts them and maps them by setting position.
OLDER_SYMBOLS = {
    39: ["A b m 2", "B m a 2", "B 2 c m", "C 2 m b", "C m 2 a", "A c 2 m"],
    41: ["A b a 2", "B b a 2", "B 2 c b", "C 2 c b", "C c 2 a", "A c 2 a"],
    64: ["C m c a", "C c m b", "A b m a", "A c a m", "B b c m", "B m a b"],
    67: ["C m m a", "C m m b", "A b m m", "A c m m", "B m c m", "B m a m"],
    68: ["C c c a", "C c c b", "A b a a", "A c a a", "B b c b", "B b a b"],
}

_CENTRING_AXIS = {"A": 0, "B": 1, "C": 2}


def current_symbol(hm):
    """The symbol with double glide planes written 'e' ("C m c a" -> "C m c e").

    A glide plane normal to axis i is a double glide plane when the lattice
    centring vector lies in it, i.e. for A, B, C centring normal to a, b, c.
    """
    parts = hm.split()
    axis = _CENTRING_AXIS.get(parts[0])
    if axis is not None and parts[1 + axis] in ("a", "b", "c"):
        parts[1 + axis] = "e"
    return " ".join(parts)


def condensed(symbol):
    """'P 21 21 21' -> 'P212121', as spgro.dat holds symbols."""
    return symbol.replace(" ", "")


def expand_condensed(text):
    """The program's reading of a condensed symbol, used to check spgro.dat round trips."""
    parts, pos = [], 1
    for _ in range(2):
        width = 2 if len(text) > pos + 1 and text[pos + 1] == "1" else 1
        parts.append(text[pos:pos + width])
        pos += width
    parts.append(text[pos:])
    return "%c %s %s %s" % (text[0], parts[0], parts[1], parts[2])


def permuted_symbol(hm, basis):
    """ITA rule for a symbol in permuted axes: parts move with their axes and
    axial glide letters and A/B/C centring letters are renamed with them."""
    new_of_old = {b.strip("-"): "abc"[i] for i, b in enumerate(basis.split(","))}
    parts = hm.split()
    lattice = parts[0]
    if lattice in "ABC":
        lattice = new_of_old[lattice.lower()].upper()
    old_parts = dict(zip("abc", parts[1:]))
    new_parts = []
    for b in basis.split(","):
        part = old_parts[b.strip("-")]
        new_parts.append(new_of_old[part] if part in ("a", "b", "c") else part)
    return " ".join([lattice] + new_parts)


def _shift(ops, s):
    """Operators seen from an origin moved to s (in 1/UNIT steps)."""
    to, back = O.Op(O.IDENTITY.r, [-v for v in s]), O.Op(O.IDENTITY.r, s)
    return {to * op * back for op in ops}


def origin_shift(ops, target):
    """The least origin shift (in 1/UNIT steps) that turns ops into target, or None."""
    ops, target = set(ops), set(target)
    step = O.UNIT // 8
    for s in sorted(itertools.product(range(0, O.UNIT, step), repeat=3), key=lambda v: (sum(v), v)):
        if _shift(ops, s) == target:
            return s
    return None


def _tabulated(entries, code, extension):
    for e in entries:
        if e.qualifier() == code and e.extension() == extension:
            return e
    return None


def expanded_settings(number, records, entries, setting_type):
    """The loader's five permuted settings of each record, checked against cctbx's table."""
    result = []
    for j, (perm, code, basis) in enumerate(zip(PO, PO_CODES, PO_BASIS)):
        for source in records:
            full = [O.transform(w, perm) for w in source.full_ops]
            group = O.group_from_ops(full)
            cb = sgtbx.change_of_basis_op(basis)
            assert sgtbx.space_group_info(group=source.group).change_basis(cb).group() == group, \
                "%d %s: permutation matrix and basis change disagree" % (number, code)
            extension = [e for e in entries if e.qualifier() == ""][source.index - 1].extension() \
                if len(records) == 2 else "\0"
            ita = permuted_symbol(source.ita_symbol, basis)
            entry = _tabulated(entries, code, extension)
            assert entry is None or entry.hermann_mauguin() == ita, (number, code, ita)
            # The tabulated setting of that symbol (same origin choice) must be
            # the expansion itself or differ from it by an origin shift only.
            same = [e for e in entries if e.hermann_mauguin() == ita and e.extension() == extension]
            assert len(same) == 1, (number, code, ita)
            shift = origin_shift(O.group_ops(group), O.group_ops(sgtbx.space_group(same[0].hall())))
            assert shift is not None, "%d %s: %s is no shifted %s" % (number, code, ita, source.ita_symbol)
            s = setting_type(number, len(records) * (j + 1) + source.index,
                             current_symbol(ita), ita, code + (":%d" % source.choice if source.choice else ""),
                             source.choice, group, generated=True, source=source, perm=perm,
                             centric=source.centric, full_ops=full)
            s.origin_shift = shift
            result.append(s)
    result.sort(key=lambda s: s.index)
    return result


def check_older_symbols(settings):
    for number, older in OLDER_SYMBOLS.items():
        ita = [s.ita_symbol for s in settings[number]]
        width = len(ita) // 6
        assert ita == [o for o in older for _ in range(width)], (number, ita)
    changed = {n for n in range(16, 75) for s in settings[n] if s.symbol != s.ita_symbol}
    assert changed == set(OLDER_SYMBOLS), changed


def spgro_lines(settings):
    """The 59 lines of spgro.dat: number and the condensed symbols of the six settings."""
    lines = []
    for number in range(16, 75):
        group = settings[number]
        width = len(group) // 6
        symbols = [group[width * j].symbol for j in range(6)]
        for j in range(6):
            assert all(s.symbol == symbols[j] for s in group[width * j:width * (j + 1)])
        fields = [condensed(s) for s in symbols]
        for f, s in zip(fields, symbols):
            assert len(f) <= 9 and expand_condensed(f) == s, (f, s)
        lines.append("%3d %s" % (number, " ".join("%-9s" % f for f in fields).rstrip()))
    return lines
