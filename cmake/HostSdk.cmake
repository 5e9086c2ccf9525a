# A real host's libraries instead of Interfaces/ and StandIns/: the target HostSdk stands for all of them.
#   include/Interfaces/  one header for each of ours, by the same name, with the host's declarations (or including them)
#   lib/                 the import libraries, or the shared libraries themselves where there are none
set(ZENTRAVOX_HOST_SDK "" CACHE PATH "Folder with a real host's include/ and lib/, to build the module against")
if(NOT ZENTRAVOX_HOST_SDK)
    return()
endif()

# One that is missing would be taken from ours without a word, and be wrong.
file(GLOB headers RELATIVE ${PROJECT_SOURCE_DIR}/Src/Libs/ExternalController
    ${PROJECT_SOURCE_DIR}/Src/Libs/ExternalController/Interfaces/*.h)
# These two stand for no library of the host's.
list(REMOVE_ITEM headers Interfaces/Hv.h Interfaces/IpHelper.h)
set(missing)
foreach(header IN LISTS headers)
    if(NOT EXISTS ${ZENTRAVOX_HOST_SDK}/include/${header})
        list(APPEND missing ${header})
    endif()
endforeach()
if(missing)
    list(JOIN missing ", " missing)
    message(FATAL_ERROR "ZENTRAVOX_HOST_SDK: ${ZENTRAVOX_HOST_SDK}/include lacks ${missing}")
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
