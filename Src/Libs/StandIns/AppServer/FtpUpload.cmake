# Adds the FTP upload channel to the target AppServer: the class that runs the server, and the server's scripts, which
# are loaded at run time from the folder of the library.
set(ZENTRAVOX_PYTHON "" CACHE FILEPATH "Python interpreter that has pyftpdlib")

set(candidates /usr/bin/python3 python3 python)
if(ZENTRAVOX_PYTHON)
    set(candidates ${ZENTRAVOX_PYTHON})
endif()
foreach(candidate IN LISTS candidates)
    execute_process(
        COMMAND ${candidate} -c "import pyftpdlib, sys; print(sys.executable)"
        OUTPUT_VARIABLE interpreter OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
    if(NOT failed)
        break()
    endif()
endforeach()
if(failed)
    list(JOIN candidates ", " candidates)
    message(FATAL_ERROR "No Python with pyftpdlib (tried ${candidates}): install the Debian package python3-pyftpdlib "
        "or set ZENTRAVOX_PYTHON")
endif()
set_property(CACHE ZENTRAVOX_PYTHON PROPERTY VALUE ${interpreter})

target_sources(AppServer PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/FtpUploadServer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/FtpUploadServer.h)
target_compile_definitions(AppServer PRIVATE ZENTRAVOX_PYTHON="${ZENTRAVOX_PYTHON}")

set(scripts ${CMAKE_CURRENT_LIST_DIR}/FtpUploadServer.py ${CMAKE_CURRENT_LIST_DIR}/FtpUploadFile.py)
set(copied ${CMAKE_CURRENT_BINARY_DIR}/FtpUploadServer-$<CONFIG>.copied)
add_custom_command(
    OUTPUT ${copied}
    COMMAND ${CMAKE_COMMAND} -E make_directory $<TARGET_FILE_DIR:AppServer>
    COMMAND ${CMAKE_COMMAND} -E copy ${scripts} $<TARGET_FILE_DIR:AppServer>
    COMMAND ${CMAKE_COMMAND} -E touch ${copied}
    DEPENDS ${scripts}
    VERBATIM)
add_custom_target(FtpUploadScript ALL DEPENDS ${copied})
add_dependencies(AppServer FtpUploadScript)
