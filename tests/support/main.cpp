#include <clocale>
#include <cstdlib>
#include <iostream>
#include <locale>

#include <gtest/gtest.h>

/// Runs the tests in the locale that VYN_TEST_LOCALE names, as a user's program would be: C library
/// and streams alike. A locale that is not there is a failure, not a skip.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const char* wanted = std::getenv("VYN_TEST_LOCALE");
    const std::string name = wanted ? wanted : "C";
    if (!std::setlocale(LC_ALL, name.c_str())) {
        std::cerr << "The locale " << name << " is not installed; ./vyn setup generates it.\n";
        return 1;
    }
    std::locale::global(std::locale(name));
    std::setlocale(LC_MESSAGES, "C");  // numbers are what matters; system messages stay English
    if (name != "C" && std::localeconv()->decimal_point[0] != ',') {
        std::cerr << "The locale " << name << " has no decimal comma.\n";
        return 1;
    }
    return RUN_ALL_TESTS();
}
