# Kernels compiled again for each larger instruction set, never with fused multiply-adds, and the
# sources that select one. GCC 12 warns about the undefined operands in its own AVX-512 header as if
# they were the caller's.
function(voxreg_instruction_set_sources)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "AVX2;AVX512" "CHOICE")
  if(NOT (CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64" AND CMAKE_SIZEOF_VOID_P EQUAL 8))
    return()
  endif()
  target_sources(voxreg PRIVATE ${ARG_AVX2} ${ARG_AVX512})
  set_source_files_properties(${ARG_CHOICE} TARGET_DIRECTORY voxreg
    PROPERTIES COMPILE_DEFINITIONS VOXREG_X86_KERNELS)
  set_source_files_properties(${ARG_AVX2} TARGET_DIRECTORY voxreg
    PROPERTIES COMPILE_OPTIONS "-mavx2;-mno-fma")
  set_source_files_properties(${ARG_AVX512} TARGET_DIRECTORY voxreg
    PROPERTIES COMPILE_OPTIONS "-mavx512f;-mavx512dq;-mavx512bw;-mavx512vl;-mprefer-vector-width=512;$<$<CXX_COMPILER_ID:GNU>:-Wno-uninitialized;-Wno-maybe-uninitialized>")
endfunction()
