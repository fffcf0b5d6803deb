# nifticlib comes without a package file of its own: this gives NIFTI::niftiio.
find_path(NIFTI_INCLUDE_DIR nifti1_io.h PATH_SUFFIXES nifti)
find_library(NIFTI_LIBRARY niftiio)
find_library(NIFTI_ZNZ_LIBRARY znz)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(NIFTI
  REQUIRED_VARS NIFTI_LIBRARY NIFTI_ZNZ_LIBRARY NIFTI_INCLUDE_DIR)
mark_as_advanced(NIFTI_INCLUDE_DIR NIFTI_LIBRARY NIFTI_ZNZ_LIBRARY)

if(NIFTI_FOUND AND NOT TARGET NIFTI::niftiio)
  add_library(NIFTI::niftiio UNKNOWN IMPORTED)
  set_target_properties(NIFTI::niftiio PROPERTIES
    IMPORTED_LOCATION ${NIFTI_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${NIFTI_INCLUDE_DIR}
    INTERFACE_LINK_LIBRARIES ${NIFTI_ZNZ_LIBRARY})
endif()
