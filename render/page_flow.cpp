#include "render/page_flow.h"

#include <algorithm>

namespace vyn {

namespace {

constexpr double page_width = 210 / 25.4 * 96;
constexpr double page_height = 297 / 25.4 * 96;
constexpr double margin = 15 / 25.4 * 96;
constexpr double text_span = page_width - 2 * margin;
constexpr double bottom = page_height - 1.3 * margin;

constexpr double body = 8;  // height of capitals
constexpr double cells = 7;
constexpr double line_share = 1.95;  // of them, from line to line
constexpr double cell_gap = 12;
constexpr double figure_gap = 16;
constexpr double tallest_figure = 0.6 * (bottom - margin);

constexpr Canvas::Colour ink{20, 20, 20};
constexpr Canvas::Colour red{176, 0, 32};
constexpr Canvas::Colour grey{110, 110, 110};
constexpr Canvas::Colour rule{205, 205, 205};

Canvas::TextStyle style_of(double height, Canvas::Colour colour,
                           Lettering::Weight weight = Lettering::Weight::normal) {
    return {{height, weight}, colour};
}

Canvas::Colour colour_of(Document::Tone tone) {
    return tone == Document::Tone::alarm ? red : ink;
}

/// Widths that together fit: the widest columns share what the narrow ones leave.
std::vector<double> fitted(std::vector<double> widths, double room) {
    std::vector<std::size_t> order(widths.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::ranges::stable_sort(order, {}, [&](std::size_t i) { return widths[i]; });
    for (std::size_t n = 0; n < order.size(); ++n) {
        double& width = widths[order[n]];
        width = std::min(width, room / static_cast<double>(order.size() - n));
        room -= width;
    }
    return widths;
}

}  // namespace

PageFlow::PageFlow(std::string title, const std::string& made_by)
    : title_(std::move(title)),
      canvas_(VectorCanvas::Format::pdf, page_width, page_height,
              {{"Title", title_}, {"Software", made_by}}),
      y_(margin) {
    constexpr double letters = 13;
    lines(title_, style_of(letters, ink, Lettering::Weight::bold), margin, text_span);
    y_ += letters / 2;
}

bool PageFlow::need(double height) {
    if (y_ + height <= bottom) return false;
    footer();
    canvas_.next_page();
    ++page_;
    y_ = margin;
    return true;
}

void PageFlow::footer() {
    const double y = page_height - 0.6 * margin;
    Canvas::TextStyle style = style_of(6, grey);
    const std::string number = std::to_string(page_);
    const double room = text_span - 2 * text_width(number, style);
    canvas_.text(wrapped_text(title_, room, style).front(), margin, y, style);
    style.align = Canvas::Align::right;
    canvas_.text(number, page_width - margin, y, style);
}

void PageFlow::lines(const std::string& text, const Canvas::TextStyle& style, double left,
                     double width) {
    for (const std::string& line : wrapped_text(text, width, style)) {
        need(line_share * style.height);
        y_ += line_share * style.height;
        canvas_.text(line, left, y_ - (line_share - 1) / 2 * style.height, style);
    }
}

void PageFlow::heading(const std::string& text) {
    constexpr double letters = 10;
    constexpr double with_what_follows = 90;
    if (!need(with_what_follows)) y_ += 1.4 * letters;
    lines(text, style_of(letters, ink, Lettering::Weight::bold), margin, text_span);
    y_ += 0.4 * letters;
}

void PageFlow::paragraph(const std::string& text, Document::Tone tone) {
    lines(text, style_of(body, colour_of(tone)), margin, text_span);
    y_ += 0.6 * body;
}

void PageFlow::list(const Document::List& list) {
    const Canvas::TextStyle style = style_of(body, colour_of(list.tone));
    constexpr double indent = 14;
    for (const std::string& item : list.items) {
        need(line_share * body);
        canvas_.text("\u2022", margin + 2, y_ + (line_share + 1) / 2 * body, style);
        lines(item, style, margin + indent, text_span - indent);
    }
    y_ += 0.6 * body;
}

void PageFlow::row(const std::vector<std::vector<std::string>>& row_cells,
                   const Document::Table& table, const std::vector<double>& widths,
                   const Canvas::TextStyle& style) {
    double x = margin;
    std::size_t most = 1;
    for (std::size_t c = 0; c < row_cells.size(); ++c) {
        const bool number = table.columns[c].kind == Document::Column::Kind::number;
        Canvas::TextStyle placed = style;
        if (number) placed.align = Canvas::Align::right;
        double y = y_ + (line_share + 1) / 2 * style.height;
        for (const std::string& line : row_cells[c]) {
            canvas_.text(line, number ? x + widths[c] : x, y, placed);
            y += line_share * style.height;
        }
        most = std::max(most, row_cells[c].size());
        x += widths[c] + cell_gap;
    }
    y_ += line_share * style.height * static_cast<double>(most);
    canvas_.stroke({{{margin, y_}, {x - cell_gap, y_}}}, 0.5, rule);
}

void PageFlow::table(const Document::Table& table) {
    const Canvas::TextStyle style = style_of(cells, ink);
    const Canvas::TextStyle bold = style_of(cells, ink, Lettering::Weight::bold);
    std::vector<double> widths;
    std::vector<std::string> heads;
    for (std::size_t c = 0; c < table.columns.size(); ++c) {
        heads.push_back(table.columns[c].head);
        widths.push_back(text_width(heads.back(), bold));
        for (const auto& cells_of_row : table.rows)
            widths.back() = std::max(widths.back(), text_width(cells_of_row[c], style));
        widths.back() += 0.5;  // so that a text as wide as its column stays in one line
    }
    widths = fitted(widths, text_span - cell_gap * static_cast<double>(widths.size() - 1));

    const auto in_lines = [&](const std::vector<std::string>& texts,
                              const Canvas::TextStyle& letters) {
        std::vector<std::vector<std::string>> broken;
        for (std::size_t c = 0; c < texts.size(); ++c)
            broken.push_back(wrapped_text(texts[c], widths[c], letters));
        return broken;
    };
    const auto height_of = [&](const std::vector<std::vector<std::string>>& broken) {
        std::size_t most = 1;
        for (const auto& cell : broken)
            most = std::max(most, cell.size());
        return line_share * cells * static_cast<double>(most);
    };
    const auto head = in_lines(heads, bold);
    const bool with_head = Document::has_heads(table);
    const double head_height = with_head ? height_of(head) : 0;
    bool begun = false;
    const auto put = [&](const std::vector<std::vector<std::string>>& broken) {
        const bool starts = need(height_of(broken) + (begun ? 0 : head_height)) || !begun;
        if (starts && with_head) row(head, table, widths, bold);
        begun = true;
        row(broken, table, widths, style);
    };
    for (const auto& texts : table.rows) {
        auto rest = in_lines(texts, style);
        // A row higher than a page goes on in further ones.
        for (constexpr std::ptrdiff_t most = 40; height_of(rest) > line_share * cells * most;) {
            auto part = rest;
            for (std::size_t c = 0; c < rest.size(); ++c) {
                const auto count = std::min(most, std::ssize(rest[c]));
                part[c].resize(static_cast<std::size_t>(count));
                rest[c].erase(rest[c].begin(), rest[c].begin() + count);
            }
            put(part);
        }
        put(rest);
    }
    y_ += body;
}

void PageFlow::figures(const Document::Figures& figures) {
    const auto columns = static_cast<std::size_t>(std::max(figures.columns, 1));
    const double width =
        (text_span - figure_gap * static_cast<double>(columns - 1)) / static_cast<double>(columns);
    const Canvas::TextStyle style = style_of(cells, ink);
    const auto scale_of = [&](const Figure& figure) {
        return std::min({1.0, width / figure.width, tallest_figure / figure.height});
    };
    for (std::size_t first = 0; first < figures.items.size(); first += columns) {
        const std::size_t end = std::min(first + columns, figures.items.size());
        double tall = 0;
        double under = 0;
        for (std::size_t i = first; i < end; ++i) {
            const auto& [figure, caption] = figures.items[i];
            tall = std::max(tall, scale_of(figure) * figure.height);
            const std::size_t count =
                caption.empty() ? 0 : wrapped_text(caption, width, style).size();
            under = std::max(under, line_share * cells * static_cast<double>(count));
        }
        need(tall + under);
        const double top = y_;
        double left = margin;
        for (std::size_t i = first; i < end; ++i, left += width + figure_gap) {
            const auto& [figure, caption] = figures.items[i];
            canvas_.place(figure, left, top, scale_of(figure));
            y_ = top + tall;
            if (!caption.empty()) lines(caption, style, left, width);
        }
        y_ = top + tall + under + body;
    }
}

std::string PageFlow::bytes() {
    footer();
    return canvas_.bytes();
}

std::string pdf_of(const Document& document) {
    PageFlow flow(document.title, document.made_by);
    const auto put = [&](const auto& part) {
        using Kind = std::decay_t<decltype(part)>;
        if constexpr (std::is_same_v<Kind, Document::Heading>)
            flow.heading(part.text);
        else if constexpr (std::is_same_v<Kind, Document::Paragraph>)
            flow.paragraph(part.text, part.tone);
        else if constexpr (std::is_same_v<Kind, Document::List>)
            flow.list(part);
        else if constexpr (std::is_same_v<Kind, Document::Table>)
            flow.table(part);
        else
            flow.figures(part);
    };
    for (const Document::Part& part : document.parts)
        std::visit(put, part);
    flow.paragraph("Made by " + document.made_by + ".", Document::Tone::plain);
    return flow.bytes();
}

}  // namespace vyn
