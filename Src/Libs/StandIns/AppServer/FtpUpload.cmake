# The FTP upload channel of the target AppServer: the class that runs the server, and the server's script, which is
# found at run time beside the programs: bin/../libexec.
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

set(ftp_upload_script ${CMAKE_BINARY_DIR}/libexec/FtpUploadServer.py)
add_custom_command(
    OUTPUT ${ftp_upload_script}
    COMMAND ${CMAKE_COMMAND} -E copy ${CMAKE_CURRENT_LIST_DIR}/FtpUploadServer.py ${ftp_upload_script}
    DEPENDS ${CMAKE_CURRENT_LIST_DIR}/FtpUploadServer.py
    VERBATIM)
add_custom_target(FtpUploadScript ALL DEPENDS ${ftp_upload_script})
add_dependencies(AppServer FtpUploadScript)
