vyn_ui_tests(core_ui
    SOURCES
        busy_box_test.cpp
        number_edit_test.cpp
    LINK vyn_core_ui)
