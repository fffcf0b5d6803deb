# The compiler must not change floating-point results: no contraction into fused multiply-adds, no
# value-changing optimisation. GCC's straight-line vectoriser drops the rounding of (double)(float)x
# when two such values are stored next to each other, so it is off. If a host sets neither a build
# type nor optimisation flags, these targets are still optimised.
set(voxreg_own_optimisation)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES AND NOT CMAKE_CXX_FLAGS MATCHES "-O")
  separate_arguments(voxreg_own_optimisation UNIX_COMMAND "${CMAKE_CXX_FLAGS_RELEASE}")
endif()

function(voxreg_compile_options target)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE
    ${voxreg_own_optimisation}
    -Wall -Wextra -Wconversion -Wshadow
    $<$<BOOL:${VOXREG_WARNINGS_AS_ERRORS}>:-Werror>
    -ffp-contract=off
    $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
endfunction()
