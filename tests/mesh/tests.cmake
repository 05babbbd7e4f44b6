vyn_tests(mesh
    SOURCES loads_sections_test.cpp surface_test.cpp
    LINK vyn_mesh)
