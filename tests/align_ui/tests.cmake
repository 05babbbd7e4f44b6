vyn_ui_tests(align_ui SOURCES align_dialog_test.cpp LINK vyn_align_ui)
