# Rules of `cmake --install`. The component Runtime contains the tools with their libraries, the demo show and the documents;
# Kit contains the Python package. Development contains what a host needs to build with the module. The installed tree is
# relocatable.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

if(ZENTRAVOX_HOST_SDK)
    set(tools)
    set(libraries ExternalController)
    set(qt_components Core Gui)
else()
    set(tools showhost showremote)
    set(libraries
        ExternalController AppServer CentralControl CloudControl Comm Common Devices FPClient HostModels Log Platform
        Traffic)
    set(qt_components Core Gui Network WebSockets)
    if(WIN32) # Platform is a static library there
        list(REMOVE_ITEM libraries Platform)
    endif()
endif()

# The libraries have the general names that hosts expect. They are installed to a separate folder, because such names could
# conflict in a shared one. On Windows they are in the folder of the programs, where the system searches for them.
set(library_folder ${CMAKE_INSTALL_LIBDIR}/zentravox)
set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/zentravox)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ZentravoxExternalController)
set(document_folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/zentravox-external-controller)
if(WIN32)
    set(script_folder ${CMAKE_INSTALL_BINDIR})
else()
    set(script_folder ${library_folder})
    file(RELATIVE_PATH from_tools /${CMAKE_INSTALL_BINDIR} /${library_folder})
    set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
    if(tools)
        set_target_properties(${tools} PROPERTIES INSTALL_RPATH "$ORIGIN/${from_tools}")
    endif()
endif()

# Until version 1.0 each minor version may change the interface.
set_target_properties(${libraries} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})

if(tools)
    install(TARGETS ${tools} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime)
endif()
install(TARGETS ${libraries} Interfaces
    EXPORT ZentravoxExternalController
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime
    LIBRARY DESTINATION ${library_folder} COMPONENT Runtime NAMELINK_COMPONENT Development
    ARCHIVE DESTINATION ${library_folder} COMPONENT Development
    INCLUDES DESTINATION ${header_folder})
install(FILES README.md DESTINATION ${document_folder} COMPONENT Runtime)
install(FILES Src/Contract/Contract.json DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zentravox COMPONENT Runtime)
install(DIRECTORY Docs DESTINATION ${document_folder} COMPONENT Runtime)

# Headers of the module: its interface and the constants that it shares with the host.
set(module Src/Libs/ExternalController/ExternalController)
set(vocabulary Command CommandNames FileType Keywords Operation ResourceType Routes Vocabulary)
list(TRANSFORM vocabulary REPLACE "(.+)" "${module}/Common/\\1.h")
install(FILES ${module}/ExternalController.h ${module}/Export.h
    DESTINATION ${header_folder}/ExternalController COMPONENT Development)
install(FILES ${vocabulary} DESTINATION ${header_folder}/ExternalController/Common COMPONENT Development)
install(FILES ${CMAKE_BINARY_DIR}/contract/Contract/Names.inc
    DESTINATION ${header_folder}/Contract COMPONENT Development)
install(FILES ${module}/MsgSender/IMsgSenderBase.h
    DESTINATION ${header_folder}/ExternalController/MsgSender COMPONENT Development)

if(NOT ZENTRAVOX_HOST_SDK)
    install(FILES Src/Libs/StandIns/AppServer/FtpUploadServer.py Src/Libs/StandIns/AppServer/FtpUploadFile.py
        DESTINATION ${script_folder} COMPONENT Runtime)
    install(DIRECTORY Examples/DemoShow DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zentravox COMPONENT Runtime)
    install(DIRECTORY Src/Libs/ExternalController/Interfaces DESTINATION ${header_folder} COMPONENT Development)
    # Headers for a host that uses the stand-ins and configures them.
    install(DIRECTORY Src/Libs/StandIns/Comm Src/Libs/StandIns/HostModels Src/Libs/StandIns/Log Src/Libs/StandIns/Traffic
        DESTINATION ${header_folder} COMPONENT Development FILES_MATCHING PATTERN *.h)
    foreach(library AppServer CentralControl CloudControl FPClient)
        install(FILES Src/Libs/StandIns/${library}/${library}Config.h
            DESTINATION ${header_folder}/${library} COMPONENT Development)
    endforeach()
endif()

if(tools AND NOT WIN32)
    # Where Debian's Python looks for packages.
    set(python_folder lib/python3/dist-packages)
    install(DIRECTORY Src/Kit/zentravox DESTINATION ${python_folder} COMPONENT Kit PATTERN __pycache__ EXCLUDE)
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/Version.txt CONTENT "@PROJECT_VERSION@\n" @ONLY)
    install(FILES Src/Contract/Contract.json ${PROJECT_BINARY_DIR}/Version.txt
        DESTINATION ${python_folder}/zentravox COMPONENT Kit)
    install(PROGRAMS Src/Kit/zentravox-kit DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Kit)
    include(ProgramFiles)
    install(FILES Packaging/showhost.service DESTINATION lib/systemd/system COMPONENT Runtime)
endif()

list(JOIN qt_components " " package_qt_components)
configure_package_config_file(cmake/ZentravoxExternalControllerConfig.cmake.in
    ${PROJECT_BINARY_DIR}/ZentravoxExternalControllerConfig.cmake
    INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZentravoxExternalControllerConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/ZentravoxExternalControllerConfig.cmake
    ${PROJECT_BINARY_DIR}/ZentravoxExternalControllerConfigVersion.cmake
    DESTINATION ${package_folder} COMPONENT Development)
install(EXPORT ZentravoxExternalController
    FILE ZentravoxExternalControllerTargets.cmake
    NAMESPACE Zentravox::
    DESTINATION ${package_folder} COMPONENT Development)
