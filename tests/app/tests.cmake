vyn_ui_tests(app
    SOURCES
        app_fixture.cpp
        help_test.cpp
        main_window_test.cpp
        pages_test.cpp
        point_check_test.cpp
        project_commands_test.cpp
    LINK vyn_app)
add_dependencies(test_app vyn_plugin_fits vyn_plugin_imp vyn_plugin_png vyn_plugin_tiff)
