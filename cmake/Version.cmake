# Reads the version from the first line of Packaging/changelog. It applies to the programs, the libraries, the CMake package,
# the Debian packages and the Python package.
set(CHANGELOG ${CMAKE_CURRENT_LIST_DIR}/../Packaging/changelog)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CHANGELOG})
file(STRINGS ${CHANGELOG} first_line LIMIT_COUNT 1)
if(NOT first_line MATCHES "^[a-z-]+ \\(([0-9]+\\.[0-9]+\\.[0-9]+)\\) ")
    message(FATAL_ERROR "${CHANGELOG}: expected \"PACKAGE (MAJOR.MINOR.PATCH) ...\" in the first line, got \"${first_line}\"")
endif()
set(ZENTRAVOX_VERSION ${CMAKE_MATCH_1})
