vyn_tests(view
    SOURCES
        colour_map_test.cpp
        export_test.cpp
        html_report_test.cpp
        limits_test.cpp
        line_profile_test.cpp
        marker_edit_test.cpp
        mouse_gesture_test.cpp
        palette_test.cpp
        region_edit_test.cpp
        render_test.cpp
        viewer_rules_test.cpp
    LINK vyn_view PNG::PNG)
