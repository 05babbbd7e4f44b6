// PLY (Turk 1994): text and both byte orders, properties in any order. Numbers of a vertex beside
// its place are quantities.
#include <algorithm>
#include <cmath>
#include <memory>

#include "api/image_io.h"
#include "plugins/mesh_support/mesh_builder.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/ply/ply_header.h"
#include "plugins/support/provenance.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

using Type = PlyHeader::Type;

/// The numbers of the data part, one after another.
class Numbers {
  public:
    virtual ~Numbers() = default;
    virtual double next(Type type) = 0;
    /// How many numbers of that type the rest of the file can hold.
    virtual std::size_t room(Type type) const = 0;
};

class TextNumbers final : public Numbers {
  public:
    explicit TextNumbers(TextScanner& text) : text_(text) {}
    double next(Type) override { return text_.value(); }
    std::size_t room(Type) const override { return text_.rest().size() / 2 + 1; }

  private:
    TextScanner& text_;
};

class BinaryNumbers final : public Numbers {
  public:
    BinaryNumbers(const std::filesystem::path& file, std::string_view bytes, std::endian order,
                  Progress& progress)
        : file_(file), bytes_(bytes), order_(order), progress_(progress) {}

    double next(Type type) override {
        if ((++count_ & 0xFFFFU) == 0) {
            throw_if_aborted(progress_);
            progress_.fraction(static_cast<double>(place_) / static_cast<double>(bytes_.size()));
        }
        const std::size_t size = bytes_of(type);
        if (size > bytes_.size() - place_) refuse(file_, "the file ends too early");
        const char* at = bytes_.data() + place_;
        place_ += size;
        switch (type) {
            case Type::int8:
                return number_at<std::int8_t>(at, order_);
            case Type::uint8:
                return number_at<std::uint8_t>(at, order_);
            case Type::int16:
                return number_at<std::int16_t>(at, order_);
            case Type::uint16:
                return number_at<std::uint16_t>(at, order_);
            case Type::int32:
                return number_at<std::int32_t>(at, order_);
            case Type::uint32:
                return number_at<std::uint32_t>(at, order_);
            case Type::float32:
                return double{number_at<float>(at, order_)};
            case Type::float64:
                return number_at<double>(at, order_);
        }
        return 0;
    }
    std::size_t room(Type type) const override { return (bytes_.size() - place_) / bytes_of(type); }

  private:
    const std::filesystem::path& file_;
    std::string_view bytes_;
    std::endian order_;
    Progress& progress_;
    std::size_t place_ = 0;
    unsigned count_ = 0;
};

class PlyReader {
  public:
    PlyReader(const std::filesystem::path& file, Numbers& numbers)
        : file_(file), numbers_(numbers), mesh_(file) {}

    field_data<double> read(const PlyHeader& header) {
        for (const auto& element : header.elements) {
            if (element.properties.empty()) continue;
            if (element.name == "vertex")
                read_vertices(element);
            else if (element.name == "face")
                read_faces(element);
            else
                read_others(element);
        }
        for (auto& quantity : quantities_)
            mesh_.add_quantity(std::move(quantity));
        return mesh_.take();
    }

  private:
    std::size_t list_length(const PlyHeader::Property& property) {
        const double length = numbers_.next(property.count_type);
        if (!(length >= 0) || length > static_cast<double>(numbers_.room(property.type)))
            refuse(file_, "a list is longer than the file");
        return static_cast<std::size_t>(length);
    }

    void read_vertices(const PlyHeader::Element& element) {
        std::array<int, 3> coordinate_of{-1, -1, -1};
        std::vector<int> quantity_of(element.properties.size(), -1);
        for (std::size_t p = 0; p < element.properties.size(); ++p) {
            const std::string& name = element.properties[p].name;
            const auto axis = std::string_view("xyz").find(name);
            if (element.properties[p].list) continue;
            if (name.size() == 1 && axis != std::string_view::npos) {
                coordinate_of[axis] = static_cast<int>(p);
            } else {
                quantity_of[p] = static_cast<int>(quantities_.size());
                quantities_.push_back({.name = name, .values = {}, .unit = {}});
            }
        }
        if (std::ranges::find(coordinate_of, -1) != coordinate_of.end())
            refuse(file_, "its vertices have no x, y and z");
        std::vector<double> row(element.properties.size());
        for (std::size_t i = 0; i < element.count; ++i) {
            for (std::size_t p = 0; p < row.size(); ++p) {
                row[p] = read_property(element.properties[p]);
                if (quantity_of[p] >= 0)
                    quantities_[static_cast<std::size_t>(quantity_of[p])].values.push_back(row[p]);
            }
            const auto at = [&](std::size_t axis) {
                return row[static_cast<std::size_t>(coordinate_of[axis])];
            };
            mesh_.add_vertex(at(0), at(1), at(2));
        }
    }

