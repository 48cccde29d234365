# Finds the parser for HTTP messages; defines LibHttpParser_FOUND and the target LibHttpParser::LibHttpParser.
find_path(LibHttpParser_INCLUDE_DIR http_parser.h)
find_library(LibHttpParser_LIBRARY http_parser)
mark_as_advanced(LibHttpParser_INCLUDE_DIR LibHttpParser_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibHttpParser REQUIRED_VARS LibHttpParser_LIBRARY LibHttpParser_INCLUDE_DIR)
if(LibHttpParser_FOUND AND NOT TARGET LibHttpParser::LibHttpParser)
    add_library(LibHttpParser::LibHttpParser UNKNOWN IMPORTED)
    set_target_properties(LibHttpParser::LibHttpParser PROPERTIES
                          IMPORTED_LOCATION "${LibHttpParser_LIBRARY}"
                          INTERFACE_INCLUDE_DIRECTORIES "${LibHttpParser_INCLUDE_DIR}")
endif()
