"""Independent checks of halvorin-map's outputs, called by map_companion.sh.

  map_check.py peaks NAME SUMMARY NX NY NZ   peaks lie on the example's atoms
  map_check.py ccp4 MAP SG NX NY NZ CHARGE SIGN   gemmi reads the map back
  map_check.py png PICTURE CONSOLE            atoms bright, gaps dark
  map_check.py p1grid MAP GRID                a grid file of the whole cell, no operators

Exit status 77 when the module a check needs is missing."""
import re
import struct
import sys
import zlib

# Every atom of the cell, fractional, from the structures the examples were made of.
X, U = 0.30478, 0.3825
SITES = {
    "rutile": {"Ti": [(0, 0, 0), (.5, .5, .5)],
               "O": [(X, X, 0), (-X, -X, 0), (.5 + X, .5 - X, .5), (.5 - X, .5 + X, .5)]},
    "zno": {"Zn": [(1 / 3, 2 / 3, 0), (2 / 3, 1 / 3, .5)], "O": [(1 / 3, 2 / 3, U), (2 / 3, 1 / 3, .5 + U)]},
}
SITES["rutile_n"] = SITES["rutile"]


def voxels_apart(a, b, grid):
    """The largest separation along an axis, in voxels, across the cell edges."""
    return max(abs((p - q + .5) % 1 - .5) * n for p, q, n in zip(a, b, grid))


def peaks(name, summary, *grid):
    grid = [int(n) for n in grid]
    rows = re.findall(r"^\s+\d+\s+(\S+)\s+(\S+)\s+(\S+)\s+\S+\s+\d+$", open(summary).read(), re.M)
    # Two kinds of atom in each example: the two largest peaks are one of each.
    found = [tuple(map(float, r)) for r in rows[:2]]
    kinds = set()
    for p in found:
        near, kind = min((voxels_apart(p, s, grid), k) for k, sites in SITES[name].items() for s in sites)
        assert near <= 1.0, f"{name}: peak {p} is {near:.2f} voxels from the nearest atom"
        kinds.add(kind)
    assert len(kinds) == 2, f"{name}: the two largest peaks are on the same kind of atom"


def ccp4(path, sg, nx, ny, nz, charge, sign):
    try:
        import gemmi
    except ImportError:
        sys.exit(77)
    m = gemmi.read_ccp4_map(path)
    g = m.grid
    assert (g.nu, g.nv, g.nw) == (int(nx), int(ny), int(nz)), g
    assert g.spacegroup.number == int(sg), g.spacegroup
    assert m.header_i32(17) == 1 and m.header_i32(18) == 2 and m.header_i32(19) == 3, "axis order"
    values = [g.get_value(u, v, w) for w in range(g.nw) for v in range(g.nv) for u in range(g.nu)]
    total = sum(values) * g.unit_cell.volume / len(values)
    assert abs(total - float(charge)) < 1e-4 * max(1.0, abs(float(charge))), f"integral {total}, F(000) {charge}"
    assert all(float(sign) * v >= 0 for v in values), "a value of the wrong sign"
    for point in range(0, len(values), 97):
        u, v, w = point % g.nu, point // g.nu % g.nv, point // g.nu // g.nv
        for op in g.spacegroup.operations():
            f = op.apply_to_xyz([u / g.nu, v / g.nv, w / g.nw])
            image = g.get_value(round(f[0] * g.nu), round(f[1] * g.nv), round(f[2] * g.nw))
            assert image == values[point], f"{(u, v, w)} and its image under {op.triplet()} differ"


def p1grid(path, out):
    """The map as a grid file without operators, with reserved header bytes."""
    try:
        import gemmi
    except ImportError:
        sys.exit(77)
    g = gemmi.read_ccp4_map(path).grid
    values = [g.get_value(u, v, w) for w in range(g.nw) for v in range(g.nv) for u in range(g.nu)]
    c = g.unit_cell
    header = struct.pack("<4i", 3, 0, 0, 4) + b"\xff" * 4 + b"whole cell".ljust(80, b"\0")
    header += struct.pack("<8i6f", 1, 0, 1, 3, g.nu, g.nv, g.nw, len(values), c.a, c.b, c.c, c.alpha, c.beta, c.gamma)
    open(out, "wb").write(header + struct.pack(f"<{len(values)}f", *values))


def read_png(path):
    data = open(path, "rb").read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG file"
    pos, idat = 8, b""
    while pos < len(data):
        n = int.from_bytes(data[pos:pos + 4], "big")
        kind, body = data[pos + 4:pos + 8], data[pos + 8:pos + 8 + n]
        if kind == b"IHDR":
            width, height, depth, colour = int.from_bytes(body[:4], "big"), int.from_bytes(body[4:8], "big"), body[8], body[9]
            assert (depth, colour) == (8, 2), "expected 8-bit RGB"
        elif kind == b"IDAT":
            idat += body
        pos += 12 + n
    raw, stride, rows, prev = zlib.decompress(idat), 3 * width, [], bytearray(3 * width)
    for y in range(height):
        kind, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            a, b, c = line[i - 3] if i >= 3 else 0, prev[i], prev[i - 3] if i >= 3 else 0
            pa, pb, pc = abs(b - c), abs(a - c), abs(a + b - 2 * c)
            predictor = [0, a, b, (a + b) // 2, a if pa <= pb and pa <= pc else b if pb <= pc else c][kind]
            line[i] = (line[i] + predictor) & 255
        rows.append(line)
        prev = line
    return width, height, rows


def png(path, console):
    m = re.search(r"Picture: .*, (\d+) x (\d+) pixels; plot area columns (\d+)\.\.(\d+), rows (\d+)\.\.(\d+), "
                  r"X (\S+)\.\.(\S+) A, Y (\S+)\.\.(\S+) A", open(console).read())
    width, height, left, right, top, bottom = map(int, m.groups()[:6])
    x0, x1, y0, y1 = map(float, m.groups()[6:])
    w, h, rows = read_png(path)
    assert (w, h) == (width, height), f"{w} x {h} pixels, console says {width} x {height}"

    def brightness(x, y):  # at plane coordinates in angstrom, the brightest of 3 x 3 pixels
        i = left + round((x - x0) / (x1 - x0) * (right - left + 1) - .5)
        j = top + round((y1 - y) / (y1 - y0) * (bottom - top + 1) - .5)
        return max(sum(rows[j + dj][3 * (i + di):3 * (i + di) + 3]) for di in (-1, 0, 1) for dj in (-1, 0, 1))

    a = x1 - x0  # the rutile section z = 1/2 spans one square of side a
    ti = brightness(a / 2, a / 2)
    oxygen = [brightness(a * (.5 - X), a * (.5 + X)), brightness(a * (.5 + X), a * (.5 - X))]
    gaps = [brightness(a / 4, a / 4), brightness(3 * a / 4, 3 * a / 4)]
    assert ti > max(oxygen) and min(oxygen) > max(gaps), f"Ti {ti}, O {oxygen}, gaps {gaps}"


if __name__ == "__main__":
    {"peaks": peaks, "ccp4": ccp4, "png": png, "p1grid": p1grid}[sys.argv[1]](*sys.argv[2:])
