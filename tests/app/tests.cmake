vyn_ui_tests(app
    SOURCES
        app_fixture.cpp
        appearance_test.cpp
        dialogs_test.cpp
        help_test.cpp
        main.cpp
        main_window_test.cpp
        model_batch_test.cpp
        model_commands_test.cpp
        pages_test.cpp
        point_check_test.cpp
        program_test.cpp
        project_commands_test.cpp
        run_page_test.cpp
        whole_point_test.cpp
        whole_workflow_test.cpp
    LINK vyn_app vyn_sample vyn_test_program nlohmann_json::nlohmann_json)
target_compile_definitions(test_app PRIVATE VYN_PROGRAM="$<TARGET_FILE:vynlite>")
add_dependencies(test_app
    vynlite plugins)
