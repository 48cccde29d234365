# libbacktrace, which reads functions and lines out of debug information; it comes with the development files of
# gcc. Without it crash reports name exported functions only.
include(CheckCXXSourceCompiles)

execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libbacktrace.a
                OUTPUT_VARIABLE archive OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
cmake_path(GET archive PARENT_PATH folder)
# Behind all other folders: beside the header stand those of gcc itself, which are not for other compilers.
set(KX_BACKTRACE_OPTIONS -idirafter ${folder}/include)

set(CMAKE_REQUIRED_FLAGS "-idirafter ${folder}/include")
set(CMAKE_REQUIRED_LIBRARIES backtrace)
check_cxx_source_compiles("
    #include <backtrace.h>
    int main() { return backtrace_create_state(nullptr, 1, nullptr, nullptr) == nullptr; }" KX_HAVE_BACKTRACE)
unset(CMAKE_REQUIRED_FLAGS)
unset(CMAKE_REQUIRED_LIBRARIES)
if(NOT KX_HAVE_BACKTRACE)
    message(STATUS "libbacktrace is not installed; crash reports go without source lines")
endif()

# Lets a source of a target use it.
function(kx_use_backtrace target source)
    if(KX_HAVE_BACKTRACE)
        set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${KX_BACKTRACE_OPTIONS}"
                                                         COMPILE_DEFINITIONS KX_HAVE_BACKTRACE)
        target_link_libraries(${target} PUBLIC backtrace)
    endif()
endfunction()
