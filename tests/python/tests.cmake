# The package in the build tree, by the interpreter that it is built for; standard library and NumPy only.
if(VYN_PYTHON)
    add_test(NAME python
             COMMAND ${Python_EXECUTABLE} -B -m unittest discover -s ${CMAKE_CURRENT_LIST_DIR})
    set_tests_properties(python PROPERTIES COST 60 ENVIRONMENT
        "PYTHONPATH=${CMAKE_BINARY_DIR}/python;VYN_BATCH=$<TARGET_FILE:vynlite-batch>;VYN_SOURCE=${CMAKE_SOURCE_DIR}")
endif()
