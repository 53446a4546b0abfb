#!/usr/bin/python3
"""Write the model files of the prior companion's example and tests.

examples/rutile.cif       the rutile model of examples/models.py in the data's origin
tests/data/prior/*        the same model in a shifted origin (CIF) and as SHELX .res;
                          the ZrO2 model of the .fcf tests in the data's setting
                          (P 1 21/c 1) and in the settings P 1 21/n 1 and P 1 1 21/a

The operators come from gemmi's tables; a shifted file carries the operators
and coordinates of the origin moved by SHIFT, as a database file in another
origin would.  Usage: /usr/bin/python3 tools/make_prior_models.py
"""

import dataclasses
import os
import sys
from fractions import Fraction

import gemmi
import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from examples.models import RUTILE, ZRO2  # noqa: E402

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SHIFT = (0.25, 0.25, 0.25)


def shifted_op(op, t):
    """x -> x + t applied to the operator: translation s + (I - R) t."""
    rot = [[c / 24 for c in row] for row in op.rot]
    tran = [op.tran[i] / 24 + t[i] - sum(rot[i][j] * t[j] for j in range(3)) for i in range(3)]
    o = gemmi.Op()
    o.rot = op.rot
    o.tran = [int(round(x * 24)) % 24 for x in tran]
    return o.triplet()


def cif_text(example, shift=(0.0, 0.0, 0.0), comment="", where="examples/", digits=5):
    sg = gemmi.find_spacegroup_by_name(example.space_group)
    ops = [shifted_op(op, shift) for op in sg.operations()]
    a, b, c, al, be, ga = example.cell
    lines = [f"# {example.title.split(',')[0]}: the model behind {where}{example.name}.mem.{comment}",
             f"data_{example.name}",
             f"_cell_length_a {a}", f"_cell_length_b {b}", f"_cell_length_c {c}",
             f"_cell_angle_alpha {al}", f"_cell_angle_beta {be}", f"_cell_angle_gamma {ga}",
             f"_space_group_name_H-M_alt '{example.space_group}'",
             "loop_", "_space_group_symop_operation_xyz"]
    lines += [f"'{t}'" for t in ops]
    lines += ["loop_", "_atom_site_label", "_atom_site_type_symbol", "_atom_site_fract_x",
              "_atom_site_fract_y", "_atom_site_fract_z", "_atom_site_U_iso_or_equiv", "_atom_site_occupancy"]
    for at in example.atoms:
        x = [(at.site[i] + shift[i]) % 1.0 for i in range(3)]
        ueq = sum(at.u_cif[:3]) / 3
        lines.append(f"{at.label} {at.element} {x[0]:.{digits}f} {x[1]:.{digits}f} {x[2]:.{digits}f} {ueq:.5f} 1")
    lines += ["loop_", "_atom_site_aniso_label", "_atom_site_aniso_U_11", "_atom_site_aniso_U_22",
              "_atom_site_aniso_U_33", "_atom_site_aniso_U_12", "_atom_site_aniso_U_13", "_atom_site_aniso_U_23"]
    for at in example.atoms:
        lines.append(at.label + " " + " ".join(f"{u:.{digits}f}" for u in at.u_cif))
    return "\n".join(lines) + "\n"


def op_set(ops):
    return {o.wrap().triplet() for o in ops}


def setting_change(from_group, to_group):
    """C with x_to = C x_from, checked on the operator sets, never assumed."""
    a = gemmi.find_spacegroup_by_name(from_group)
    b = gemmi.find_spacegroup_by_name(to_group)
    wanted = op_set(b.operations())
    for c in (b.basisop.inverse().combine(a.basisop), b.basisop.combine(a.basisop.inverse())):
        g = a.operations()
        g.change_basis_forward(c)
        if op_set(g) == wanted:
            return c
    raise SystemExit(f"no change of basis from {from_group} to {to_group}")


