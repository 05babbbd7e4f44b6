vyn_ui_tests(calib_ui
    SOURCES
        ../cli/program.cpp
        in_situ_dialog_test.cpp
        record_dialogs_test.cpp
    LINK vyn_calib_ui nlohmann_json::nlohmann_json)
target_compile_definitions(test_calib_ui PRIVATE
    VYN_BATCH_PROGRAM="$<TARGET_FILE:vynlite-batch>")
add_dependencies(test_calib_ui
    vynlite-batch vyn_plugin_fits vyn_plugin_imp vyn_plugin_png vyn_plugin_tiff)
