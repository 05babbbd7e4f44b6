# Runs vynlite-batch, for the window's tests too.
add_library(vyn_test_program STATIC cli/program.cpp)
target_link_libraries(vyn_test_program PUBLIC vyn_flags)
target_compile_definitions(vyn_test_program PRIVATE
    VYN_BATCH_PROGRAM="$<TARGET_FILE:vynlite-batch>")
add_dependencies(vyn_test_program vynlite-batch)

# Runs of many points draw many pages, which takes minutes under ThreadSanitizer; the process that
# starts them has one thread, and what they compute has tests of its own.
set(run_tests schedule_test.cpp)
if(VYN_SANITIZE MATCHES "thread")
    set(run_tests "")
endif()
vyn_tests(cli
    SOURCES align_test.cpp average_test.cpp calibrate_test.cpp commands_test.cpp model_sample_test.cpp model_test.cpp render_test.cpp
        usage_test.cpp wrong_inputs_test.cpp ${run_tests}
    LINK vyn_test_program vyn_process vyn_sample vyn_view nlohmann_json::nlohmann_json PNG::PNG)
add_dependencies(test_cli plugins)
