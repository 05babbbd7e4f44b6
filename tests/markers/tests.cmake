vyn_tests(markers SOURCES marker_files_test.cpp LINK vyn_markers)
