vyn_tests(api
    SOURCES
        attributes_test.cpp
        bitmap_test.cpp
        extended_edges_test.cpp
        filters_test.cpp
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
vyn_apart(api/pixel_ops_test.cpp)