def in_setting(example, group):
    """The example in another setting of its group.  The displacements go
    through the Cartesian U of the original axes, not through the fractional
    tensor that the program transforms."""
    c = setting_change(example.space_group, group)
    rot = np.array(c.rot, dtype=float) / 24
    cell = gemmi.UnitCell(*example.cell)
    orth = np.array(cell.orth.mat.tolist())
    new_orth = orth @ np.linalg.inv(rot)            # the new basis vectors, same Cartesian frame
    new_cell = gemmi.UnitCell(*[float(np.linalg.norm(new_orth[:, i])) for i in range(3)], *[
        float(np.degrees(np.arccos(new_orth[:, j] @ new_orth[:, k] /
                                   np.linalg.norm(new_orth[:, j]) / np.linalg.norm(new_orth[:, k]))))
        for j, k in ((1, 2), (2, 0), (0, 1))])
    recip = np.array([cell.reciprocal().a, cell.reciprocal().b, cell.reciprocal().c])
    new_recip = np.linalg.norm(np.linalg.inv(new_orth), axis=1)
    atoms = []
    for at in example.atoms:
        u11, u22, u33, u12, u13, u23 = at.u_cif
        u = np.array([[u11, u12, u13], [u12, u22, u23], [u13, u23, u33]])
        u_cart = orth @ (np.outer(recip, recip) * u) @ orth.T
        frac = np.linalg.inv(new_orth)
        u_new = (frac @ u_cart @ frac.T) / np.outer(new_recip, new_recip)
        site = tuple(float(v) % 1.0 for v in c.apply_to_xyz(list(at.site)))
        atoms.append(type(at)(at.label, at.element, site,
                              (u_new[0, 0], u_new[1, 1], u_new[2, 2], u_new[0, 1], u_new[0, 2], u_new[1, 2])))
    return dataclasses.replace(example, space_group=group, atoms=tuple(atoms),
                               cell=tuple(round(v, 8) for v in new_cell.parameters)), c


def res_text(example):
    """SHELX: occupancy 10 + 1/k for a site whose symmetry has order k."""
    sg = gemmi.find_spacegroup_by_name(example.space_group)
    gops = sg.operations()
    symm = [op.triplet().upper() for op in gops.sym_ops[1:] if op.det_rot() > 0 or not sg.is_centrosymmetric()]
    a, b, c, al, be, ga = example.cell
    elements = sorted({at.element for at in example.atoms})
    lines = [f"TITL {example.name} model", f"CELL 0.71073 {a} {b} {c} {al} {be} {ga}",
             "ZERR 2 0.0001 0.0001 0.0001 0 0 0", f"LATT {1 if sg.is_centrosymmetric() else -1}"]
    lines += [f"SYMM {t}" for t in symm]
    lines += ["SFAC " + " ".join(elements), "UNIT " + " ".join("4" for _ in elements), "FVAR 1.0"]
    for at in example.atoms:
        pos = gemmi.Fractional(*at.site)
        k = sum(1 for op in gops if (lambda p: all(abs(d - round(d)) < 1e-6 for d in
                (p[0] - at.site[0], p[1] - at.site[1], p[2] - at.site[2])))(op.apply_to_xyz(list(at.site))))
        occ = 10 + float(Fraction(1, k))
        u = at.u_cif
        lines.append(f"{at.label} {elements.index(at.element) + 1} {pos.x:.5f} {pos.y:.5f} {pos.z:.5f} "
                     f"{occ:.5f} {u[0]:.5f} {u[1]:.5f} =")
        lines.append(f"    {u[2]:.5f} {u[5]:.5f} {u[4]:.5f} {u[3]:.5f}")
    lines += ["HKLF 4", "END"]
    return "\n".join(lines) + "\n"


def main():
    data = os.path.join(ROOT, "tests", "data", "prior")
    os.makedirs(data, exist_ok=True)
    with open(os.path.join(ROOT, "examples", "rutile.cif"), "w") as f:
        f.write(cif_text(RUTILE))
    with open(os.path.join(data, "rutile_shifted.cif"), "w") as f:
        f.write(cif_text(RUTILE, SHIFT, " Origin moved by 1/4,1/4,1/4."))
    with open(os.path.join(data, "rutile.res"), "w") as f:
        f.write(res_text(RUTILE))
    with open(os.path.join(data, "zro2.cif"), "w") as f:
        f.write(cif_text(ZRO2, where="tests/data/fcf/"))
    for group, name in (("P 1 21/n 1", "zro2_p21n.cif"), ("P 1 1 21/a", "zro2_p1121a.cif")):
        model, c = in_setting(ZRO2, group)
        with open(os.path.join(data, name), "w") as f:
            f.write(cif_text(model, where="tests/data/fcf/", digits=8,
                             comment=f" In the setting {group}: x' = {c.triplet()} of P 1 21/c 1."))




if __name__ == "__main__":
    main()
