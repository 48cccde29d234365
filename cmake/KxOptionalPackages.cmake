# Packages without which the library and the tool are built all the same.

set(KX_MISSING_PACKAGES "" CACHE INTERNAL "What this configuration had to leave out; scripts/build reads it")

# Sets `result` to whether all the packages are there; those that are not are noted in KX_MISSING_PACKAGES.
function(kx_find_optional result)
    set(${result} TRUE PARENT_SCOPE)
    foreach(package IN LISTS ARGN)
        find_package(${package} QUIET)
        if(NOT ${package}_FOUND)
            message(STATUS "${package} is not installed; what needs it is left out")
            set(KX_MISSING_PACKAGES "${KX_MISSING_PACKAGES} ${package}" CACHE INTERNAL "")
            set(${result} FALSE PARENT_SCOPE)
        endif()
    endforeach()
endfunction()
