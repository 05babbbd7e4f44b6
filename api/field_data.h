#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "api/lens.h"

namespace vyn {

/// The model's surface as triangles, and results on it. Algorithms leave degenerate triangles
/// alone; readers refuse coordinates that are not finite and numbers of vertices that are not
/// there. NaN is a value that was not seen.
template <class T>
struct field_data {
    /// A named part of the mesh. The zones' triangles follow one another and are all triangles;
    /// vertices may be shared.
    struct Zone {
        std::string name;
        std::size_t first_triangle = 0;
        std::size_t triangle_count = 0;
        std::size_t first_vertex = 0;  ///< of a structured zone
        int ni = 0;                    ///< vertices of a structured zone, the i index running
        int nj = 0;                    ///< fastest; 0 for an unstructured one
        bool structured() const { return ni > 0 && nj > 0; }
        std::size_t end_triangle() const { return first_triangle + triangle_count; }
        bool operator==(const Zone&) const = default;
    };
    enum class Place { node, cell };
    struct Quantity {
        std::string name;
        std::vector<T> values;  ///< one per vertex or, at cells, one per cell of the file
        std::string unit;
        Place place = Place::node;
        bool operator==(const Quantity&) const = default;
    };
    /// A camera picture whose values are on the mesh. Camera frame: x right, y down, z forward;
    /// X_camera = rotation * X_model + shift, in mm.
    struct View {
        std::string name;
        std::array<double, 9> rotation{};  ///< row by row
        std::array<double, 3> shift{};
        double fx = 0;          ///< focal length in columns
        double fy = 0;          ///< and in rows
        Distortion lens;        ///< by which the pose was found
        Distortion field_lens;  ///< by which the picture had been corrected
        int width = 0;
        int height = 0;
        double rms = 0;  ///< of the markers, pixels
        bool operator==(const View&) const = default;
    };

    std::vector<std::array<T, 3>> vertices;
    std::vector<std::array<int, 3>> triangles;  ///< by vertex number from 0
    /// The cell of the file that each triangle is part of (of a quadrangle or polygon there are
    /// several), never falling; empty where triangle i is cell i.
    std::vector<int> cells;
    std::vector<std::uint8_t> blanked;  ///< 1 where a structured vertex is no surface; may be empty
    std::vector<Zone> zones;
    std::vector<Quantity> quantities;
    std::string unit;  ///< "mm", "sm", "dm", "m", "km"; empty where the file does not say
    std::vector<View> views;
    std::string history;  ///< mesh file with digest, settings, program version (JSON)
    /// What the values came from, item by item, as of images; empty when that is not known.
    std::map<std::string, std::string> origin;

    bool has_data() const { return !vertices.empty(); }
    void clear() { *this = field_data(); }
    int cell_of(std::size_t triangle) const {
        return cells.empty() ? static_cast<int>(triangle) : cells[triangle];
    }
    std::size_t cell_count() const {
        return cells.empty() ? triangles.size() : static_cast<std::size_t>(cells.back()) + 1;
    }
    bool is_blanked(std::size_t vertex) const { return !blanked.empty() && blanked[vertex] != 0; }
    const Quantity* find(const std::string& name) const {
        for (const Quantity& quantity : quantities)
            if (quantity.name == name) return &quantity;
        return nullptr;
    }
};

/// The program's one 3-D field; used from the worker thread and, while that is idle, by the window.
field_data<double>& get_field_data();

}  // namespace vyn
