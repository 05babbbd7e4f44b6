vyn_tests(uncertainty
    SOURCES
        uncertainty_map_test.cpp
        uncertainty_test.cpp
    LINK vyn_uncertainty)
