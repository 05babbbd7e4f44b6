vyn_tests(align
    SOURCES
        displacement_map_test.cpp
        marker_alignment_test.cpp
        pairing_test.cpp
        poly_transform_test.cpp
    LINK vyn_align)
add_dependencies(test_align vyn_plugin_imp)
