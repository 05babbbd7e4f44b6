vyn_tests(uncertainty
    SOURCES
        uncertainty_test.cpp
    LINK vyn_uncertainty)
