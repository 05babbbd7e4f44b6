vyn_ui_tests(view_ui
    SOURCES
        fashion_test.cpp
        field_view_test.cpp
        field_viewer_test.cpp
        graph_window_test.cpp
        large_images_test.cpp
        marker_files_test.cpp
        marker_tools_test.cpp
        preparation_test.cpp
        region_tools_test.cpp
        viewer_files_test.cpp
    LINK vyn_view_ui)
add_dependencies(test_view_ui vyn_plugin_imp vyn_plugin_png vyn_plugin_tiff)
