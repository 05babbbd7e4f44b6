// Tecplot text files: ordered zones, and finite elements of triangles or quadrangles. The first
// three variables are the coordinates.
#include <algorithm>
#include <cmath>

#include "api/image_io.h"
#include "core/ascii.h"
#include "core/log.h"
#include "core/numbers.h"
#include "plugins/mesh_support/mesh_builder.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/mesh_support/text_scanner.h"
#include "plugins/support/refusal.h"
#include "plugins/tecplot/tecplot_header.h"
#include "plugins/tecplot/tecplot_writer.h"

namespace vyn::plugins {

namespace {

using Kind = TecplotZone::Kind;

/// Numbers with repeat counts, "3*1.5".
class TecplotNumbers {
  public:
    explicit TecplotNumbers(TextScanner& text) : text_(text) {}

    double next() {
        if (left_ > 0) {
            --left_;
            return repeated_;
        }
        const std::string_view word = text_.peek();
        const std::size_t star = word.find('*');
        if (star == word.npos) return text_.value();
        const auto count = parse_int(word.substr(0, star));
        const auto value = parse_double(word.substr(star + 1));
        text_.word();
        if (!count || *count < 1 || !value) text_.refuse("a number is not readable");
        left_ = *count - 1;
        repeated_ = *value;
        return repeated_;
    }

  private:
    TextScanner& text_;
    int left_ = 0;
    double repeated_ = 0;
};

class TecplotReader {
  public:
    TecplotReader(const std::filesystem::path& file, const std::string& bytes, Progress& progress)
        : file_(file),
          bytes_(bytes),
          progress_(progress),
          text_(file, bytes, progress),
          mesh_(file) {}

    field_data<double> read() {
        std::size_t zones = 0;
        while (at_tecplot_keyword(text_)) {
            const std::string key = read_tecplot_keyword(text_);
            if (key == "TITLE" || key == "FILETYPE")
                read_tecplot_text(text_);
            else if (key == "VARIABLES")
                names_ = read_tecplot_variables(text_);
            else if (key == "ZONE")
                read_zone(read_tecplot_zone(text_, ++zones));
            else if (key == "DATASETAUXDATA" || key == "VARAUXDATA")
                text_.line();
            else
                text_.refuse("'" + key.substr(0, 40) + "' is not read here");
        }
        if (!text_.at_end()) text_.refuse("numbers without a zone");
        add_quantities();
        return mesh_.take();
    }

  private:
    bool at_cells(const TecplotZone& zone, std::size_t variable) const {
        return variable < zone.at_cells.size() && zone.at_cells[variable];
    }

    /// Each variable has one place in the whole file.
    void settle_places(const TecplotZone& zone) {
        if (values_.empty()) {
            values_.resize(names_.size());
            for (std::size_t v = 0; v < names_.size(); ++v)
                cells_.push_back(at_cells(zone, v));
        }
        for (std::size_t v = 0; v < names_.size(); ++v)
            if (cells_[v] != at_cells(zone, v))
                text_.refuse("'" + names_[v] + "' is at nodes in one zone and at cells in another");
        if (cells_[0] || cells_[1] || cells_[2]) text_.refuse("coordinates must be at nodes");
        if (!zone.block && std::ranges::find(cells_, true) != cells_.end())
            text_.refuse("values at cells need the order BLOCK");
    }

