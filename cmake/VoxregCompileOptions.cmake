# Warnings are errors, and floating point means what the source says: no contraction into fused
# multiply-adds, no value-changing optimisation. GCC's straight-line vectoriser drops the rounding of
# (double)(float)x where two such values are stored side by side, so it is off.
function(voxreg_compile_options target)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wconversion -Wshadow -Werror
    -ffp-contract=off
    $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
endfunction()
