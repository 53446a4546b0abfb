"""Writer of the condition file (.prf) that runs an example without questions.

The layout is the one the program writes itself when it saves its settings: the
reader counts value lines (lines whose first word does not start with '#'), so
the order of the values is what matters, and the comment texts are the program's
own explanations of each value.  The data file is named relative to the
condition file, which makes the example run from any working directory.
"""

from .models import Example

ALGORITHM_ZSPA = 0
LM_TYPE_FROM_DATA_FILE = 2     # the starting lambda stands in the .mem file
WEIGHT_POWER_D = 0.0           # no extra weighting by lattice-plane spacing
COEF_T = 0.05                  # relative growth of lambda per accepted cycle
COEF_E = 1.0                   # sigmas used as they stand
FEEDBACK_ALL = 1
EPS_FILE_YES = 0
LAMBDA_FRACTIONS = (1, 0, 0, 0, 0, 0, 0, 0)   # the ordinary chi-square constraint only
UNIFORM = 0

OPTION_DATA_FILE = "# The name of the MEM data set file (*.fos, *.mem, *.fcf, *.BayMEM) or condition file (*.prf)."
OPTION_TYPE = ("# The type of the MEM data set file.\n"
               "# 0. (a) X-ray diffraction data or (b) neutron diffraction data of a compound\n"
               "#    containing no element with a negative bc value.\n"
               "# 1. Neutron diffraction data of a compound containing at least one element\n"
               "#    with a negative bc value.")
OPTION_START = ("# From which densities will you start?\n"
                "# 0. Uniform densities.\n"
                "# 1. Restart from densities recorded in the 3D densities file (*.pgrid).")
OPTION_ALGORITHM = ("# Optimization algorithm.\n"
                    "# 0. 0th order single-pixel approximation (ZSPA).\n"
                    "# 1. The Limited-memory BFGS algorithm (L-BFGS).\n"
                    "# 2. The Cambridge algorithm (Obsolete).")
OPTION_G = ("# Will you use the G-constraint?.\n"
            "# (This option is a dummy to keep backward compatibility with TALMO.)")
OPTION_LM_TYPE = "# Which initial Lagrangian multiplier will you use (LM_type)?"
OPTION_LAMBDA = "# The initial Lagrangian multiplier, lambda"
OPTION_WEIGHT = ("# A parameter x to impose weighting factors on the basis of\n"
                 "# lattice-plane spacing.")
OPTION_T = "# The coefficient, t, to adjust the Lagrangian multiplier."
OPTION_E = ("# The coefficient, E, to adjust estimated standard uncertainty of\n"
            "# structure factors.")
OPTION_FEEDBACK = ("# Will you save a feedback data file?\n"
                   "# 0. Yes (output only individual F data).\n"
                   "# 1. Yes (output all the F data including those for grouped reflections\n"
                   "#    and estimated for unobserved reflections).\n"
                   "# 2. No.")
OPTION_EPS = ("# Will you save a e(GAUSS) distribution data file?\n"
              "# 0. Yes (raw data file, * eps.raw).\n"
              "# 1. No.")
OPTION_FRACTIONS = ("# Fractions of lambda for generalized constraints.\n"
                    "# (8 parameters; l_2, l_4, l_6, l_8, l_10, l_12, l_14, l_16)")
OPTION_PRIOR = ("# Which prior densities will you use?\n"
                "# 0. Uniform densities.\n"
                "# 1. Densities recorded in the 3D densities file (*_prior.pgrid).")
OPTION_CYCLES = "# Maximum number of cycles."
OPTION_RESOLUTION = "# The grid resolution (angstrom), for data sets without grid numbers."


def _value(option: str, value) -> str:
    return f"{option}\n{value}\n\n"


def prf_text(example: Example, negative_density: bool, data_file: str = None,
             lm_type: int = LM_TYPE_FROM_DATA_FILE, resolution: float = None) -> str:
    """A data file without a multiplier (.fcf) needs lm_type 0; without a grid, a resolution."""
    stem = example.name
    data_file = data_file or f"{stem}.mem"
    fractions = " ".join(f"{f:g}" for f in LAMBDA_FRACTIONS)
    return "".join([
        f"# Condition file of the example '{stem}'; see examples/README.md.\n\n",
        "$PREFERENCES\n\n",
        f"{OPTION_DATA_FILE}\n",
        f"{data_file}\n",
        f"{stem}.out\n",
        f"{stem}.pgrid\n",
        f"{stem}.fba\n",
        f"{stem}_eps.raw\n\n",
        _value(OPTION_TYPE, 1 if negative_density else 0),
        _value(OPTION_START, UNIFORM),
        _value(OPTION_ALGORITHM, ALGORITHM_ZSPA),
        _value(OPTION_G, 1),
        f"{OPTION_LM_TYPE}\n",
        "# 0. The value written in this file.\n",
        "# 1. The value calculated by Halvorin.\n",
        "# 2. The value written in the MEM data set file.\n",
        f"{lm_type}\n\n",
        f"{OPTION_LAMBDA} (dummy if LM_type = 1 or 2), and\n",
        _value(OPTION_WEIGHT, f"{example.lambda0:g} {WEIGHT_POWER_D:g}"),
        _value(OPTION_T, f"{COEF_T:g}"),
        _value(OPTION_E, f"{COEF_E:g}"),
        _value(OPTION_FEEDBACK, FEEDBACK_ALL),
        _value(OPTION_EPS, EPS_FILE_YES),
        _value(OPTION_CYCLES, example.max_cycles),
        "# Save output files (dummy)\n1\n\n",
        _value(OPTION_FRACTIONS, fractions),
        _value(OPTION_PRIOR, UNIFORM),
        f"{OPTION_RESOLUTION}\n{resolution:g}\n" if resolution else "",
    ])
