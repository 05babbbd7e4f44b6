# How this project declares its targets: one per folder, one set of warnings for all of them.
add_library(vyn_flags INTERFACE)
target_include_directories(vyn_flags INTERFACE ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR}/generated)
target_compile_options(vyn_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor)
if(VYN_WERROR)
    target_compile_options(vyn_flags INTERFACE -Werror)
endif()
if(CMAKE_UNITY_BUILD)
    # True only of sources that are one; the other presets look for what is.
    target_compile_options(vyn_flags INTERFACE -Wno-shadow)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(vyn_flags INTERFACE -Wno-subobject-linkage)
    endif()
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 sees overlapping copies in `"text" + std::string` where there are none (GCC bug 105651).
    target_compile_options(vyn_flags INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 16)
    target_compile_options(vyn_flags INTERFACE
        -include ${CMAKE_SOURCE_DIR}/cmake/source_location_for_clang.h)
endif()
# Bits must not depend on the machine: no contraction into fused multiply-adds. The other two
# only promise that nobody reads errno or floating-point traps, so that loops vectorise.
target_compile_options(vyn_flags INTERFACE -ffp-contract=off -fno-math-errno -fno-trapping-math)
# Errors name the source that raised them by its path in the source tree, and a build does not depend on
# where it stands. A compiler cache may make the paths relative to the build folder.
file(RELATIVE_PATH path_from_build ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
target_compile_options(vyn_flags INTERFACE
    -fmacro-prefix-map=${path_from_build}= -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
# Links in a third of the time; g++ knows it from 12 on.
find_program(VYN_MOLD mold)
mark_as_advanced(VYN_MOLD)
if(VYN_MOLD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND
   CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12.1)
    target_link_options(vyn_flags INTERFACE -fuse-ld=mold)
endif()
if(VYN_SANITIZE)
    target_compile_options(vyn_flags INTERFACE
        -fsanitize=${VYN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    if(VYN_SANITIZE MATCHES "undefined")
        # A null pointer is found without a check of its own at every access, which takes a fifth of the
        # time of compiling, as those of casts between classes do.
        target_compile_options(vyn_flags INTERFACE -fno-sanitize=null,vptr)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # With their checks in between g++ takes variables for unset that are not (its manual says so).
        target_compile_options(vyn_flags INTERFACE -Wno-maybe-uninitialized)
    endif()
    target_link_options(vyn_flags INTERFACE -fsanitize=${VYN_SANITIZE})
endif()

# vyn_precompiled(NAME HEADERS ... [LINK ...] [INCLUDES ...]): headers that many sources of many targets
# read, compiled once. Every target that names them (vyn_use_precompiled) has the same flags, and at least
# the definitions of the libraries in LINK; INCLUDES are folders that only the headers need.
function(vyn_precompiled name)
    cmake_parse_arguments(ARG "" "" "HEADERS;LINK;INCLUDES" ${ARGN})
    add_library(${name} OBJECT EXCLUDE_FROM_ALL ${CMAKE_SOURCE_DIR}/cmake/precompiled.cpp)
    target_link_libraries(${name} PRIVATE vyn_flags ${ARG_LINK})
    target_include_directories(${name} SYSTEM PRIVATE ${ARG_INCLUDES})
    target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
endfunction()

function(vyn_use_precompiled target headers)
    target_precompile_headers(${target} REUSE_FROM ${headers})
endfunction()

# In the presets that compile many sources as one (CMAKE_UNITY_BUILD): groups a target's sources so that
# no two of a group share a name of their unnamed namespaces. Looks again when one of them changes.
function(vyn_unite target)
    if(NOT CMAKE_UNITY_BUILD)
        return()
    endif()
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    execute_process(
        COMMAND awk -v most=16 -f ${CMAKE_SOURCE_DIR}/cmake/unity_groups.awk ${sources}
        WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
        OUTPUT_VARIABLE groups COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+" groups "${groups}")
    foreach(line IN LISTS groups)
        string(REPLACE " " ";" line ${line})
        list(GET line 0 source)
        list(GET line 1 group)
        set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${group})
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sources})
endfunction()

# vyn_library(NAME STATIC|SHARED SOURCES ... LINK ... [PRIVATE_LINK ...])
function(vyn_library name kind)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK;PRIVATE_LINK" ${ARGN})
    add_library(${name} ${kind} ${ARG_SOURCES})
    vyn_unite(${name})
    target_link_libraries(${name}
        PUBLIC $<BUILD_INTERFACE:vyn_flags> ${ARG_LINK} PRIVATE ${ARG_PRIVATE_LINK})
    if(kind STREQUAL "SHARED")
        set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 2)
        vyn_install_interface(${name})
    endif()
endfunction()

# Installs a shared library for programs and plug-ins, and its headers and target for developers of
# plug-ins: vyn_api is VynLite::api to them.
function(vyn_install_interface name)
    string(REPLACE "vyn_" "" part ${name})
    set(headers ${CMAKE_INSTALL_INCLUDEDIR}/vynlite)
    set_target_properties(${name} PROPERTIES EXPORT_NAME ${part})
    add_library(VynLite::${part} ALIAS ${name})
    target_compile_features(${name} INTERFACE cxx_std_20)
    target_include_directories(${name} INTERFACE $<INSTALL_INTERFACE:${headers}>)
    install(TARGETS ${name} EXPORT VynLiteTargets
            LIBRARY DESTINATION ${VYNLITE_LIBRARY_DIR}
            NAMELINK_COMPONENT development)
    install(DIRECTORY . DESTINATION ${headers}/${part} COMPONENT development
            FILES_MATCHING PATTERN "*.h" PATTERN "*.def" PATTERN ui EXCLUDE)
endfunction()

# vyn_ui_library(NAME SOURCES ... LINK ...): widgets; a target of its own, so that nothing headless can
# reach them. Only what Qt 6 kept may be used.
function(vyn_ui_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    vyn_library(${name} STATIC SOURCES ${ARG_SOURCES} LINK ${ARG_LINK} Qt5::Widgets)
    set_target_properties(${name} PROPERTIES AUTOMOC ON AUTORCC ON)
    vyn_use_qt(${name})
endfunction()

# The promises to Qt, and its precompiled headers, for a target with widgets.
add_library(vyn_qt_flags INTERFACE)
target_compile_definitions(vyn_qt_flags INTERFACE
    QT_DISABLE_DEPRECATED_BEFORE=0x060000 QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII)
# What only calls, shows and asks takes longer to optimise than it would ever save; pixels are dealt with in
# libraries without widgets.
add_library(vyn_glue INTERFACE)
target_compile_options(vyn_glue INTERFACE $<$<CONFIG:Release>:-O1>)
function(vyn_use_qt name)
    target_link_libraries(${name} PRIVATE vyn_qt_flags vyn_glue)
    vyn_use_precompiled(${name} vyn_qt_headers)
endfunction()

# vyn_kernels(TARGET FILE ...): compiles each file once per vector width, as namespaces
# vyn::isa_base, vyn::isa_avx2 and vyn::isa_avx512 (macro VYN_ISA). The choice is made at run time;
# contraction is off in all of them, so the bits are the same whatever was chosen.
function(vyn_kernels target)
    set(base_flags "")
    set(avx2_flags -mavx2)
    set(avx512_flags -mavx512f -mavx512bw -mavx512dq -mavx512vl -mprefer-vector-width=512)
    set(variants base)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        list(APPEND variants avx2 avx512)
        target_compile_definitions(${target} PRIVATE VYN_HAVE_X86_VARIANTS)
    endif()
    foreach(isa IN LISTS variants)
        set(objects ${target}_kernels_${isa})
        add_library(${objects} OBJECT ${ARGN})
        set_target_properties(${objects} PROPERTIES UNITY_BUILD OFF)
        target_link_libraries(${objects} PRIVATE vyn_flags)
        target_compile_definitions(${objects} PRIVATE VYN_ISA=isa_${isa})
        target_compile_options(${objects} PRIVATE -O3 ${${isa}_flags})
        target_sources(${target} PRIVATE $<TARGET_OBJECTS:${objects}>)
    endforeach()
endfunction()

# What a user starts, and what that loads; `plugins` is part of `programs`.
add_custom_target(plugins)
add_custom_target(programs)
add_dependencies(programs plugins)

# vyn_plugin(NAME SUFFIX SOURCES ... LINK ...): a plug-in of the program's own.
function(vyn_plugin name suffix)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    vynlite_add_plugin(vyn_plugin_${name} ${suffix} ${ARG_SOURCES})
    vyn_unite(vyn_plugin_${name})
    target_link_libraries(vyn_plugin_${name} PRIVATE vyn_flags ${ARG_LINK})
    add_dependencies(plugins vyn_plugin_${name})
    set_target_properties(vyn_plugin_${name} PROPERTIES
        OUTPUT_NAME ${name}
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/plugins/${name}
        INSTALL_RPATH "$ORIGIN/../..")
endfunction()
