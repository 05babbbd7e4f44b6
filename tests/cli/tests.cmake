vyn_tests(cli
    SOURCES calibrate_test.cpp commands_test.cpp program.cpp render_test.cpp usage_test.cpp
    LINK vyn_process vyn_view nlohmann_json::nlohmann_json PNG::PNG)
target_compile_definitions(test_cli PRIVATE
    VYN_BATCH_PROGRAM="$<TARGET_FILE:vynlite-batch>")
add_dependencies(test_cli
    vynlite-batch vyn_plugin_fits vyn_plugin_imp vyn_plugin_png vyn_plugin_tiff)
