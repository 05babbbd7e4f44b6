#pragma once

#include <string>
#include <tuple>
#include <vector>

namespace vyn::test {

/// Small files of formats that are read and not written: format, name, bytes. Each holds the
/// picture of 7 x 5 pixels with the values 100 + x + 10 y, some as the mean of two frames.
std::vector<std::tuple<std::string, std::string, std::string>> small_camera_files();

/// The header of an array file of NumPy.
std::string npy_header(const std::string& type, const std::string& order, const std::string& shape);

}  // namespace vyn::test
