vyn_tests(process
    SOURCES
        model/association_test.cpp
        model/painted_patches_test.cpp
        model/view_coverage_test.cpp
        page/page_test.cpp
        project/new_point_test.cpp
        project/project_test.cpp
        report/field_comparison_test.cpp
        report/html_report_test.cpp
        report/point_check_test.cpp
        steps/chain_test.cpp
        steps/channels_test.cpp
        steps/correlation_step_test.cpp
        steps/law_conditions_test.cpp
        steps/step_table_test.cpp
        steps/lamp_correction_test.cpp
        steps/temperature_step_test.cpp
        steps/uncertainty_step_test.cpp
        ../support/sigma_coverage.cpp
    LINK vyn_process vyn_sample)
add_dependencies(test_process vyn_plugin_fits vyn_plugin_imp vyn_plugin_png vyn_plugin_tiff)
