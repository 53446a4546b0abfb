"""Map checks of the Patterson route, called by patterson_route.sh.

  patterson_check.py against MAPS XSF...   each XSF map correlates with the model's
                                           Patterson function better than the
                                           Fourier synthesis of the data does
  patterson_check.py same PGRID PGRID      two grid files hold the same map"""
import struct
import sys


def correlation(a, b):
    n = len(a)
    ma, mb = sum(a) / n, sum(b) / n
    sab = sum((x - ma) * (y - mb) for x, y in zip(a, b))
    saa = sum((x - ma) ** 2 for x in a)
    sbb = sum((y - mb) ** 2 for y in b)
    return sab / (saa * sbb) ** 0.5


def xsf_cell(path):
    """The values of an XSF periodic grid without its repeated last plane of each axis, x fastest."""
    lines = open(path).read().split("BEGIN_DATAGRID_3D_density")[1].split("END_DATAGRID_3D")[0].split("\n")
    nx, ny, nz = map(int, lines[1].split())
    values = [float(v) for line in lines[6:] for v in line.split()]
    return [values[(z * ny + y) * nx + x] for z in range(nz - 1) for y in range(ny - 1) for x in range(nx - 1)]


def against(maps, *xsf):
    rows = [line.split() for line in open(maps) if not line.startswith("#")]
    model = [float(r[0]) for r in rows]
    fourier = correlation(model, [float(r[1]) for r in rows])
    for path in xsf:
        mem = correlation(model, xsf_cell(path))
        print(f"{path}: correlation with the model's Patterson {mem:.4f}, Fourier synthesis {fourier:.4f}")
        assert mem > fourier, f"{path}: the MEM map is no closer to the Patterson than the synthesis"


def pgrid_values(path):
    data = open(path, "rb").read()
    nasym = struct.unpack_from("<i", data, 124)[0]
    nops = struct.unpack_from("<i", data, 152)[0]
    start = 164 + 48 * nops + 12
    # Each voxel: its index, then one float.
    return [struct.unpack_from("<f", data, start + 8 * i + 4)[0] for i in range(nasym)]


def same(a, b):
    r = correlation(pgrid_values(a), pgrid_values(b))
    print(f"{a} against {b}: correlation {r:.7f}")
    assert r >= 0.99999, "the two routes give different maps"


if __name__ == "__main__":
    {"against": against, "same": same}[sys.argv[1]](*sys.argv[2:])
