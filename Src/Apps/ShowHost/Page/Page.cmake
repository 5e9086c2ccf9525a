# The files of the stage page as resources of showhost. npm downloads two libraries, in the versions of package-lock.json.
set(client ${CMAKE_CURRENT_SOURCE_DIR}/Page/Client)
set(page ${CMAKE_CURRENT_BINARY_DIR}/Page)
find_program(NPM npm)
if(NOT NPM)
    message(FATAL_ERROR "npm was not found. Install it, or configure with -DZENTRAVOX_PAGE=OFF to build without the page.")
endif()

add_custom_command(
    OUTPUT ${page}/npm/installed
    COMMAND ${CMAKE_COMMAND} -E make_directory ${page}/npm
    COMMAND ${CMAKE_COMMAND} -E copy ${client}/package.json ${client}/package-lock.json ${client}/.npmrc ${page}/npm
    COMMAND ${CMAKE_COMMAND} -E chdir ${page}/npm
        ${NPM} ci --ignore-scripts --no-audit --no-fund --prefer-offline --silent
    COMMAND ${CMAKE_COMMAND} -E touch ${page}/npm/installed
    DEPENDS ${client}/package.json ${client}/package-lock.json ${client}/.npmrc
    VERBATIM)

file(GLOB client_files CONFIGURE_DEPENDS ${client}/*.html ${client}/*.css ${client}/*.js)
add_custom_command(
    OUTPUT ${page}/page.qrc
    COMMAND ${CMAKE_COMMAND} "-DFILES=${client_files};${CONTRACT_FILE}" -DMODULES=${page}/npm/node_modules
        -DFOLDER=${page}/files -P ${CMAKE_CURRENT_SOURCE_DIR}/Page/CollectFiles.cmake
    DEPENDS ${client_files} ${CONTRACT_FILE} ${page}/npm/installed ${CMAKE_CURRENT_SOURCE_DIR}/Page/CollectFiles.cmake
    VERBATIM)
# AUTORCC can't process a file that doesn't exist yet when CMake runs.
add_custom_command(
    OUTPUT ${page}/PageFiles.cpp
    COMMAND Qt5::rcc --name page --output ${page}/PageFiles.cpp ${page}/page.qrc
    DEPENDS ${page}/page.qrc
    VERBATIM)
set_source_files_properties(${page}/PageFiles.cpp PROPERTIES SKIP_AUTOGEN ON SKIP_UNITY_BUILD_INCLUSION ON)
target_sources(showhost PRIVATE ${page}/PageFiles.cpp)
