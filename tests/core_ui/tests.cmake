vyn_ui_tests(core_ui
    SOURCES
        number_edit_test.cpp
    LINK vyn_core_ui)
