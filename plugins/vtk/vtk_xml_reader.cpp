#include <algorithm>
#include <cmath>

#include "core/numbers.h"
#include "plugins/mesh_support/text_scanner.h"
#include "plugins/support/refusal.h"
#include "plugins/vtk/vtk_arrays.h"
#include "plugins/vtk/vtk_cells.h"
#include "plugins/vtk/vtk_readers.h"

namespace vyn::plugins {

namespace {

constexpr const char* appended_tag = "<AppendedData";

std::string attribute(const XmlElement& element, const char* name) {
    const std::string* value = element.attribute(name);
    return value ? *value : std::string();
}

class XmlReader {
  public:
    XmlReader(const std::filesystem::path& file, const std::string& bytes, Progress& progress)
        : file_(file),
          progress_(progress),
          root_(parse_front(bytes)),
          arrays_(file, root_, appended_, appended_base64_) {}

    field_data<double> read() {
        const std::string type = attribute(root_, "type");
        if (type != "PolyData" && type != "UnstructuredGrid" && type != "StructuredGrid")
            refuse(file_, "a file of type '" + type.substr(0, 40) + "' is no surface");
        const XmlElement* data = root_.child(type);
        if (!data) refuse(file_, "its element " + type + " is missing");
        std::vector<VtkPiece> pieces;
        VtkFieldData stored;
        for (const XmlElement& part : data->children) {
            if (part.name == "FieldData") read_field_data(part, stored);
            if (part.name != "Piece") continue;
            throw_if_aborted(progress_);
            pieces.push_back(read_piece(part, type));
            progress_.fraction(static_cast<double>(&part - data->children.data() + 1) /
                               static_cast<double>(data->children.size()));
        }
        return mesh_of(file_, std::move(pieces), stored);
    }

  private:
    /// Raw data are no XML: the parser sees what stands before them.
    XmlElement parse_front(const std::string& bytes) {
        const std::size_t at = bytes.find(appended_tag);
        if (at == bytes.npos) return parse_xml(bytes, file_.string());
        const std::string_view rest = std::string_view(bytes).substr(at);
        const std::size_t tag_end = rest.find('>');
        const std::size_t begin = rest.find('_', std::min(tag_end, rest.size()));
        if (begin == rest.npos) refuse(file_, "its appended data are cut off");
        appended_ = rest.substr(begin + 1);
        appended_base64_ = rest.substr(0, tag_end).find("base64") != rest.npos;
        return parse_xml(bytes.substr(0, at) + "</VTKFile>", file_.string());
    }

    VtkArray read_array(const XmlElement& element) const {
        VtkArray array;
        array.name = attribute(element, "Name");
        const std::string components = attribute(element, "NumberOfComponents");
        if (!components.empty()) array.components = parse_int(components).value_or(0);
        if (array.components < 1 || array.components > 100)
            refuse(file_, "the array '" + array.name + "' has no number of components");
        array.values = arrays_.numbers(element);
        return array;
    }

    void read_field_data(const XmlElement& element, VtkFieldData& stored) const {
        for (const XmlElement& array : element.children)
            if (attribute(array, "type") == "String")
                stored.texts.emplace_back(attribute(array, "Name"), arrays_.texts(array));
            else if (array.name == "DataArray")
                stored.numbers.push_back(read_array(array));
    }

    std::vector<VtkArray> read_arrays(const XmlElement& piece, const char* where) const {
        std::vector<VtkArray> result;
        if (const XmlElement* data = piece.child(where))
            for (const XmlElement& array : data->children)
                if (array.name == "DataArray" && attribute(array, "type") != "String")
                    result.push_back(read_array(array));
        return result;
    }

    std::vector<std::int64_t> whole_numbers(const XmlElement& cells, const char* name) const {
        std::vector<std::int64_t> result;
        for (const XmlElement& array : cells.children) {
            if (attribute(array, "Name") != name) continue;
            for (const double number : arrays_.numbers(array)) {
                if (!(std::abs(number) < 4e15)) refuse(file_, "a number of a point is too large");
                result.push_back(static_cast<std::int64_t>(number));
            }
        }
        return result;
    }

    void read_cells(const XmlElement& piece, const char* where, int type, VtkPiece& result) const {
        const XmlElement* cells = piece.child(where);
        if (!cells) return;
        const auto before = static_cast<std::int64_t>(result.connectivity.size());
        const auto connectivity = whole_numbers(*cells, "connectivity");
        const auto ends = whole_numbers(*cells, "offsets");
        result.connectivity.insert(result.connectivity.end(), connectivity.begin(),
                                   connectivity.end());
        for (const std::int64_t end : ends)
            result.ends.push_back(before + end);
        if (type > 0) {
            result.types.insert(result.types.end(), ends.size(), type);
        } else {
            for (const std::int64_t each : whole_numbers(*cells, "types"))
                result.types.push_back(static_cast<int>(each));
        }
    }

    VtkPiece read_piece(const XmlElement& piece, const std::string& type) const {
        VtkPiece result;
        const XmlElement* points = piece.child("Points");
        const XmlElement* array = points ? points->child("DataArray") : nullptr;
        if (!array) return result;
        result.points = arrays_.numbers(*array);
        if (result.points.size() % 3 != 0) refuse(file_, "a point has no three coordinates");
        if (type == "StructuredGrid") {
            result.size = extent(piece, result.points.size() / 3);
        } else if (type == "PolyData") {
            read_cells(piece, "Verts", vtk_types::vertices, result);
            read_cells(piece, "Lines", vtk_types::polyline, result);
            read_cells(piece, "Polys", vtk_types::polygon, result);
            read_cells(piece, "Strips", vtk_types::strip, result);
        } else {
            read_cells(piece, "Cells", 0, result);
        }
        result.point_data = read_arrays(piece, "PointData");
        result.cell_data = read_arrays(piece, "CellData");
        return result;
    }

    std::array<std::int64_t, 3> extent(const XmlElement& piece, std::size_t points) const {
        const std::string text = attribute(piece, "Extent");
        TextScanner scanner(file_, text, progress_);
        std::array<std::int64_t, 3> size{};
        for (std::int64_t& side : size) {
            constexpr std::int64_t far = 1 << 20;
            const std::int64_t low = scanner.whole(-far, far);
            side = scanner.whole(low, far) - low + 1;
        }
        if (static_cast<std::uint64_t>(size[0] * size[1]) * static_cast<std::uint64_t>(size[2]) !=
            points)
            refuse(file_, "a grid has not the points of its extent");
        return size;
    }

    const std::filesystem::path& file_;
    Progress& progress_;
    std::string_view appended_;
    bool appended_base64_ = false;
    XmlElement root_;
    VtkArrays arrays_;
};

}  // namespace

field_data<double> read_vtk_xml(const std::filesystem::path& file, const std::string& bytes,
                                Progress& progress) {
    return XmlReader(file, bytes, progress).read();
}

}  // namespace vyn::plugins
