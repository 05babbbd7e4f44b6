vyn_tests(view
    SOURCES
        edit/marker_edit_test.cpp
        edit/marker_rows_test.cpp
        edit/mouse_gesture_test.cpp
        edit/region_edit_test.cpp
        viewer_rules_test.cpp
    LINK vyn_view)
