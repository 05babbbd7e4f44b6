#pragma once

#include <functional>
#include <string>
#include <vector>

#include "render/document.h"
#include "render/vector_canvas.h"

namespace vyn {

/// Fills A4 pages from top to bottom; what does not fit goes on on the next page. Lengths in pixels
/// of 1/96 inch.
class PageFlow {
  public:
    PageFlow(std::string title, const std::string& made_by);

    void heading(const std::string& text);
    void paragraph(const std::string& text, Document::Tone tone);
    void list(const Document::List& list);
    /// Columns as wide as their texts; where that is too wide, those of the widest are broken into
    /// lines. The heads stand on every page.
    void table(const Document::Table& table);
    /// Figures wider than their column are drawn smaller.
    void figures(const Document::Figures& figures);

    std::string bytes();

  private:
    /// Lines of text from the left edge on.
    void lines(const std::string& text, const Canvas::TextStyle& style, double left, double width);
    /// A row of a table, its cells already in lines.
    void row(const std::vector<std::vector<std::string>>& cells, const Document::Table& table,
             const std::vector<double>& widths, const Canvas::TextStyle& style);
    /// Goes on on a new page unless so much is left on this one; true when it did.
    bool need(double height);
    void footer();

    std::string title_;
    VectorCanvas canvas_;
    double y_;
    int page_ = 1;
};

}  // namespace vyn
