#include "render/lettering.h"

#include <pango/pangocairo.h>

#include "core/xml_writer.h"

namespace vyn {

namespace {

constexpr const char* family = "DejaVu Sans";
constexpr double capitals = 1493.0 / 2048;  // their height in that font, of its size

template <class Object>
struct Unreference {
    void operator()(Object* object) const { g_object_unref(object); }
};
template <class Object>
using Owned = std::unique_ptr<Object, Unreference<Object>>;

/// Pango's objects serve one thread at a time, so that each thread has its own.
struct ThreadLetters {
    ThreadLetters() {
        // Stated here, or the desktop's settings would decide about hinting and smoothing.
        cairo_font_options_t* const options = cairo_font_options_create();
        cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
        cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
        pango_cairo_context_set_font_options(context.get(), options);
        cairo_font_options_destroy(options);
        pango_context_set_round_glyph_positions(context.get(), FALSE);
        pango_context_set_language(context.get(), pango_language_from_string("en"));
    }

    Owned<PangoFontMap> map{pango_cairo_font_map_new()};
    Owned<PangoContext> context{pango_font_map_create_context(map.get())};
};

struct FontFree {
    void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
};

double in_pixels(int pango_units) {
    return static_cast<double>(pango_units) / PANGO_SCALE;
}

}  // namespace

void LayoutDeleter::operator()(_PangoLayout* layout) const {
    g_object_unref(layout);
}

TextLayout text_layout(std::string_view text, const Lettering& lettering) {
    thread_local const ThreadLetters letters;
    TextLayout layout(pango_layout_new(letters.context.get()));
    const std::unique_ptr<PangoFontDescription, FontFree> font(pango_font_description_new());
    pango_font_description_set_family_static(font.get(), family);
    pango_font_description_set_absolute_size(font.get(), lettering.height / capitals * PANGO_SCALE);
    if (lettering.weight == Lettering::Weight::bold)
        pango_font_description_set_weight(font.get(), PANGO_WEIGHT_BOLD);
    pango_layout_set_font_description(layout.get(), font.get());
    pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
    const std::string valid = valid_utf8(text);
    pango_layout_set_text(layout.get(), valid.data(), static_cast<int>(valid.size()));
    return layout;
}

double text_width(std::string_view text, const Lettering& lettering) {
    PangoRectangle extents;
    pango_layout_get_extents(text_layout(text, lettering).get(), nullptr, &extents);
    return in_pixels(extents.width);
}

std::vector<std::string> wrapped_text(std::string_view text, double width,
                                      const Lettering& lettering) {
    const TextLayout layout = text_layout(text, lettering);
    pango_layout_set_single_paragraph_mode(layout.get(), FALSE);
    pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
    pango_layout_set_width(layout.get(), static_cast<int>(width * PANGO_SCALE));
    const std::string whole = pango_layout_get_text(layout.get());
    std::vector<std::string> lines;
    for (GSList* at = pango_layout_get_lines_readonly(layout.get()); at; at = at->next) {
        const auto* line = static_cast<const PangoLayoutLine*>(at->data);
        std::string part = whole.substr(static_cast<std::size_t>(line->start_index),
                                        static_cast<std::size_t>(line->length));
        part.erase(part.find_last_not_of(" \n\r") + 1);
        lines.push_back(std::move(part));
    }
    return lines;
}

}  // namespace vyn
