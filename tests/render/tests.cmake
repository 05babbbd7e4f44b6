vyn_tests(render
    SOURCES
        colour_map_test.cpp
        fashion_test.cpp
        figure_test.cpp
        iso_lines_test.cpp
        limits_test.cpp
        model_render_test.cpp
        line_profile_test.cpp
        palette_test.cpp
        picture_test.cpp
        render_test.cpp
    LINK vyn_render PNG::PNG)
