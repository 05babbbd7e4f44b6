#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>

#include "core/progress.h"

namespace vyn::plugins {

/// The whole file; refuses one that is too large to be a mesh.
std::string load_mesh_file(const std::filesystem::path& file);

inline std::string_view as_text(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The number of type T that starts there, in the byte order given.
template <class T>
T number_at(const char* bytes, std::endian order) {
    unsigned char raw[sizeof(T)];
    std::memcpy(raw, bytes, sizeof(T));
    if (order != std::endian::native)
        for (std::size_t i = 0; i < sizeof(T) / 2; ++i)
            std::swap(raw[i], raw[sizeof(T) - 1 - i]);
    T number;
    std::memcpy(&number, raw, sizeof(T));
    return number;
}

/// Writes a file in large pieces; numbers as text have as many digits as read back to the same
/// bits.
class MeshWriter {
  public:
    /// Raises FileError when the file cannot be made.
    MeshWriter(const std::filesystem::path& file, Progress& progress);

    MeshWriter& operator<<(std::string_view text);
    MeshWriter& operator<<(char c);
    MeshWriter& operator<<(float number);
    MeshWriter& operator<<(double number);
    MeshWriter& operator<<(std::size_t number);
    MeshWriter& operator<<(int number);
    /// A number's bytes in the order given.
    template <class T>
    void put(T number, std::endian order = std::endian::little) {
        char raw[sizeof(T)];
        const T turned = number_at<T>(reinterpret_cast<const char*>(&number), order);
        std::memcpy(raw, &turned, sizeof(T));
        *this << std::string_view(raw, sizeof(T));
    }
    /// Raises FileError when not everything arrived.
    void finish();

  private:
    void flush();

    std::filesystem::path file_;
    std::ofstream stream_;
    std::string buffer_;
    Progress& progress_;
};

}  // namespace vyn::plugins
