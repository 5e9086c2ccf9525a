# Writes the man pages of the programs, and their completions for bash, zsh and fish, to share/ in the build tree.
if(WIN32)
    return()
endif()
find_program(PYTHON python3 HINTS /usr/bin REQUIRED)
file(GLOB scripts CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Packaging/*.py)
file(GLOB_RECURSE kit_modules CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Src/Kit/*.py)

function(add_program_files name component program)
    set(files
        man/man1/${name}.1.gz bash-completion/completions/${name}
        zsh/vendor-completions/_${name} fish/vendor_completions.d/${name}.fish)
    set(outputs)
    foreach(file IN LISTS files)
        cmake_path(GET file PARENT_PATH folder)
        list(APPEND outputs ${PROJECT_BINARY_DIR}/share/${file})
        install(FILES ${PROJECT_BINARY_DIR}/share/${file}
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/${folder} COMPONENT ${component})
    endforeach()
    add_custom_command(OUTPUT ${outputs}
        COMMAND ${PYTHON} -B ${PROJECT_SOURCE_DIR}/Packaging/ProgramFiles.py ${program} ${PROJECT_BINARY_DIR}/share
        DEPENDS ${scripts} ${CHANGELOG} ${ARGN}
        COMMENT "Writing the man page and the completions of ${name}"
        VERBATIM)
    add_custom_target(${name}-files ALL DEPENDS ${outputs})
endfunction()

add_program_files(showhost Runtime $<TARGET_FILE:showhost> showhost)
add_program_files(showremote Runtime $<TARGET_FILE:showremote> showremote)
add_program_files(zentravox-kit Kit ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/zentravox-kit ${kit_modules} ${CONTRACT_FILE})
