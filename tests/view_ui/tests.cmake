vyn_ui_tests(view_ui
    SOURCES
        association/association_test.cpp
        canvas/field_view_test.cpp
        canvas/preparation_test.cpp
        graph/graph_window_test.cpp
        look/fashion_test.cpp
        model/model_viewer_test.cpp
        markers/marker_files_test.cpp
        markers/marker_tools_test.cpp
        region/region_tools_test.cpp
        window/field_viewer_test.cpp
        window/large_images_test.cpp
        window/viewer_files_test.cpp
    LINK vyn_view_ui)
add_dependencies(test_view_ui vyn_plugin_imp vyn_plugin_png vyn_plugin_tiff)