    void read_zone(const TecplotZone& zone) {
        if (names_.size() < 3) text_.refuse("VARIABLES are missing");
        settle_places(zone);
        const bool ordered = zone.kind == Kind::ordered;
        std::array<std::int64_t, 3> size{zone.i, zone.j, zone.k};
        const std::int64_t nodes = ordered ? product(size) : std::max(zone.nodes, zone.i);
        std::int64_t elements = zone.elements > 0 ? zone.elements : zone.j;
        // A volume gives its face k = 1; of a flat one the direction of one point goes.
        if (ordered) {
            if (size[2] > 1 && size[0] == 1) size = {size[1], size[2], 1};
            if (size[2] > 1 && size[1] == 1) size = {size[0], size[2], 1};
            elements = cells_of(zone);
        }
        const auto kept = static_cast<std::size_t>(ordered ? size[0] * size[1] : nodes);
        const auto kept_cells = static_cast<std::size_t>(
            ordered ? std::max<std::int64_t>(0, (size[0] - 1) * (size[1] - 1)) : elements);
        if (static_cast<std::int64_t>(kept) < nodes)
            get_log().write(LogLevel::information, file_.string() + ": '" + zone.name +
                                                       "' is a volume: its face k = 1 is taken");
        const std::size_t first = mesh_.vertex_count();
        read_values(zone, static_cast<std::size_t>(nodes), static_cast<std::size_t>(elements), kept,
                    kept_cells);
        for (std::size_t i = 0; i < kept; ++i)
            mesh_.add_vertex(values_[0][first + i], values_[1][first + i], values_[2][first + i]);
        if (ordered)
            mesh_.add_structured(zone.name, static_cast<int>(size[0]), static_cast<int>(size[1]),
                                 first);
        else
            read_elements(zone, static_cast<std::int64_t>(first), nodes, elements);
    }

    std::int64_t product(const std::array<std::int64_t, 3>& size) const {
        // Each factor is below 2^31; a text of that many numbers is beyond any file.
        if (size[0] > most_numbers / size[1] || size[0] * size[1] > most_numbers / size[2])
            text_.refuse("the zone is too large");
        return size[0] * size[1] * size[2];
    }

    static std::int64_t cells_of(const TecplotZone& zone) {
        std::int64_t cells = 1;
        for (const std::int64_t side : {zone.i, zone.j, zone.k})
            if (side > 1) cells *= side - 1;
        return cells;
    }

    static std::int64_t shared_from(const TecplotZone& zone, std::size_t variable) {
        return variable < zone.shared.size() ? zone.shared[variable] : 0;
    }

    /// Puts the first `kept` of the zone's nodes (cells) behind those of earlier zones.
    void read_values(const TecplotZone& zone, std::size_t nodes, std::size_t cells,
                     std::size_t kept, std::size_t kept_cells) {
        ZonePlace& place = zones_.emplace_back();
        for (const std::vector<double>& values : values_)
            place.first.push_back(values.size());
        place.nodes = kept;
        place.cells = kept_cells;
        const auto own = [&](std::size_t v) { return shared_from(zone, v) == 0; };
        for (std::size_t v = 0; v < names_.size(); ++v)
            if (!own(v)) share_values(shared_from(zone, v), v);
        TecplotNumbers numbers(text_);
        if (zone.block) {
            for (std::size_t v = 0; v < names_.size(); ++v) {
                if (!own(v)) continue;
                const std::size_t count = cells_[v] ? cells : nodes;
                const std::size_t wanted = cells_[v] ? kept_cells : kept;
                for (std::size_t i = 0; i < count; ++i)
                    if (const double value = numbers.next(); i < wanted)
                        values_[v].push_back(value);
            }
            return;
        }
        for (std::size_t i = 0; i < nodes; ++i)
            for (std::size_t v = 0; v < names_.size(); ++v) {
                if (!own(v)) continue;
                if (const double value = numbers.next(); i < kept) values_[v].push_back(value);
            }
    }

    /// A header of a few letters may ask for as many numbers as an earlier zone has: all of them
    /// together may be no more than the file has bytes.
    void count_shared(std::size_t numbers) {
        shared_ += numbers;
        if (shared_ > bytes_.size()) text_.refuse("its zones share more data than the file has");
    }

    void share_values(std::int64_t from, std::size_t v) {
        const ZonePlace& source = zones_[static_cast<std::size_t>(from) - 1];
        const ZonePlace& own = zones_.back();
        const std::size_t count = cells_[v] ? own.cells : own.nodes;
        if (count != (cells_[v] ? source.cells : source.nodes))
            text_.refuse("'" + names_[v] + "' is shared with a zone of another size");
        count_shared(count);
        std::vector<double>& values = values_[v];
        values.reserve(values.size() + count);
        for (std::size_t i = 0; i < count; ++i)
            values.push_back(values[source.first[v] + i]);
    }

