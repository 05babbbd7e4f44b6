vyn_ui_tests(core_ui
    SOURCES
        busy_box_test.cpp
        file_question_test.cpp
        icons_test.cpp
        log_page_test.cpp
        number_edit_test.cpp
    LINK vyn_core_ui)
target_compile_definitions(test_core_ui PRIVATE VYN_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
