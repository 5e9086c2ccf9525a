# Reads Src/Contract/Contract.json for C++. Targets that link Contract can include Contract/Names.inc, which lists the code
# and the name of each request. They have the contract's version as the text ZENTRAVOX_CONTRACT_VERSION, and the keys of
# secret values, separated by spaces, as ZENTRAVOX_SECRET_KEYS.
set(CONTRACT_FILE ${PROJECT_SOURCE_DIR}/Src/Contract/Contract.json)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CONTRACT_FILE})

file(READ ${CONTRACT_FILE} contract)
string(JSON messages GET "${contract}" messages)
string(JSON count LENGTH "${messages}")
math(EXPR last "${count} - 1")
set(rows "")
foreach(index RANGE ${last})
    string(JSON code GET "${messages}" ${index} code)
    string(JSON name GET "${messages}" ${index} name)
    string(APPEND rows "{Code(${code}), \"${name}\"},\n")
endforeach()
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/contract/Contract/Names.inc CONTENT "${rows}" @ONLY)

string(JSON contract_version GET "${contract}" version)

# The schema of a secret has no nested objects.
string(REGEX MATCHALL "\"[A-Za-z]+\": {[^{}]*\"writeOnly\": true" secrets "${contract}")
list(TRANSFORM secrets REPLACE "^\"([A-Za-z]+)\".*" "\\1")
list(REMOVE_DUPLICATES secrets)
list(JOIN secrets " " secrets)

add_library(Contract INTERFACE)
target_include_directories(Contract INTERFACE ${CMAKE_BINARY_DIR}/contract)
target_compile_definitions(Contract INTERFACE ZENTRAVOX_CONTRACT_VERSION="${contract_version}"
    ZENTRAVOX_SECRET_KEYS="${secrets}")
