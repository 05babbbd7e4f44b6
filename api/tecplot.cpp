#include "api/tecplot.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>

#include "api/displacement.h"
#include "api/image_parts.h"
#include "core/atomic_file.h"
#include "core/errors.h"

namespace vyn {

namespace {

constexpr const char* unit = "Image_wgt";

/// Appends "TEXT " numbers to a line.
template <class Number>
void append(std::string& line, Number number) {
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    line.append(digits, end).push_back(' ');
}

std::string header(const image& picture, std::string caption, bool with_sigma) {
    std::string title = caption;
    if (picture.quantity.known()) title += ", " + field_label(picture).text();
    for (std::string* text : {&caption, &title})
        std::ranges::replace(*text, '"', '\'');  // quotes end a text, and cannot be masked
    const bool vectors = picture.displacement.has_value();
    std::string text = "TITLE=\"" + title + "\"\n";
    text += "VARIABLES =\"x\" \"y\" \"i\" ";
    if (vectors) text += "\"u\" \"v\"";
    if (with_sigma) text += "\"sigma\" ";
    text += "\"b\"\n";
    text += "ZONE T=\"" + caption + "\" I=" + std::to_string(picture.width()) +
            ",J=" + std::to_string(picture.height()) + ",K=1,F=POINT\n";
    text += "DT=(DOUBLE DOUBLE DOUBLE DOUBLE ";
    if (vectors) text += "DOUBLE DOUBLE ";
    if (with_sigma) text += "DOUBLE ";
    return text + "\n";
}

void append_row(std::string& text, const image& picture, const image* sigma, int y) {
    const float* const values = picture.values().row(y);
    const std::uint8_t* const mask = picture.mask().row(y);
    const auto finite = [](float value) { return std::isfinite(value) ? value : 0.0F; };
    for (int x = 0; x < picture.width(); ++x) {
        append(text, x);
        append(text, y);
        append(text, finite(values[x]));
        if (picture.displacement) {
            const Vector2 vector = displacement_at(picture, x, y).value_or(Vector2{});
            append(text, finite(vector.u));
            append(text, finite(vector.v));
        }
        if (sigma) append(text, mask[x] != 0 ? 0.0F : finite(sigma->values()(x, y)));
        text += mask[x] != 0 || !std::isfinite(values[x]) ? "1\n" : "0\n";
    }
}

}  // namespace

void write_tecplot(const image& picture, const std::string& caption,
                   const std::filesystem::path& file, Progress& progress, const image* sigma,
                   const std::string& remark) {
    picture.check_planes();
    if (sigma) check_same_size(picture, *sigma);
    AtomicFile target(file, {unit});
    std::ofstream out(target.temporary(), std::ios::binary);
    std::string text = remark.empty() ? std::string() : "# " + remark + "\n";
    text += header(picture, caption, sigma != nullptr);
    for (int y = 0; y < picture.height() && out; ++y) {
        throw_if_aborted(progress);
        append_row(text, picture, sigma, y);
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
        text.clear();
        progress.fraction((y + 1.0) / picture.height());
    }
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.close();
    if (!out)
        throw FileError("Error writing file", file.string() + ": the disk does not take the file",
                        {unit});
    target.commit();
}

}  // namespace vyn