    void read_faces(const PlyHeader::Element& element) {
        std::vector<std::int64_t> corners;
        for (std::size_t i = 0; i < element.count; ++i)
            for (const auto& property : element.properties) {
                const bool faces =
                    property.name == "vertex_indices" || property.name == "vertex_index";
                if (!faces || !property.list) {
                    read_property(property);
                    continue;
                }
                corners.resize(list_length(property));
                for (std::int64_t& corner : corners)
                    corner = whole(numbers_.next(property.type));
                mesh_.add_cell(corners);
            }
    }

    void read_others(const PlyHeader::Element& element) {
        for (std::size_t i = 0; i < element.count; ++i)
            for (const auto& property : element.properties)
                read_property(property);
    }

    /// A number; of a list, which is read and left aside, NaN.
    double read_property(const PlyHeader::Property& property) {
        if (!property.list) return numbers_.next(property.type);
        for (std::size_t left = list_length(property); left > 0; --left)
            numbers_.next(property.type);
        return std::nan("");
    }

    std::int64_t whole(double number) const {
        constexpr double far = 4e15;
        if (!(std::abs(number) < far)) refuse(file_, "a vertex number is too large");
        return static_cast<std::int64_t>(number);
    }

    const std::filesystem::path& file_;
    Numbers& numbers_;
    MeshBuilder mesh_;
    std::vector<field_data<double>::Quantity> quantities_;
};

class PlyFormat final : public MeshFormat {
  public:
    const FormatInfo& info() const override { return info_; }

    Claim claim(std::span<const std::byte> head, const std::filesystem::path&) const override {
        const std::string_view text = as_text(head);
        return text.starts_with("ply\n") || text.starts_with("ply\r") ? Claim::certain
                                                                      : Claim::none;
    }

    field_data<double> read(const std::filesystem::path& file, const MeshReadOptions&,
                            Progress& progress) const override {
        const std::string bytes = load_mesh_file(file);
        TextScanner text(file, bytes, progress);
        const PlyHeader header = read_ply_header(text);
        std::unique_ptr<Numbers> numbers;
        if (header.encoding == PlyHeader::Encoding::text)
            numbers = std::make_unique<TextNumbers>(text);
        else
            numbers = std::make_unique<BinaryNumbers>(
                file, text.rest(),
                header.encoding == PlyHeader::Encoding::little_endian ? std::endian::little
                                                                      : std::endian::big,
                progress);
        return PlyReader(file, *numbers).read(header);
    }

    void write(const field_data<double>& field, const std::filesystem::path& file,
               Progress& progress) const override {
        std::vector<const std::vector<double>*> values;
        MeshWriter out(file, progress);
        out << "ply\nformat binary_little_endian 1.0\ncomment " << software_name()
            << "\nelement vertex " << field.vertices.size() << '\n';
        for (const char* axis : {"x", "y", "z"})
            out << "property double " << axis << '\n';
        for (const auto& quantity : field.quantities) {
            if (quantity.place != field_data<double>::Place::node) continue;
            std::string name = quantity.name;
            std::ranges::replace_if(
                name, [](char c) { return c <= ' '; }, '_');
            out << "property double " << name << '\n';
            values.push_back(&quantity.values);
        }
        out << "element face " << field.triangles.size()
            << "\nproperty list uchar int vertex_indices\nend_header\n";
        for (std::size_t i = 0; i < field.vertices.size(); ++i) {
            for (const double coordinate : field.vertices[i])
                out.put(coordinate);
            for (const auto* quantity : values)
                out.put((*quantity)[i]);
        }
        for (const auto& triangle : field.triangles) {
            out.put(std::uint8_t{3});
            for (const int vertex : triangle)
                out.put(vertex);
        }
        out.finish();
    }

  private:
    FormatInfo info_{"ply", "PLY mesh", {"ply"}, true, true};
};

}  // namespace

}  // namespace vyn::plugins

VYN_MESH_PLUGIN(vyn::plugins::PlyFormat)
