# One test program per library, with its sources; each sees only the layers it builds on.
halvorin_test(util "hv_util"
  util/util_test.cpp
)
halvorin_test(numeric "hv_numeric"
  numeric/numeric_test.cpp
)
halvorin_test(crystal "hv_crystal"
  crystal/every_setting_test.cpp
  crystal/table_files_test.cpp
  crystal/unit_cell_test.cpp
)
halvorin_test(settings "hv_settings"
  settings/conditionfile_test.cpp
  settings/dialogue_test.cpp
)
halvorin_test(engine "hv_engine"
  engine/analysis_fixture.cpp
  engine/blocks/block_loops_test.cpp
  engine/blocks/voxel_asymmetric_unit_test.cpp
  engine/constraints/constraint_test.cpp
  engine/optimisers/dual_newton_test.cpp
  engine/optimisers/full_optimisers_test.cpp
  engine/optimisers/lbfgs_minimiser_test.cpp
  engine/optimisers/scalar_root_test.cpp
  engine/optimisers/zspa_test.cpp
  engine/outputs/output_files_test.cpp
  engine/outputs/output_histogram_test.cpp
  engine/readers/alb_route_test.cpp
  engine/readers/readers_test.cpp
  engine/readers/readmem_test.cpp
  engine/reflection_lists_test.cpp
  engine/reflection_reference_test.cpp
  engine/transforms/cell_transform_test.cpp
  engine/transforms/fourier_paths_test.cpp
)
halvorin_test(map "hv_map"
  map/section_test.cpp
)
halvorin_test(prior "hv_prior;hv_map"
  prior/prior_test.cpp
)
