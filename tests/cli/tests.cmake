    LINK vyn_process vyn_view nlohmann_json::nlohmann_json PNG::PNG)
    LINK vyn_test_program vyn_process nlohmann_json::nlohmann_json)
    SOURCES calibrate_test.cpp commands_test.cpp program.cpp render_test.cpp usage_test.cpp
# Runs vynlite-batch, for the window's tests too.
add_dependencies(vyn_test_program vynlite-batch)
add_library(vyn_test_program STATIC cli/program.cpp)
target_compile_definitions(test_cli PRIVATE
target_compile_definitions(vyn_test_program PRIVATE
target_link_libraries(vyn_test_program PUBLIC vyn_flags)
vyn_tests(cli
vyn_tests(cli SOURCES calibrate_test.cpp commands_test.cpp usage_test.cpp
    VYN_BATCH_PROGRAM="$<TARGET_FILE:vynlite-batch>")
add_dependencies(test_cli
    vynlite-batch vyn_plugin_fits vyn_plugin_imp vyn_plugin_png vyn_plugin_tiff)
