"""The 727 settings of the 230 space groups, in the program's numbering.

Settings come from cctbx's table of 530 ITA settings; the ones it leaves out
(monoclinic settings that coincide with a listed one, and the orthorhombic axis
permutations that the program builds itself at load time) are made with
change-of-basis operations and checked against the tabulated ones.
"""
from dataclasses import dataclass, field

from cctbx import sgtbx

from . import ops as O
from . import orthorhombic

# Monoclinic settings, unique axis b cell choice 1 being the reference.
# A code is <axis><cell choice>; the change of basis is cell choice first
# (in the unique-axis-b frame), then the axis change.
MONO_AXES = {"b": "a,b,c", "c": "c,a,b", "a": "b,c,a",
             "-b": "-c,b,a", "-c": "a,c,-b", "-a": "b,-a,c"}
MONO_CELLS = {"1": "a,b,c", "2": "-a-c,b,a", "3": "c,b,-a-c"}
MONO_AXIS_ORDER = ["b", "c", "a", "-b", "-c", "-a"]
MONO_ONE_CELL = (3, 4, 6, 10, 11)                 # groups with one cell choice: b, c, a
TWO_ORIGINS = (48, 50, 59, 68, 70, 85, 86, 88, 125, 126, 129, 130, 133, 134,
               137, 138, 141, 142, 201, 203, 222, 224, 227, 228)
R_GROUPS = (146, 148, 155, 160, 161, 166, 167)


@dataclass
class Setting:
    number: int
    index: int                 # 1-based setting number within the group
    symbol: str                # the program's symbol, single blanks
    ita_symbol: str            # cctbx/ITA Hermann-Mauguin symbol of the setting
    code: str                  # "b1", "-c2", "ba-c", "1", "H", ... ("" for the only setting)
    choice: int                # origin or cell choice, 0 when the group offers none
    group: object              # cctbx space_group in the frame the program uses
    generated: bool = False    # orthorhombic permutation built by the loader itself
    source: "Setting" = None   # for generated settings: the spgra.dat record expanded
    perm: tuple = None         # for generated settings: the loader's Po matrix
    listed: list = field(default_factory=list)   # operator lines of the record
    centric: int = 0
    full_ops: list = field(default_factory=list)  # the loader's complete list, in order

    @property
    def lattice(self):
        return self.symbol[0]


def _table_by_number():
    table = {}
    for s in sgtbx.space_group_symbol_iterator():
        table.setdefault(s.number(), []).append(s)
    return table


def _group(symbols):
    return sgtbx.space_group(symbols.hall())


def _short_monoclinic(hm):
    """'P 1 21/c 1' -> 'P 21/c'."""
    parts = hm.split()
    rest = [p for p in parts[1:] if p != "1"]
    assert len(rest) == 1, hm
    return parts[0] + " " + rest[0]


def _monoclinic_symbol(hm, b_symbol):
    """Every unique axis carries the short symbol of its cell choice in the
    unique-axis-b frame ('P 21/c' for b1, c1, a1, -b1, -c1, -a1), so that a
    user's 'P 21/c' in a cell with gamma oblique finds the c-unique setting
    through the cell test. The lattice letter stays that of the setting itself,
    since the loader adds the centring translations by that letter."""
    return hm[0] + b_symbol[1:]


def _monoclinic(number, entries):
    by_code = {e.qualifier(): e for e in entries}
    reference = sgtbx.space_group_info(group=_group(by_code["b1" if number not in MONO_ONE_CELL else "b"]))
    cells = [""] if number in MONO_ONE_CELL else ["1", "2", "3"]
    axes = MONO_AXIS_ORDER[:3] if number in MONO_ONE_CELL else MONO_AXIS_ORDER
    b_symbols = {cell: _short_monoclinic(by_code["b" + cell].hermann_mauguin()) for cell in cells}
    result = []
    for axis in axes:
        for cell in cells:
            info = reference
            if cell:
                info = info.change_basis(sgtbx.change_of_basis_op(MONO_CELLS[cell]))
            info = info.change_basis(sgtbx.change_of_basis_op(MONO_AXES[axis]))
            group = info.group()
            code = axis + cell
            if code in by_code:
                assert _group(by_code[code]) == group, "monoclinic %d %s" % (number, code)
                hm = by_code[code].hermann_mauguin()
            else:
                # A setting cctbx does not list coincides with one it does.
                same = [e for e in entries if _group(e) == group]
                assert len(same) == 1, "monoclinic %d %s: %d matches" % (number, code, len(same))
                hm = same[0].hermann_mauguin()
            result.append(Setting(number, len(result) + 1, _monoclinic_symbol(hm, b_symbols[cell]),
                                  hm, code, int(cell) if cell else 0, group))
    return result


