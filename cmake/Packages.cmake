# Debian packages: `cpack` in a tree that was configured by the preset `package`.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME cirrus)
set(CPACK_PACKAGE_CONTACT "The Cirrus developers <cirrus@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libcirrus${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS ca-certificates)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libcirrus-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# The emulator's archive leaves OpenSSL to the program that links it.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libcirrus${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}), libssl-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "qt6-base-dev, libglib2.0-dev")

include(CPack)
cpack_add_component(runtime
    DESCRIPTION "What a program needs that was built with Cirrus.")
cpack_add_component(development DEPENDS runtime
    DESCRIPTION "Headers and build files of Cirrus, and its local Google Drive for tests.")
