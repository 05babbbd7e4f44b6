vyn_tests(align
    SOURCES poly_transform_test.cpp pairing_test.cpp marker_alignment_test.cpp
    LINK vyn_align)
