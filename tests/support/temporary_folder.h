#pragma once

#include <filesystem>
#include <string>

namespace vyn::test {

/// A fresh folder for one test, named after it and removed at the end.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

/// Writes and reads whole files in tests, without the program's own code.
void put_file(const std::filesystem::path& file, const std::string& bytes);
std::string get_file(const std::filesystem::path& file);

}  // namespace vyn::test
