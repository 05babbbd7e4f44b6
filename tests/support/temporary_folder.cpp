#include "tests/support/temporary_folder.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <unistd.h>

namespace vyn::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    static int counter = 0;
    std::string name = "vyn_" + std::to_string(getpid()) + "_" + std::to_string(counter++);
    if (const auto* info = testing::UnitTest::GetInstance()->current_test_info()) {
        for (const char* part : {info->test_suite_name(), info->name()})
            for (name += '_'; *part; ++part)
                name += std::isalnum(static_cast<unsigned char>(*part)) ? *part : '_';
    }
    path_ = fs::temp_directory_path() / name;
    fs::create_directories(path_);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::permissions(path_, fs::perms::owner_all, ignored);
    fs::remove_all(path_, ignored);
}

void put_file(const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string get_file(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace vyn::test
