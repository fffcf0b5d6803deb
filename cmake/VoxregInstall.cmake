# A header whose name starts with a lower-case letter is internal, except voxreg.h and the version.
# The folders keep their structure below include/voxreg, which is the include directory of the
# installed target, so that the headers find each other as in the source tree.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(voxreg_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/voxreg)
set(voxreg_config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/voxreg)

target_include_directories(voxreg PUBLIC $<INSTALL_INTERFACE:${voxreg_include_dir}>)

install(TARGETS voxreg EXPORT voxregTargets)
install(EXPORT voxregTargets NAMESPACE voxreg:: DESTINATION ${voxreg_config_dir})
install(FILES voxreg.h ${PROJECT_BINARY_DIR}/include/voxregVersion.h
        DESTINATION ${voxreg_include_dir})
foreach(folder IN ITEMS foundation metrics transforms functional optimizers resampling registration
                        elastic variational workflow)
  file(GLOB public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/[A-Z]*.h)
  install(FILES ${public_headers} DESTINATION ${voxreg_include_dir}/${folder})
endforeach()

configure_package_config_file(cmake/voxregConfig.cmake.in ${PROJECT_BINARY_DIR}/voxregConfig.cmake
                              INSTALL_DESTINATION ${voxreg_config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/voxregConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/voxregConfig.cmake
              ${PROJECT_BINARY_DIR}/voxregConfigVersion.cmake
        DESTINATION ${voxreg_config_dir})

# Directories in the package file may be absolute or relative to the prefix. The prefix is as many
# folders above the file as the file's own path has below it.
set(voxreg_pc_prefix ${CMAKE_INSTALL_PREFIX})
if(NOT IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  string(REGEX REPLACE "[^/]+" ".." way_up ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  set(voxreg_pc_prefix "\${pcfiledir}/${way_up}")
endif()
cmake_path(APPEND voxreg_pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND voxreg_pc_includedir "\${prefix}" ${voxreg_include_dir})
configure_file(cmake/voxreg.pc.in voxreg.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/voxreg.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
