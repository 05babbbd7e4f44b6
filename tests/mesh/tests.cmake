vyn_tests(mesh
    SOURCES surface_test.cpp
    LINK vyn_mesh)
