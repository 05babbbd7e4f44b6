vyn_ui_tests(calib_ui
    SOURCES
        camera_calibration_test.cpp
        in_situ_dialog_test.cpp
        label_places_test.cpp
        record_dialogs_test.cpp
    LINK vyn_calib_ui vyn_sample vyn_test_program nlohmann_json::nlohmann_json)
add_dependencies(test_calib_ui vyn_plugin_fits vyn_plugin_imp vyn_plugin_png vyn_plugin_tiff vyn_plugin_vtk)
