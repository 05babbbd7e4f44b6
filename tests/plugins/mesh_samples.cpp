#include "tests/plugins/mesh_samples.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace vyn::test {

namespace {

template <class T>
void put(std::string& bytes, T number, std::endian order) {
    char raw[sizeof(T)];
    std::memcpy(raw, &number, sizeof(T));
    if (order != std::endian::native) std::reverse(raw, raw + sizeof(T));
    bytes.append(raw, sizeof(T));
}

}  // namespace

std::string plot3d_numbers(std::initializer_list<int> numbers, std::endian order) {
    std::string bytes;
    for (const int number : numbers)
        put(bytes, number, order);
    return bytes;
}

std::string plot3d_bytes(const Plot3dSample& sample) {
    std::string file;
    const auto record = [&](const std::string& content) {
        const auto mark = plot3d_numbers({static_cast<int>(content.size())}, sample.order);
        file += sample.records ? mark + content + mark : content;
    };
    if (sample.many) record(plot3d_numbers({2}, sample.order));
    std::vector<std::pair<int, int>> grids{{4, 3}};
    if (sample.many) grids.emplace_back(7, 5);
    std::string sizes;
    for (const auto& [ni, nj] : grids)
        sizes += sample.flat ? plot3d_numbers({ni, nj}, sample.order)
                             : plot3d_numbers({ni, nj, 1}, sample.order);
    record(sizes);
    for (const auto& [ni, nj] : grids) {
        std::string content;
        for (int axis = 0; axis < (sample.flat ? 2 : 3); ++axis)
            for (int k = 0; k < ni * nj; ++k) {
                const double place[]{k % ni + 0.5, 10 * (k / ni) + 0.25, 100 + k + 0.125};
                if (sample.doubles)
                    put(content, place[axis], sample.order);
                else
                    put(content, static_cast<float>(place[axis]), sample.order);
            }
        if (sample.blanking)
            for (int k = 0; k < ni * nj; ++k)
                put(content, std::int32_t{k == 2 ? 0 : 1}, sample.order);
        record(content);
    }
    return file;
}

}  // namespace vyn::test
