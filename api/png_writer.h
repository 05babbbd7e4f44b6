#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

struct png_struct_def;
struct png_info_def;

namespace vyn {

/// Keywords and texts that describe a picture in its file: "Title", "Software", "Comment", ...
using PictureTexts = std::vector<std::pair<std::string, std::string>>;

struct PngLayout {
    enum class Pixels { grey_8, grey_16, rgb_8 };
    int width = 0;
    int height = 0;
    Pixels pixels = Pixels::rgb_8;
    PictureTexts texts;
};

/// Writes a PNG file row by row, by libpng. Every call raises FileError "Error writing file" naming
/// `name` and what is wrong.
class PngWriter {
  public:
    PngWriter(std::ostream& to, std::string name, const PngLayout& layout);
    ~PngWriter();
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    /// The next row; of samples with two bytes the most significant one comes first.
    void row(const std::uint8_t* bytes);
    /// After the last row.
    void finish();

  private:
    template <class Step>
    void guarded(const Step& step);
    void write_header(const PngLayout& layout);

    static void on_error(png_struct_def* png, const char* text);
    static void on_bytes(png_struct_def* png, unsigned char* bytes, std::size_t count);

    std::ostream& to_;
    std::string name_;
    png_struct_def* png_ = nullptr;
    png_info_def* info_ = nullptr;
    char complaint_[200] = "";
};

}  // namespace vyn
