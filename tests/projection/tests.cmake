vyn_tests(projection OPTIMISED
    SOURCES projection_test.cpp
    LINK vyn_projection)
