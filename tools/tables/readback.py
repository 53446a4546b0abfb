"""Reads the written files back the way the program's loader does, and compares.

This guards the formats: fixed-width integer fields, symbol words, record and
block ends, the orthorhombic expansion from spgro.dat, and operator text that
must parse to the intended operators.
"""
from cctbx import sgtbx

from . import ops as O
from . import orthorhombic


def _scan_int(line, pos, width):
    """scanf "%<width>i": blanks skipped first, then at most width characters."""
    while pos < len(line) and line[pos] in " \t":
        pos += 1
    start = pos
    while pos < len(line) and pos - start < width and (line[pos].isdigit() or (pos == start and line[pos] in "+-")):
        pos += 1
    return int(line[start:pos]), pos


def parse_header(line):
    """The five integers and the symbol of a record or block header."""
    values, pos = [], 0
    for _ in range(5):
        v, pos = _scan_int(line, pos, 3)
        values.append(v)
    words = line[pos:].split()[:4]
    return values, " ".join(words)


def _parse_op(text):
    return O.from_rt_mx(sgtbx.rt_mx(text, "", 1, O.UNIT))


def read_spgra(lines):
    records, i = {}, 0
    while i < len(lines):
        (number, setting, _, centric, count), symbol = parse_header(lines[i])
        listed = [_parse_op(t) for t in lines[i + 2:i + 2 + count]]
        records.setdefault(number, []).append((symbol, centric, listed, setting))
        i += 2 + count
    return records


def read_wyckoff(lines):
    blocks, i = {}, 0
    while i < len(lines):
        (number, setting, _, _, _), _ = parse_header(lines[i])
        i += 1
        positions = []
        while len(lines[i]) > 1:
            fields = lines[i].split("\t")
            first = lines[i + 1].replace("(", " ").replace(")", " ").split()[0]
            positions.append((int(fields[0]), fields[1], _parse_op(first)))
            i += 2
            while "(" in lines[i]:
                i += 1
        blocks[(number, setting)] = positions
        i += 1
    return blocks


def check(settings, spgro, spgra, wyckoff):
    records = read_spgra(spgra)
    columns = [line.split()[1:] for line in spgro]
    assert len(columns) == 59 and all(len(c) == 6 for c in columns)
    for number in range(1, 231):
        expected = settings[number]
        loaded = []
        for symbol, centric, listed, setting in records[number]:
            loaded.append((symbol, O.expand_record(listed, centric, symbol[0], setting)))
        if 16 <= number <= 74:
            sources = list(loaded)
            for j, perm in enumerate(orthorhombic.PO):
                name = orthorhombic.expand_condensed(columns[number - 16][j + 1])
                loaded += [(name, [O.transform(w, perm) for w in ops]) for _, ops in sources]
        assert len(loaded) == len(expected), number
        for s, (symbol, ops) in zip(expected, loaded):
            assert symbol == s.symbol and ops == s.full_ops, (number, s.index)
    blocks = read_wyckoff(wyckoff)
    assert len(blocks) == 727
    return blocks
