# The package that a plug-in outside of the tree is built with; examples/plugin is one.
include(CMakePackageConfigHelpers)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/VynLite)
configure_package_config_file(cmake/VynLiteConfig.cmake.in
    ${CMAKE_BINARY_DIR}/package/VynLiteConfig.cmake INSTALL_DESTINATION ${package})
write_basic_package_version_file(
    ${CMAKE_BINARY_DIR}/package/VynLiteConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
        ${CMAKE_BINARY_DIR}/package/VynLiteConfig.cmake
        ${CMAKE_BINARY_DIR}/package/VynLiteConfigVersion.cmake
        cmake/VynLitePlugin.cmake
        DESTINATION ${package} COMPONENT development)
install(EXPORT VynLiteTargets NAMESPACE VynLite:: DESTINATION ${package} COMPONENT development)
install(FILES ${CMAKE_BINARY_DIR}/generated/core/version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vynlite/core COMPONENT development)
