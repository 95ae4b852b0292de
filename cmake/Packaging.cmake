# The CMake package and the pkg-config files that hosts and extension authors find the kov
# installation by. The targets themselves carry their own install rules.
include(CMakePackageConfigHelpers)

install(EXPORT kovTargets NAMESPACE kov:: DESTINATION ${KOV_INSTALL_CMAKEDIR})

set(KOV_INSTALL_LOADER ${CMAKE_INSTALL_LIBDIR}/libkov_loader.so)
set(KOV_BOOST_VERSION ${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR})
configure_package_config_file(cmake/kovConfig.cmake.in ${CMAKE_BINARY_DIR}/kovConfig.cmake
    INSTALL_DESTINATION ${KOV_INSTALL_CMAKEDIR}
    PATH_VARS KOV_INSTALL_EXTENSIONDIR KOV_INSTALL_LOADER)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/kovConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${CMAKE_BINARY_DIR}/kovConfig.cmake
    ${CMAKE_BINARY_DIR}/kovConfigVersion.cmake
    cmake/kovExtension.cmake
    DESTINATION ${KOV_INSTALL_CMAKEDIR})

# The .pc files name their prefix relative to themselves, so an install moved to another prefix
# (cmake --install --prefix) still describes itself.
file(RELATIVE_PATH KOV_PCDIR_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" KOV_PCDIR_TO_PREFIX "${KOV_PCDIR_TO_PREFIX}")
configure_file(cmake/kov.pc.in ${CMAKE_BINARY_DIR}/pkgconfig/kov.pc @ONLY)
configure_file(cmake/kov-extension.pc.in ${CMAKE_BINARY_DIR}/pkgconfig/kov-extension.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/pkgconfig/kov.pc ${CMAKE_BINARY_DIR}/pkgconfig/kov-extension.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES README.md docs/plugins.md docs/architecture.md docs/python.md DESTINATION ${KOV_INSTALL_DOCDIR})
