"""Writer of the sidecar file (.facts) that states what the program must find in an example.

One "key value" line each; a value may hold several words (the cell, the grid).
End-to-end tests compare these with the program's summary and report, so every
number here is computed independently of the program: counts from the lists
written, totals from the model, the asymmetric-unit voxel count from the grid
and the operators.
"""

from .models import Example
from .structure_factors import ModelData


def model_statistics(data: ModelData):
    """R factor and reduced chi-square of the noise-free model against the written data.

    They tell what a perfect analysis would reach: the chi-square is about 1 by
    construction of the noise, and a MEM analysis stopped at CONSTR = 1 ends near
    this R factor.
    """
    residual = sum(abs(r.f_obs - r.f_model) for r in data.individual)
    residual += sum(abs(g.g_obs - g.g_model) for g in data.groups)
    total = sum(abs(r.f_obs) for r in data.individual) + sum(g.g_obs for g in data.groups)
    chi2 = sum(abs(r.f_obs - r.f_model) ** 2 / r.sigma ** 2 for r in data.individual)
    chi2 += sum((g.g_obs - g.g_model) ** 2 / g.sigma ** 2 for g in data.groups)
    return residual / total, chi2 / (len(data.individual) + len(data.groups))


def facts_text(example: Example, data: ModelData, grid, nasym: int) -> str:
    info = data.crystal_symmetry.space_group_info()
    group = info.group()
    rf, chi2 = model_statistics(data)
    cell = data.crystal_symmetry.unit_cell()
    entries = [
        ("name", example.name),
        ("title", example.title),
        ("data_file", f"{example.name}.mem"),
        ("condition_file", f"{example.name}.prf"),
        ("radiation", example.radiation),
        ("file_type", 4 if data.has_negative_density else 3),
        ("space_group_number", info.type().number()),
        ("space_group_setting", example.setting),
        ("space_group_symbol", example.space_group),
        ("centric", 1 if group.is_centric() else 0),
        ("n_sym_op", group.order_z()),
        ("cell", " ".join(f"{v:.5f}" for v in example.cell)),
        ("volume", f"{cell.volume():.4f}"),
        ("grid", f"{grid[0]} {grid[1]} {grid[2]}"),
        ("n_voxel_cell", grid[0] * grid[1] * grid[2]),
        ("n_voxel_asym", nasym),
        ("nref_f", len(data.individual)),
        ("nref_g", sum(len(g.members) for g in data.groups)),
        ("ngroups", len(data.groups)),
        ("nref_e", len(data.calculated_only)),
        ("f000_plus", f"{data.f000_plus:.4f}"),
        ("f000_minus", f"{data.f000_minus:.4f}"),
        ("lambda", f"{example.lambda0:g}"),
        ("d_min", f"{example.d_min:.3f}"),
        ("noise_floor", f"{example.noise.floor:g}"),
        ("noise_relative", f"{example.noise.relative:g}"),
        ("noise_seed", example.noise.seed),
        ("rf_model", f"{rf:.6f}"),
        ("chi2_model", f"{chi2:.6f}"),
    ]
    return "".join(f"{key} {value}\n" for key, value in entries)
