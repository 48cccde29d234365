# The one place that says how the project's targets are compiled.

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
find_package(Threads REQUIRED)

# The folder of the platform layer that fits the system; nothing else depends on the system's name.
if(WIN32)
    set(KX_PLATFORM windows)
else()
    set(KX_PLATFORM posix)
endif()

# Language level, warnings and sanitizers of every target of the project.
function(kx_compile_settings target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    if(KX_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(KX_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${KX_SANITIZE} -fno-omit-frame-pointer
                                                 -fno-sanitize-recover=all)
        target_link_options(${target} PUBLIC -fsanitize=${KX_SANITIZE})
    endif()
endfunction()
