#pragma once

#include "api/png_writer.h"
#include "render/canvas.h"

namespace vyn {

/// Pages of lines, letters and embedded pictures as the bytes of a file: a drawing (SVG 1.1, one
/// page) or a document (PDF 1.5). The same drawing gives the same bytes.
class VectorCanvas final : public Canvas {
  public:
    enum class Format { svg, pdf };

    /// Size of a page in pixels of 1/96 inch. Of the description, "Title" and "Software" go where
    /// readers of such files look for them.
    VectorCanvas(Format format, double width, double height, const PictureTexts& description);
    ~VectorCanvas() override;

    /// Goes on on a new page of a document.
    void next_page();
    /// Ends the drawing. Raises AlgoError when something could not be drawn.
    std::string bytes();

  private:
    VectorCanvas(Format format, double width, double height, std::unique_ptr<std::string> bytes);

    std::unique_ptr<std::string> bytes_;  // where it stays while the surface writes to it
    Format format_;
    std::string description_;  ///< of a drawing, as its elements
};

}  // namespace vyn
