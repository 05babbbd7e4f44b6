vyn_tests(core
    SOURCES
        atomic_file_test.cpp
        data_set_test.cpp
        errors_test.cpp
        file_lock_test.cpp
        file_names_test.cpp
        ini_file_test.cpp
        keys_test.cpp
        log_file_test.cpp
        numbers_test.cpp
        project_file_test.cpp
        quotes_test.cpp
        threads_test.cpp
        worker_test.cpp
    LINK vyn_core)
