# Defines the target HostSdk: a host's own headers and libraries, which replace Interfaces/ and StandIns/. The folder
# ZENTRAVOX_HOST_SDK contains:
#   include/Interfaces/  a header for each header of Interfaces/, with the same name and the host's declarations
#   lib/                 the import libraries (Windows) or the shared libraries
set(ZENTRAVOX_HOST_SDK "" CACHE PATH "Folder with include/ and lib/ of a host, to build the module with them")
if(NOT ZENTRAVOX_HOST_SDK)
    return()
endif()

# Check that no header is missing: the compiler would silently use the one in Interfaces/, which doesn't match the host.
file(GLOB headers RELATIVE ${PROJECT_SOURCE_DIR}/Src/Libs/ExternalController
    ${PROJECT_SOURCE_DIR}/Src/Libs/ExternalController/Interfaces/*.h)
# The host's libraries don't replace these two.
list(REMOVE_ITEM headers Interfaces/Hv.h Interfaces/IpHelper.h)
set(missing)
foreach(header IN LISTS headers)
    if(NOT EXISTS ${ZENTRAVOX_HOST_SDK}/include/${header})
        list(APPEND missing ${header})
    endif()
endforeach()
if(missing)
    list(JOIN missing ", " missing)
    message(FATAL_ERROR "ZENTRAVOX_HOST_SDK: ${ZENTRAVOX_HOST_SDK}/include: missing headers: ${missing}")
endif()

if(WIN32)
    file(GLOB host_libraries CONFIGURE_DEPENDS ${ZENTRAVOX_HOST_SDK}/lib/*.lib)
else()
    file(GLOB host_libraries CONFIGURE_DEPENDS ${ZENTRAVOX_HOST_SDK}/lib/lib*.so)
endif()
if(NOT host_libraries)
    message(FATAL_ERROR "ZENTRAVOX_HOST_SDK: no libraries found in ${ZENTRAVOX_HOST_SDK}/lib")
endif()

add_library(HostSdk INTERFACE)
target_include_directories(HostSdk INTERFACE ${ZENTRAVOX_HOST_SDK}/include)
target_link_libraries(HostSdk INTERFACE ${host_libraries})
