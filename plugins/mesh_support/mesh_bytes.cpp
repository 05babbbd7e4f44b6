#include "plugins/mesh_support/mesh_bytes.h"

#include <charconv>

#include "core/atomic_file.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

constexpr std::size_t largest_file = std::size_t{16} << 30;
constexpr std::size_t piece = std::size_t{1} << 20;

}  // namespace

std::string load_mesh_file(const std::filesystem::path& file) {
    return read_file(file, largest_file);
}

MeshWriter::MeshWriter(const std::filesystem::path& file, Progress& progress)
    : file_(file), stream_(file, std::ios::binary), progress_(progress) {
    if (!stream_) fail_writing(file, "cannot be made");
    buffer_.reserve(piece + 256);
}

MeshWriter& MeshWriter::operator<<(std::string_view text) {
    buffer_ += text;
    if (buffer_.size() >= piece) flush();
    return *this;
}

MeshWriter& MeshWriter::operator<<(char c) {
    return *this << std::string_view(&c, 1);
}

namespace {

template <class Number>
std::string_view number_text(char (&text)[32], Number number) {
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

}  // namespace

MeshWriter& MeshWriter::operator<<(float number) {
    char text[32];
    return *this << number_text(text, number);
}

MeshWriter& MeshWriter::operator<<(double number) {
    char text[32];
    return *this << number_text(text, number);
}

MeshWriter& MeshWriter::operator<<(std::size_t number) {
    char text[32];
    return *this << number_text(text, number);
}

MeshWriter& MeshWriter::operator<<(int number) {
    char text[32];
    return *this << number_text(text, number);
}

void MeshWriter::flush() {
    throw_if_aborted(progress_);
    stream_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    buffer_.clear();
    if (!stream_) fail_writing(file_, "not everything could be written");
}

void MeshWriter::finish() {
    flush();
    stream_.close();
    if (!stream_) fail_writing(file_, "not everything could be written");
}

}  // namespace vyn::plugins
