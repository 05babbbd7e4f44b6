#include <algorithm>
#include <cmath>

#include "core/ascii.h"
#include "core/numbers.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/mesh_support/text_scanner.h"
#include "plugins/support/refusal.h"
#include "plugins/vtk/vtk_cells.h"
#include "plugins/vtk/vtk_readers.h"

namespace vyn::plugins {

namespace {

class LegacyReader {
  public:
    LegacyReader(const std::filesystem::path& file, const std::string& bytes, Progress& progress)
        : file_(file), text_(file, bytes, progress) {}

    field_data<double> read() {
        text_.line();  // "# vtk DataFile Version 3.0"
        text_.line();  // title
        const std::string encoding = lower_case(text_.word());
        if (encoding != "ascii" && encoding != "binary") text_.refuse("neither ASCII nor BINARY");
        binary_ = encoding == "binary";
        if (lower_case(text_.word()) != "dataset") text_.refuse("DATASET is missing");
        type_ = lower_case(text_.word());
        if (type_ != "polydata" && type_ != "unstructured_grid" && type_ != "structured_grid")
            text_.refuse("a data set of type '" + type_.substr(0, 40) + "' is no surface");
        while (!text_.at_end())
            read_section(lower_case(text_.word()));
        if (type_ == "structured_grid" && product(piece_.size) != piece_.points.size() / 3)
            refuse(file_, "the grid has not the points of its dimensions");
        append(vertices_);
        append(lines_);
        append(polygons_);
        append(strips_);
        std::vector<VtkPiece> pieces;
        pieces.push_back(std::move(piece_));
        return mesh_of(file_, std::move(pieces), {});
    }

  private:
    struct Cells {
        int type = 0;
        std::vector<std::int64_t> connectivity;
        std::vector<std::int64_t> ends;
    };

    static std::size_t product(const std::array<std::int64_t, 3>& size) {
        return static_cast<std::size_t>(size[0] * size[1]) * static_cast<std::size_t>(size[2]);
    }

    void read_section(const std::string& word) {
        if (word == "points")
            read_points();
        else if (word == "dimensions")
            read_dimensions();
        else if (word == "vertices")
            vertices_ = read_cells(vtk_types::vertices);
        else if (word == "lines")
            lines_ = read_cells(vtk_types::polyline);
        else if (word == "polygons")
            polygons_ = read_cells(vtk_types::polygon);
        else if (word == "triangle_strips")
            strips_ = read_cells(vtk_types::strip);
        else if (word == "cells")
            append(read_cells(0));
        else if (word == "cell_types")
            read_types();
        else if (word == "point_data")
            begin_data(piece_.point_data);
        else if (word == "cell_data")
            begin_data(piece_.cell_data);
        else if (word == "metadata")
            skip_metadata();
        else
            read_attribute(word);
    }

    /// Without moving on: binary numbers may begin right after the end of this line.
    bool next_line_begins(std::string_view wanted) const {
        const std::string_view rest = text_.rest();
        const std::size_t end = rest.find('\n');
        return end != rest.npos && lower_case(rest.substr(end + 1, wanted.size())) == wanted;
    }

    void read_points() {
        const std::size_t count = text_.count(3);
        const std::string type = lower_case(text_.word());
        piece_.points = numbers(3 * count, type);
    }

    void read_dimensions() {
        constexpr std::int64_t largest = 1 << 20;
        for (std::int64_t& side : piece_.size)
            side = text_.whole(1, largest);
    }

    /// Of version 5 in two arrays, before with each cell's count before its points.
    Cells read_cells(int type) {
        Cells cells;
        cells.type = type;
        const std::size_t first = text_.count(1);
        const std::size_t second = text_.count(1);
        if (next_line_begins("offsets")) {
            text_.word();
            cells.ends = whole_numbers(first, lower_case(text_.word()));
            if (lower_case(text_.word()) != "connectivity") text_.refuse("CONNECTIVITY is missing");
            cells.connectivity = whole_numbers(second, lower_case(text_.word()));
            if (!cells.ends.empty()) cells.ends.erase(cells.ends.begin());
            return cells;
        }
        const auto packed = whole_numbers(second, "int");
        for (std::size_t at = 0; at < packed.size();) {
            const std::int64_t count = packed[at++];
            if (count < 0 || count > static_cast<std::int64_t>(packed.size() - at))
                text_.refuse("the cells are damaged");
            const auto begin = packed.begin() + static_cast<std::ptrdiff_t>(at);
            cells.connectivity.insert(cells.connectivity.end(), begin, begin + count);
            cells.ends.push_back(static_cast<std::int64_t>(cells.connectivity.size()));
            at += static_cast<std::size_t>(count);
        }
        if (cells.ends.size() != first) text_.refuse("there are not as many cells as announced");
        return cells;
    }

    void append(const Cells& cells) {
        const auto before = static_cast<std::int64_t>(piece_.connectivity.size());
        piece_.connectivity.insert(piece_.connectivity.end(), cells.connectivity.begin(),
                                   cells.connectivity.end());
        for (const std::int64_t end : cells.ends)
            piece_.ends.push_back(before + end);
        if (cells.type > 0) piece_.types.insert(piece_.types.end(), cells.ends.size(), cells.type);
    }

