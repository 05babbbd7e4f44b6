vyn_tests(align
    SOURCES
        channel_maps_test.cpp
        displacement_map_test.cpp
        dots/dot_scene.cpp
        dots/marker_centroid_test.cpp
        dots/marker_detection_test.cpp
        marker_alignment_test.cpp
        marker_matching_test.cpp
        pairing_test.cpp
        poly_transform_test.cpp
    LINK vyn_align)
add_dependencies(test_align vyn_plugin_imp)
