vyn_tests(align
    SOURCES
        channel_maps_test.cpp
        correlation/cell_view_test.cpp
        correlation/correlation_alignment_test.cpp
        correlation/textured_pair.cpp
        displacement_field_test.cpp
        displacement_map_test.cpp
        dots/marker_centroid_test.cpp
        dots/marker_detection_test.cpp
        marker_alignment_test.cpp
        marker_matching_test.cpp
        pairing_test.cpp
        poly_transform_test.cpp
    LINK vyn_align vyn_sample)
add_dependencies(test_align vyn_plugin_imp)

# Pictures rendered from thousands of dots.
set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/correlation/textured_pair.cpp
    PROPERTIES COMPILE_OPTIONS -O2 SKIP_PRECOMPILE_HEADERS ON)
