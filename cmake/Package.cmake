# Debian packages of the installed files: `cpack --preset release` writes one package per component to the build tree.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Zentravox external control <external-control@zentravox.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "External control of Zentravox shows")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Independent of the umask of the build.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_COMPONENTS_ALL Runtime Development Kit)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "Lets remote controllers query and drive a show: the module with\nits libraries, showhost (a host without a screen), showremote (plays\nthe far end of every channel) and a demo show.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME zentravox-external-controller)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION video)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# The upload server is a Python program, which shlibdeps doesn't detect.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "python3, python3-pyftpdlib")
# To verify the cloud service's certificate, and to read WebP, TIFF and TGA pictures.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "ca-certificates, qt5-image-formats-plugins")

set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers and CMake package for hosts that load the module.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME zentravox-external-controller-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qtbase5-dev, libqt5websockets5-dev, libasio-dev")

set(CPACK_COMPONENT_KIT_DESCRIPTION
    "Remote controllers of Zentravox in Python, and zentravox-kit, which\nchecks whether hosts and remotes follow the protocol.")
set(CPACK_DEBIAN_KIT_PACKAGE_NAME zentravox-kit)
set(CPACK_DEBIAN_KIT_PACKAGE_SECTION python)
set(CPACK_DEBIAN_KIT_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_KIT_PACKAGE_DEPENDS
    "python3 (>= 3.11), python3-jsonschema, python3-websockets, python3-cryptography")

# The service of showhost.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/Packaging/postinst ${PROJECT_SOURCE_DIR}/Packaging/prerm ${PROJECT_SOURCE_DIR}/Packaging/postrm)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Files that each Debian package has.
find_program(GZIP gzip)
if(GZIP)
    execute_process(COMMAND ${GZIP} -9nc ${CHANGELOG} OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.gz
        COMMAND_ERROR_IS_FATAL ANY)
    foreach(component IN LISTS CPACK_COMPONENTS_ALL)
        string(TOUPPER ${component} key)
        set(package ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
        install(FILES Packaging/copyright ${PROJECT_BINARY_DIR}/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} COMPONENT ${component})
        install(FILES Packaging/lintian-overrides
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides RENAME ${package} COMPONENT ${component})
    endforeach()
endif()

include(CPack)
