#pragma once

namespace vyn {

/// Nodes on a picture: node (c, r) is pixel (c * step, r * step). Its cell and its block, cell x
/// cell and step x step pixels, reach from half of that before the node (whole pixels) on.
struct NodeGrid {
    int width;  ///< of the picture
    int height;
    int step;
    int cell;

    int columns() const { return (width - 1) / step + 1; }
    int rows() const { return (height - 1) / step + 1; }
};

}  // namespace vyn
