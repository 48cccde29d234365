# Finds the library for universally unique identifiers; defines LibUuid_FOUND and the target LibUuid::LibUuid.
find_path(LibUuid_INCLUDE_DIR uuid/uuid.h)
find_library(LibUuid_LIBRARY uuid)
mark_as_advanced(LibUuid_INCLUDE_DIR LibUuid_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibUuid REQUIRED_VARS LibUuid_LIBRARY LibUuid_INCLUDE_DIR)
if(LibUuid_FOUND AND NOT TARGET LibUuid::LibUuid)
    add_library(LibUuid::LibUuid UNKNOWN IMPORTED)
    set_target_properties(LibUuid::LibUuid PROPERTIES IMPORTED_LOCATION "${LibUuid_LIBRARY}"
                                                      INTERFACE_INCLUDE_DIRECTORIES "${LibUuid_INCLUDE_DIR}")
endif()
