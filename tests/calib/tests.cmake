vyn_tests(calib
    SOURCES
        hybrid_fit_test.cpp
        in_situ_test.cpp
        paint_fit_test.cpp
        paint_law_test.cpp
        port_selection_test.cpp
        record_file_test.cpp
        record_test.cpp
        units_test.cpp
    LINK vyn_calib)
