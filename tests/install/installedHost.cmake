function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${SCRATCH}/prefix)

file(GLOB_RECURSE internal RELATIVE ${SCRATCH}/prefix/include/voxreg
     ${SCRATCH}/prefix/include/voxreg/*/[a-z]*.h)
if(internal)
  message(FATAL_ERROR "internal headers are installed: ${internal}")
endif()

file(GLOB_RECURSE installed LIST_DIRECTORIES true ${SCRATCH}/prefix/*)
foreach(path IN LISTS installed)
  file(GLOB content ${path}/*)
  if(IS_DIRECTORY ${path} AND NOT content)
    message(FATAL_ERROR "an empty folder is installed: ${path}")
  endif()
endforeach()

# Beside a shared library, where the command-line host is built.
if(EXISTS ${SCRATCH}/prefix/bin/voxreg)
  run(${SCRATCH}/prefix/bin/voxreg --version)
endif()

run(${CMAKE_COMMAND} -S ${HOST} -B ${SCRATCH}/host -G Ninja -D CMAKE_PREFIX_PATH=${SCRATCH}/prefix
    -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_CXX_FLAGS=${FLAGS} -D WANTED_VERSION=${VERSION})
run(${CMAKE_COMMAND} --build ${SCRATCH}/host)
run(${SCRATCH}/host/host)

file(GLOB_RECURSE package_file ${SCRATCH}/prefix/*/voxreg.pc)
cmake_path(GET package_file PARENT_PATH package_dir)
set(ENV{PKG_CONFIG_PATH} ${package_dir})
execute_process(COMMAND pkg-config --static --cflags --libs voxreg
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(compiler_flags UNIX_COMMAND "${FLAGS}")
run(${COMPILER} -std=c++20 ${compiler_flags} ${HOST}/host.cpp -o ${SCRATCH}/pkg-config-host ${flags})
cmake_path(GET package_dir PARENT_PATH library_dir)
set(ENV{LD_LIBRARY_PATH} ${library_dir})
run(${SCRATCH}/pkg-config-host)
