vyn_tests(api OPTIMISED
    SOURCES
        attributes_test.cpp
        bitmap_test.cpp
        extended_edges_test.cpp
        filters_test.cpp
        frame_average_test.cpp
        fused_passes_test.cpp
        image_io_test.cpp
        image_test.cpp
        lens_test.cpp
        parallel_test.cpp
        pictures.cpp
        pixel_ops_test.cpp
        resample_test.cpp
        spline_test.cpp
        thinning_test.cpp
    LINK vyn_core vyn_markers vyn_api)

# The slow references that kernels are held against.
set_source_files_properties(
    ${CMAKE_CURRENT_LIST_DIR}/filters_test.cpp ${CMAKE_CURRENT_LIST_DIR}/fused_passes_test.cpp
    PROPERTIES COMPILE_OPTIONS -O2 SKIP_PRECOMPILE_HEADERS ON)
