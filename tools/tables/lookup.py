"""Replays the program's symbol lookup on the generated table.

Used to make sure that every Laue (Patterson) symbol the program forms from a
setting, and every setting's own symbol, is found again, in a cell shaped like
that setting's, and that it lands on a setting of the intended group.
"""
from . import ops as O

TWO_ORIGINS = (48, 50, 59, 68, 70, 85, 86, 88, 125, 126, 129, 130, 133, 134,
               137, 138, 141, 142, 201, 203, 222, 224, 227, 228)
EIGHTEEN = (5, 7, 8, 9, 12, 13, 14, 15)


def laue_symbol(number, name):
    """The symbol the program forms for the Patterson symmetry of a setting."""
    if number >= 207:
        s = "m -3 m"
    elif number >= 195:
        s = "m -3"
    elif number >= 177:
        s = "6/m m m"
    elif number >= 168:
        s = "6/m"
    elif number >= 149:
        s = "-3 m" if name[0] == "R" else ("-3 m 1" if name[-1] == "1" else "-3 1 m")
    elif number >= 143:
        s = "-3"
    elif number >= 89:
        s = "4/m m m"
    elif number >= 75:
        s = "4/m"
    elif number >= 16:
        s = "m m m"
    elif number >= 3:
        s = "2/m"
    else:
        s = "-1"
    return "%c %s" % (name[0], s)


def cell_for(setting):
    """(a, b, c, alpha, beta, gamma) shaped like the setting: oblique unique axis, R axes."""
    a, b, c, al, be, ga = 5.0, 6.0, 7.0, 90.0, 90.0, 90.0
    code = setting.code.lstrip("-")
    if 3 <= setting.number <= 15:
        if code.startswith("b"):
            be = 100.0
        elif code.startswith("c"):
            ga = 100.0
        else:
            al = 100.0
    if setting.code == "R":
        a = b = c = 5.0
        al = be = ga = 80.0
    return a, b, c, al, be, ga


def _monoclinic_takes(number, s, cell):
    al, be, ga = (abs(v - 90.0) >= 1.1920929e-07 for v in cell[3:])
    if number in EIGHTEEN:
        return (be and (s <= 2 or 9 <= s <= 11)) or (ga and (3 <= s <= 5 or 12 <= s <= 14)) or \
               (al and (6 <= s <= 8 or 15 <= s <= 17))
    passed_over = (not al and not be and ga and s == 0) or (al and not be and not ga and s in (0, 1))
    return not passed_over


def _scan(names, symbol, setting_asked, cell):
    for number in range(1, 231):
        for s, name in enumerate(names[number]):
            if name != symbol or setting_asked not in (s + 1, 1):
                continue
            if 3 <= number <= 15 and not _monoclinic_takes(number, s, cell):
                continue
            return number, s + 1
    return 0, setting_asked


def standard_name(names, symbol, cell):
    """(number, setting) as the program's lookup with the second origin preferred finds them."""
    if symbol[0] == "R" and "h" in symbol:
        symbol = symbol[:symbol.index("h")]
    symbol = symbol.rstrip()
    setting = 1
    if symbol[0] == "R" and abs(cell[0] - cell[2]) < 1e-6 and abs(cell[1] - cell[2]) < 1e-6:
        setting = 2
    number, setting = _scan(names, symbol, setting, cell)
    if number in TWO_ORIGINS:
        number, setting = _scan(names, symbol, setting + 1, cell)
    return number, setting


def patterson_ops(setting):
    """Rotation parts with and without inversion, under the setting's lattice translations."""
    centring = {op.t for op in setting.full_ops if op.r == O.IDENTITY.r}
    return {O.Op([[sign * v for v in row] for row in op.r], t)
            for op in setting.full_ops for sign in (1, -1) for t in centring}


def check(settings):
    names = {n: [s.symbol for s in group] for n, group in settings.items()}
    laue_group = {}
    for number, group in settings.items():
        for setting in group:
            cell = cell_for(setting)
            found = standard_name(names, setting.symbol, cell)
            assert found[0] == number, (setting.symbol, number, found)
            patterson = laue_symbol(number, setting.symbol)
            n, s = standard_name(names, patterson, cell)
            assert n != 0, "Patterson symbol %r of %d/%d not found" % (patterson, number, setting.index)
            target = settings[n][s - 1]
            assert target.lattice == setting.lattice, patterson
            assert patterson_ops(setting) == O.group_ops(target.group), \
                "%d/%d: %r is not its Laue group" % (number, setting.index, patterson)
            laue_group[patterson] = n
    return laue_group
