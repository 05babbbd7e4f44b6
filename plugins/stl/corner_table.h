#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <vector>

#include "plugins/mesh_support/mesh_builder.h"

namespace vyn::plugins {

/// Gives equal corners one vertex: an open hash table of the mesh's vertices, all of which it made.
class CornerTable {
  public:
    CornerTable(MeshBuilder& mesh, std::size_t expected)
        : mesh_(mesh), slots_(std::bit_ceil(2 * expected + 16), -1) {
        mesh_.reserve_vertices(expected);
    }

    int number_of(std::array<double, 3> corner) {
        for (double& coordinate : corner)
            coordinate += 0.0;  // -0 is 0
        std::size_t slot = free_or_equal(corner);
        if (slots_[slot] >= 0) return slots_[slot];
        if (2 * mesh_.vertex_count() >= slots_.size()) {
            grow();
            slot = free_or_equal(corner);
        }
        slots_[slot] = mesh_.add_vertex(corner[0], corner[1], corner[2]);
        return slots_[slot];
    }

  private:
    std::size_t free_or_equal(const std::array<double, 3>& corner) const {
        std::uint64_t hash = 0;
        for (const double coordinate : corner) {
            hash ^= std::bit_cast<std::uint64_t>(coordinate);
            hash *= 0x9E3779B97F4A7C15U;
            hash ^= hash >> 32;
        }
        std::size_t slot = hash & (slots_.size() - 1);
        while (slots_[slot] >= 0 && mesh_.vertex(static_cast<std::size_t>(slots_[slot])) != corner)
            slot = (slot + 1) & (slots_.size() - 1);
        return slot;
    }

    void grow() {
        slots_.assign(2 * slots_.size(), -1);
        for (std::size_t i = 0; i < mesh_.vertex_count(); ++i)
            slots_[free_or_equal(mesh_.vertex(i))] = static_cast<std::int32_t>(i);
    }

    MeshBuilder& mesh_;
    std::vector<std::int32_t> slots_;
};

}  // namespace vyn::plugins
