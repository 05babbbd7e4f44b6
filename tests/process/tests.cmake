vyn_tests(process
    SOURCES
        chain_test.cpp
        channels_test.cpp
        field_comparison_test.cpp
        law_conditions_test.cpp
        new_point_test.cpp
        page_test.cpp
        point_check_test.cpp
        project_test.cpp
        synthetic_point_test.cpp
    LINK vyn_process)
add_dependencies(test_process vyn_plugin_fits vyn_plugin_imp vyn_plugin_png vyn_plugin_tiff)
