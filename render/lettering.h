#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct _PangoLayout;  // NOLINT(bugprone-reserved-identifier): the library's name

namespace vyn {

/// Letters of pictures and pages: UTF-8 in DejaVu Sans, characters that it lacks in what the system
/// has. They are the same whatever the desktop's settings and language, on any thread.
struct Lettering {
    enum class Weight { normal, bold };
    double height = 10;  ///< of capitals, pixels
    Weight weight = Weight::normal;
};

/// The width in pixels of a text in one line.
double text_width(std::string_view text, const Lettering& lettering);

/// A text in lines no wider than so many pixels, broken between words; where a word is wider, in
/// it. Line ends of the text are kept.
std::vector<std::string> wrapped_text(std::string_view text, double width,
                                      const Lettering& lettering);

/// Pango's layout of a text in one line, to be drawn by the thread that asked for it.
struct LayoutDeleter {
    void operator()(_PangoLayout* layout) const;
};
using TextLayout = std::unique_ptr<_PangoLayout, LayoutDeleter>;
TextLayout text_layout(std::string_view text, const Lettering& lettering);

}  // namespace vyn