    void read_elements(const TecplotZone& zone, std::int64_t first, std::int64_t nodes,
                       std::int64_t elements) {
        const std::size_t sides = zone.kind == Kind::lines       ? 2
                                  : zone.kind == Kind::triangles ? 3
                                                                 : 4;
        mesh_.begin_zone(zone.name);
        ZonePlace& place = zones_.back();
        place.sides = sides;
        place.elements_at = text_.place();
        if (zone.shared_elements == 0) {
            add_elements(text_, sides, first, nodes, elements);
            return;
        }
        const ZonePlace& source = zones_[static_cast<std::size_t>(zone.shared_elements) - 1];
        if (source.sides != sides || source.cells != place.cells)
            text_.refuse("the elements are shared with a zone of another kind or size");
        count_shared(sides * place.cells);
        place.elements_at = source.elements_at;
        TextScanner again(file_, bytes_, progress_);
        again.skip(source.elements_at);
        add_elements(again, sides, first, nodes, elements);
    }

    void add_elements(TextScanner& text, std::size_t sides, std::int64_t first, std::int64_t nodes,
                      std::int64_t elements) {
        std::vector<std::int64_t> corners;
        for (std::int64_t e = 0; e < elements; ++e) {
            corners.resize(sides);
            for (std::int64_t& corner : corners)
                corner = first + text.whole(1, nodes) - 1;
            if (sides == 4 && corners[3] == corners[2]) corners.pop_back();
            mesh_.add_cell(corners);
        }
    }

    void add_quantities() {
        using Place = field_data<double>::Place;
        for (std::size_t v = 3; v < values_.size(); ++v)
            mesh_.add_quantity(
                {names_[v], std::move(values_[v]), {}, cells_[v] ? Place::cell : Place::node});
    }

    static constexpr std::int64_t most_numbers = std::int64_t{1} << 40;

    /// Where a zone's numbers are, for zones that share them.
    struct ZonePlace {
        std::vector<std::size_t> first;  ///< by variable, in values_
        std::size_t nodes = 0;
        std::size_t cells = 0;
        std::size_t elements_at = 0;  ///< in the text
        std::size_t sides = 0;        ///< of an element; 0 of an ordered zone
    };

    const std::filesystem::path& file_;
    const std::string& bytes_;
    Progress& progress_;
    TextScanner text_;
    MeshBuilder mesh_;
    std::vector<ZonePlace> zones_;
    std::size_t shared_ = 0;  ///< numbers
    std::vector<std::string> names_;
    std::vector<bool> cells_;
    std::vector<std::vector<double>> values_;
};

class TecplotFormat final : public MeshFormat {
  public:
    const FormatInfo& info() const override { return info_; }

    Claim claim(std::span<const std::byte> head, const std::filesystem::path& file) const override {
        Progress silent;
        TextScanner text(file, as_text(head), silent);
        if (!at_tecplot_keyword(text)) return Claim::none;
        const std::string key = read_tecplot_keyword(text);
        const bool title = key == "TITLE" && as_text(head).find('=') != std::string_view::npos;
        return title || key == "VARIABLES" || key == "FILETYPE" ? Claim::certain : Claim::none;
    }

    field_data<double> read(const std::filesystem::path& file, const MeshReadOptions&,
                            Progress& progress) const override {
        const std::string bytes = load_mesh_file(file);
        return TecplotReader(file, bytes, progress).read();
    }

    void write(const field_data<double>& field, const std::filesystem::path& file,
               Progress& progress) const override {
        write_tecplot(field, file, progress);
    }

  private:
    FormatInfo info_{"tecplot", "Tecplot text", {"dat", "tec", "tp"}, true, true};
};

}  // namespace

}  // namespace vyn::plugins

VYN_MESH_PLUGIN(vyn::plugins::TecplotFormat)
