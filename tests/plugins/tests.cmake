vyn_tests(plugins
    SOURCES
        camera_files.cpp
        camera_files_test.cpp
        fits_test.cpp
        formats_test.cpp
        hdf5_test.cpp
        hostile_files_test.cpp
        imp_test.cpp
        mesh_formats_test.cpp
        mesh_samples.cpp
        vtk_samples.cpp
        plugin_loading_test.cpp
        png_test.cpp
        sample_files.cpp
        tiff_test.cpp
        written_formats_test.cpp
    LINK vyn_api vyn_core TIFF::TIFF PNG::PNG PkgConfig::CFITSIO PkgConfig::HDF5 ZLIB::ZLIB)

# A plug-in that was made for another version of the interface.
add_library(plugin_from_the_future MODULE ${CMAKE_CURRENT_LIST_DIR}/plugin_from_the_future.cpp)
target_link_libraries(plugin_from_the_future PRIVATE vyn_flags vyn_api)
set_target_properties(plugin_from_the_future PROPERTIES
    PREFIX "" SUFFIX ".2dio" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/test_plugins)
target_compile_definitions(test_plugins PRIVATE
    TEST_PLUGINS="${CMAKE_BINARY_DIR}/test_plugins" PLUGINS="${CMAKE_BINARY_DIR}/lib/plugins")
add_dependencies(test_plugins plugin_from_the_future
                 plugins)

# An uninstrumented plug-in tells the sanitizers nothing.
if(NOT VYN_SANITIZE)
    add_test(NAME outside_plugin COMMAND ${CMAKE_CURRENT_LIST_DIR}/outside_plugin.sh
        ${CMAKE_SOURCE_DIR} $<TARGET_FILE:vynlite-batch> ${CMAKE_BINARY_DIR} ${CMAKE_CXX_COMPILER}
        $<$<BOOL:${VYN_PYTHON}>:${Python_EXECUTABLE}>)
    set_tests_properties(outside_plugin PROPERTIES COST 50)
endif()
