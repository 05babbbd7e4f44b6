#pragma once

#include <algorithm>
#include <string>
#include <variant>
#include <vector>

#include "render/figure.h"

namespace vyn {

/// What a report says, part by part: the same for a page of a browser and for sheets of paper.
struct Document {
    enum class Tone { plain, alarm };

    struct Heading {
        std::string text;
    };
    struct Paragraph {
        std::string text;
        Tone tone = Tone::plain;
    };
    struct List {
        std::vector<std::string> items;
        Tone tone = Tone::plain;
    };
    struct Column {
        std::string head;
        enum class Kind { text, number } kind = Kind::text;
    };
    struct Table {
        std::vector<Column> columns;  ///< when none has a head there is no row of heads
        std::vector<std::vector<std::string>> rows{};  ///< of as many cells
    };
    struct Captioned {
        Figure figure;
        std::string caption;
    };
    /// So many side by side.
    struct Figures {
        std::vector<Captioned> items;
        int columns = 1;
    };
    /// Whether one of the columns has a head.
    static bool has_heads(const Table& table) {
        return std::ranges::any_of(table.columns,
                                   [](const Column& column) { return !column.head.empty(); });
    }
    using Part = std::variant<Heading, Paragraph, List, Table, Figures>;

    std::string title;
    std::string made_by;  ///< the program with its version
    std::vector<Part> parts{};

    /// Adds a part; an empty text, list, table or picture is nothing.
    void heading(std::string text) { parts.emplace_back(Heading{std::move(text)}); }
    void paragraph(std::string text, Tone tone = Tone::plain) {
        if (!text.empty()) parts.emplace_back(Paragraph{std::move(text), tone});
    }
    void list(std::vector<std::string> items, Tone tone = Tone::plain) {
        if (!items.empty()) parts.emplace_back(List{std::move(items), tone});
    }
    void table(Table table) {
        if (!table.rows.empty()) parts.emplace_back(std::move(table));
    }
    void figures(Figures figures) {
        std::erase_if(figures.items, [](const Captioned& item) { return !item.figure.draw; });
        if (!figures.items.empty()) parts.emplace_back(std::move(figures));
    }
};

/// The document as a file (PDF) of A4 pages with vector texts. The same document gives the same
/// bytes. Raises AlgoError when it cannot be drawn.
std::string pdf_of(const Document& document);

}  // namespace vyn
