vyn_tests(resect OPTIMISED
    SOURCES resection_test.cpp
    LINK vyn_resect)
