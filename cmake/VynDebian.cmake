# The Debian packages: what they hold beside programs, plug-ins and headers, and what is said of them.
set(share ${CMAKE_INSTALL_DATADIR})
set(made ${CMAKE_BINARY_DIR}/package)
file(MAKE_DIRECTORY ${made})

install(FILES packaging/vynlite.desktop DESTINATION ${share}/applications)
install(FILES packaging/vynlite.metainfo.xml DESTINATION ${share}/metainfo
        RENAME org.vynlite.VynLite.metainfo.xml)
install(FILES packaging/vynlite.xml DESTINATION ${share}/mime/packages)
install(FILES core/ui/icons/vynlite.svg DESTINATION ${share}/icons/hicolor/scalable/apps)
install(FILES packaging/vynlite-batch.bash-completion
        DESTINATION ${share}/bash-completion/completions RENAME vynlite-batch)

# What only packages carry is made by the target package_files alone: other installations do without.
# vyn_made(FILE DEPENDS ... COMMAND ...): a file of the packages; the command writes it to standard output.
set(made_files "")
function(vyn_made file)
    cmake_parse_arguments(ARG "" "" "DEPENDS;COMMAND" ${ARGN})
    add_custom_command(OUTPUT ${made}/${file} COMMAND ${ARG_COMMAND} > ${made}/${file}
                       DEPENDS ${ARG_DEPENDS} VERBATIM)
    set(made_files ${made_files} ${made}/${file} PARENT_SCOPE)
endfunction()

foreach(side 16 24 32 48 64 128 256)
    set(icon ${CMAKE_SOURCE_DIR}/core/ui/icons/vynlite.svg)
    vyn_made(vynlite-${side}.png DEPENDS ${icon}
        COMMAND rsvg-convert --width ${side} --height ${side} ${icon})
    install(FILES ${made}/vynlite-${side}.png RENAME vynlite.png OPTIONAL
            DESTINATION ${share}/icons/hicolor/${side}x${side}/apps)
endforeach()
foreach(program vynlite vynlite-batch)
    if(NOT TARGET ${program})
        continue()
    endif()
    vyn_made(${program}.1 DEPENDS ${program}
        COMMAND help2man --no-info --name "${PROJECT_DESCRIPTION}" $<TARGET_FILE:${program}>)
    vyn_made(${program}.1.gz DEPENDS ${made}/${program}.1 COMMAND gzip -9nc ${made}/${program}.1)
    install(FILES ${made}/${program}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 OPTIONAL)
endforeach()
vyn_made(changelog.gz DEPENDS ${CMAKE_SOURCE_DIR}/packaging/changelog
    COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/packaging/changelog)
add_custom_target(package_files DEPENDS ${made_files})

set(package_of_program vynlite)
set(package_of_development libvynlite-dev)
set(package_of_python python3-vynlite)
foreach(component program development python)
    install(FILES ${made}/changelog.gz packaging/copyright
            DESTINATION ${share}/doc/${package_of_${component}} COMPONENT ${component} OPTIONAL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vynlite)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_CONTACT "The VynLite developers <developers@vynlite.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${made})
set(CPACK_COMPONENTS_ALL program development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME ${package_of_program})
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION
"surface pressure from pressure-sensitive-paint images
VynLite turns camera images of a model with pressure-sensitive paint into
surface pressure: in a window (vynlite) or from the command line
(vynlite-batch), for one test point or a run of hundreds.")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
# Found at run time: how the manual is read, and letters for pictures.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "libqt5sql5-sqlite, fonts-dejavu-core")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${package_of_development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"file formats of one's own for VynLite
With these headers and CMake files a file format is built as a plug-in that
the programs of the package vynlite find and load.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "vynlite (= ${PROJECT_VERSION})")

if(VYN_PYTHON)
    list(APPEND CPACK_COMPONENTS_ALL python)
    # Compiled for one version of the interpreter.
    find_package(Python QUIET COMPONENTS Interpreter)
    math(EXPR next_python "${Python_VERSION_MINOR} + 1")
    string(JOIN ", " CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
        "vynlite (= ${PROJECT_VERSION})" python3-numpy
        "python3 (>= 3.${Python_VERSION_MINOR}~)" "python3 (<< 3.${next_python})")
endif()
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${package_of_python})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_DESCRIPTION
"pressure-sensitive-paint images in Python
The module vynlite: images as NumPy arrays, and what the programs of the
package vynlite compute as functions.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
include(CPack)