def _plain(number, entries):
    """Triclinic, tetragonal, trigonal, hexagonal and cubic groups."""
    if number in TWO_ORIGINS:
        order = ["1", "2"]
    elif number in R_GROUPS:
        order = ["H", "R"]
    else:
        order = ["\0"]
    by_ext = {e.extension(): e for e in entries}
    assert len(entries) == len(order) and set(by_ext) == set(order), number
    result = []
    for ext in order:
        e = by_ext[ext]
        choice = int(ext) if ext in ("1", "2") else 0
        code = "" if ext == "\0" else ext
        result.append(Setting(number, len(result) + 1, e.hermann_mauguin(), e.hermann_mauguin(),
                              code, choice, _group(e)))
    return result


def _orthorhombic_records(number, entries):
    """The abc settings that spgra.dat holds (origin choice 1, then 2)."""
    abc = [e for e in entries if e.qualifier() == ""]
    abc.sort(key=lambda e: e.extension())
    assert len(abc) == (2 if number in TWO_ORIGINS else 1), number
    result = []
    for k, e in enumerate(abc):
        choice = k + 1 if len(abc) == 2 else 0
        result.append(Setting(number, k + 1, orthorhombic.current_symbol(e.hermann_mauguin()),
                              e.hermann_mauguin(), "abc" + (":%d" % choice if choice else ""),
                              choice, _group(e)))
    return result


def _listed_operators(setting):
    """Operator lines of a record: identity first; the non-inverted half if centric at 0."""
    g = setting.group
    smx = [O.from_rt_mx(g(0, 0, i)) for i in range(g.n_smx())]
    assert smx[0].is_identity()
    if g.is_origin_centric():
        assert all(op.det() == 1 for op in smx)
        return smx, 1
    listed = list(smx)
    if g.is_centric():
        inversion = O.from_rt_mx(g(0, 1, 0))
        listed += [inversion * op for op in smx]
    return listed, 0


def _finish_record(setting):
    setting.listed, setting.centric = _listed_operators(setting)
    setting.full_ops = O.expand_record(setting.listed, setting.centric, setting.lattice, setting.index)
    _check_full_list(setting)


def _check_full_list(setting):
    full = setting.full_ops
    assert full[0].is_identity(), setting.symbol
    assert len(full) == setting.group.order_z(), \
        "%d/%d: %d operators, cctbx %d" % (setting.number, setting.index, len(full), setting.group.order_z())
    assert set(full) == O.group_ops(setting.group), "%d/%d operators differ" % (setting.number, setting.index)
    O.check_closure(full)


def all_settings():
    """Every setting, grouped by number: {number: [Setting, ...]} in the program's order."""
    table = _table_by_number()
    result = {}
    for number in range(1, 231):
        entries = table[number]
        if 3 <= number <= 15:
            settings = _monoclinic(number, entries)
        elif 16 <= number <= 74:
            settings = _orthorhombic_records(number, entries)
        else:
            settings = _plain(number, entries)
        for s in settings:
            _finish_record(s)
        if 16 <= number <= 74:
            settings += orthorhombic.expanded_settings(number, settings, entries, Setting)
            for s in settings:
                if s.generated:
                    _check_full_list(s)
        result[number] = settings
    total = sum(len(v) for v in result.values())
    assert total == 727, "%d settings" % total
    return result
