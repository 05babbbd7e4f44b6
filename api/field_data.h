#pragma once

#include <array>
#include <mutex>
#include <string>
#include <vector>

namespace vyn {

/// Results on the model's 3-D mesh: vertices, triangles by vertex number from 0, and one value per
/// vertex and quantity.
template <class T>
struct field_data {
    std::vector<std::array<T, 3>> vertices;
    std::vector<std::array<int, 3>> triangles;
    struct Quantity {
        std::string name;
        std::vector<T> values;
    };
    std::vector<Quantity> quantities;

    bool has_data() const { return !vertices.empty(); }
    void clear() { *this = field_data(); }
};

/// The program's one 3-D field; used from the worker thread and, while that is idle, by the window.
field_data<double>& get_field_data();

}  // namespace vyn
