vyn_tests(view SOURCES colour_map_test.cpp palette_test.cpp
    LINK vyn_view)
