#include "render/vector_canvas.h"

#include <cstdlib>
#include <ctime>
#include <map>

#include <cairo-pdf.h>
#include <cairo-svg.h>

#include "core/numbers.h"
#include "core/xml_writer.h"

namespace vyn {

namespace {

constexpr double points_per_pixel = 0.75;

cairo_status_t append(void* to, const unsigned char* data, unsigned length) {
    static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

cairo_surface_t* new_surface(VectorCanvas::Format format, double width, double height,
                             std::string& bytes) {
    if (format == VectorCanvas::Format::pdf)
        return cairo_pdf_surface_create_for_stream(append, &bytes, points_per_pixel * width,
                                                   points_per_pixel * height);
    cairo_surface_t* const surface =
        cairo_svg_surface_create_for_stream(append, &bytes, width, height);
    cairo_svg_surface_set_document_unit(surface, CAIRO_SVG_UNIT_PX);
    return surface;
}

/// The time that a document claims to be of, so that the same input gives the same bytes: that of
/// the sources as reproducible builds state it, else none.
std::string stated_time() {
    const char* const told = std::getenv("SOURCE_DATE_EPOCH");
    const auto seconds = told ? parse_double(told) : std::nullopt;
    if (!seconds || !(*seconds >= 0 && *seconds < 2.5e11)) return {};
    const auto time = static_cast<std::time_t>(*seconds);
    std::tm parts{};
    gmtime_r(&time, &parts);
    char text[40];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

void describe_document(cairo_surface_t* surface, const PictureTexts& description) {
    const auto put = [&](cairo_pdf_metadata_t what, const std::string& text) {
        cairo_pdf_surface_set_metadata(surface, what, valid_utf8(text).c_str());
    };
    std::string subject;
    for (const auto& [keyword, text] : description) {
        if (keyword == "Title")
            put(CAIRO_PDF_METADATA_TITLE, text);
        else if (keyword == "Software")
            put(CAIRO_PDF_METADATA_CREATOR, text);
        else
            subject.append(subject.empty() ? "" : "\n").append(keyword).append(": ").append(text);
    }
    if (!subject.empty()) put(CAIRO_PDF_METADATA_SUBJECT, subject);
    // Without it Cairo takes the present time, with an empty one none.
    put(CAIRO_PDF_METADATA_CREATE_DATE, stated_time());
}

std::string elements_of(const PictureTexts& description) {
    std::string title;
    std::string rest;
    for (const auto& [keyword, text] : description) {
        if (keyword == "Title")
            title = "\n<title>" + xml_escaped(text) + "</title>";
        else
            rest.append(xml_escaped(keyword)).append(": ").append(xml_escaped(text)).append("\n");
    }
    return title + (rest.empty() ? "" : "\n<desc>" + rest + "</desc>");
}

/// Cairo numbers surfaces and pictures by a count of the whole process; here each gets its place
/// among those of the drawing, so that the bytes do not tell what was drawn before.
std::string with_own_numbers(const std::string& svg) {
    std::map<std::string, std::string> names;
    std::string out;
    std::size_t done = 0;
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    for (std::size_t at = 0; (at = svg.find_first_of("\"#", at)) != std::string::npos;) {
        const std::size_t start = ++at;
        for (const char* kind : {"surface", "image", "mask", "clip", "pattern", "recording"}) {
            const std::size_t digits = start + std::string_view(kind).size();
            if (svg.compare(start, digits - start, kind) != 0 || digits >= svg.size() ||
                !is_digit(svg[digits]))
                continue;
            std::size_t end = digits;
            while (end < svg.size() && is_digit(svg[end]))
                ++end;
            const auto [name, fresh] = names.try_emplace(svg.substr(start, end - start));
            if (fresh) name->second = kind + std::to_string(names.size());
            out.append(svg, done, start - done).append(name->second);
            done = at = end;
            break;
        }
    }
    return out.append(svg, done);
}

}  // namespace

VectorCanvas::VectorCanvas(Format format, double width, double height,
                           const PictureTexts& description)
    : VectorCanvas(format, width, height, std::make_unique<std::string>()) {
    if (format == Format::pdf)
        describe_document(cairo_get_target(context()), description);
    else
        description_ = elements_of(description);
    fill(0, 0, width, height, {255, 255, 255});
}

VectorCanvas::VectorCanvas(Format format, double width, double height,
                           std::unique_ptr<std::string> bytes)
    : Canvas(new_surface(format, width, height, *bytes), Texts::characters,
             format == Format::pdf ? points_per_pixel : 1),
      bytes_(std::move(bytes)),
      format_(format) {}

VectorCanvas::~VectorCanvas() {
    cairo_surface_finish(cairo_get_target(context()));
}

void VectorCanvas::next_page() {
    cairo_show_page(context());
}

std::string VectorCanvas::bytes() {
    check();
    cairo_surface_finish(cairo_get_target(context()));
    if (format_ == Format::pdf) return *bytes_;
    std::string svg = with_own_numbers(*bytes_);
    const std::size_t root = svg.find("<svg");
    svg.insert(svg.find('>', root) + 1, description_);
    return svg;
}

}  // namespace vyn