    void read_types() {
        for (const std::int64_t type : whole_numbers(text_.count(1), "int"))
            piece_.types.push_back(static_cast<int>(std::clamp<std::int64_t>(type, -1, 1000)));
    }

    void begin_data(std::vector<VtkArray>& arrays) {
        data_ = &arrays;
        data_count_ = text_.count(1);
    }

    /// A block of lines that ends with an empty one.
    void skip_metadata() {
        text_.line();
        while (!text_.rest().empty() && !trim(text_.line()).empty()) {
        }
    }

    void read_attribute(const std::string& word) {
        if (word == "field") {
            read_field();
            return;
        }
        const std::string name = text_.at_end() ? std::string() : std::string(text_.word());
        if (word == "lookup_table") {
            numbers(4 * text_.count(1), "unsigned_char");
            return;
        }
        if (!data_) text_.refuse("'" + word.substr(0, 40) + "' is not read here");
        if (word == "scalars") {
            const std::string type = lower_case(text_.word());
            std::int64_t components = 1;
            if (trim(text_.rest().substr(0, text_.rest().find('\n'))).size() > 0)
                components = text_.whole(1, 4);
            if (next_line_begins("lookup_table")) {
                text_.word();
                text_.word();
            }
            add(name, static_cast<int>(components), type);
        } else if (word == "vectors" || word == "normals") {
            add(name, 3, lower_case(text_.word()));
        } else if (word == "texture_coordinates") {
            const std::int64_t components = text_.whole(1, 3);
            add(name, static_cast<int>(components), lower_case(text_.word()));
        } else {
            text_.refuse("'" + word.substr(0, 40) + "' is not read here");
        }
    }

    void add(const std::string& name, int components, const std::string& type) {
        data_->push_back(
            {name, components, numbers(data_count_ * static_cast<std::size_t>(components), type)});
    }

    /// Named arrays; those outside of points and cells are left aside.
    void read_field() {
        text_.word();
        const std::size_t arrays = text_.count(1);
        for (std::size_t i = 0; i < arrays; ++i) {
            std::string name(text_.word());
            if (lower_case(name) == "metadata") {
                skip_metadata();
                name = text_.word();
            }
            const std::int64_t components = text_.whole(1, 100);
            const std::size_t tuples = text_.count(1);
            auto values =
                numbers(static_cast<std::size_t>(components) * tuples, lower_case(text_.word()));
            if (data_ && tuples == data_count_)
                data_->push_back({name, static_cast<int>(components), std::move(values)});
        }
    }

    std::vector<std::int64_t> whole_numbers(std::size_t count, const std::string& type) {
        std::vector<std::int64_t> result;
        for (const double number : numbers(count, type)) {
            if (!(std::abs(number) < 4e15)) text_.refuse("a number is too large");
            result.push_back(static_cast<std::int64_t>(number));
        }
        return result;
    }

    template <class T>
    std::vector<double> stored(std::size_t count) {
        // Binary numbers begin after the end of the line that announces them.
        text_.line();
        if (count > text_.rest().size() / sizeof(T)) text_.refuse("the file ends too early");
        std::vector<double> result(count);
        for (std::size_t i = 0; i < count; ++i)
            result[i] = static_cast<double>(
                number_at<T>(text_.rest().data() + i * sizeof(T), std::endian::big));
        text_.skip(count * sizeof(T));
        return result;
    }

    std::vector<double> numbers(std::size_t count, const std::string& type) {
        if (!binary_) {
            if (count > text_.rest().size() / 2 + 1) text_.refuse("the file ends too early");
            std::vector<double> result(count);
            for (double& number : result)
                number = text_.value();
            return result;
        }
        if (type == "double") return stored<double>(count);
        if (type == "float") return stored<float>(count);
        if (type == "int") return stored<std::int32_t>(count);
        if (type == "unsigned_int") return stored<std::uint32_t>(count);
        if (type == "long" || type == "vtktypeint64" || type == "vtkidtype")
            return stored<std::int64_t>(count);
        if (type == "unsigned_long") return stored<std::uint64_t>(count);
        if (type == "short") return stored<std::int16_t>(count);
        if (type == "unsigned_short") return stored<std::uint16_t>(count);
        if (type == "char") return stored<std::int8_t>(count);
        if (type == "unsigned_char") return stored<std::uint8_t>(count);
        text_.refuse("'" + type.substr(0, 40) + "' is no type of a number");
    }

    const std::filesystem::path& file_;
    TextScanner text_;
    bool binary_ = false;
    std::string type_;
    VtkPiece piece_;
    Cells vertices_;
    Cells lines_;
    Cells polygons_;
    Cells strips_;
    std::vector<VtkArray>* data_ = nullptr;
    std::size_t data_count_ = 0;
};

}  // namespace

field_data<double> read_vtk_legacy(const std::filesystem::path& file, const std::string& bytes,
                                   Progress& progress) {
    return LegacyReader(file, bytes, progress).read();
}

}  // namespace vyn::plugins
