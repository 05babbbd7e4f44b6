vyn_tests(schedule
    SOURCES point_files_test.cpp schedule_test.cpp summary_test.cpp table_test.cpp
    LINK vyn_schedule)
add_dependencies(test_schedule vyn_plugin_imp vyn_plugin_tiff)
