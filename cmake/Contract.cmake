# Writes the requests' names, as Src/Contract/Contract.json has them, into the build tree for C++ to include.
set(CONTRACT_FILE ${PROJECT_SOURCE_DIR}/Src/Contract/Contract.json)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CONTRACT_FILE})

file(READ ${CONTRACT_FILE} contract)
string(JSON messages GET "${contract}" messages)
string(JSON count LENGTH "${messages}")
math(EXPR last "${count} - 1")
set(rows "")
foreach(place RANGE ${last})
    string(JSON code GET "${messages}" ${place} code)
    string(JSON name GET "${messages}" ${place} name)
    string(APPEND rows "{Code(${code}), \"${name}\"},\n")
endforeach()
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/contract/Contract/Names.inc CONTENT "${rows}" @ONLY)

add_library(Contract INTERFACE)
target_include_directories(Contract INTERFACE ${CMAKE_BINARY_DIR}/contract)
