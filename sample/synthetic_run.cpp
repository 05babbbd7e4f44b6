#include "sample/synthetic_run.h"

#include "api/image_io.h"
#include "core/atomic_file.h"
#include "process/point/marker_io.h"

namespace vyn {

namespace {

constexpr const char* table_file = "run.csv";

std::string point_name(int number) {
    const std::string digits = std::to_string(number);
    return "p" + std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits;
}

}  // namespace

std::vector<std::string> synthetic_run_files(int count) {
    std::vector<std::string> files{table_file};
    for (int i = 1; i <= count; ++i)
        for (const char* extension : {".tif", ".mrk"})
            files.push_back("wind_on_" + point_name(i) + extension);
    return files;
}

void write_synthetic_run(const SyntheticOptions& options, int count,
                         const std::filesystem::path& folder, Progress& progress) {
    std::string table =
        "point,base,wind_on_file,wind_on_mark_file\n"
        "/.*/,project.xml,wind_on_{point}.tif,wind_on_{point}.mrk\n";
    for (int i = 0; i < count; ++i) {
        SubProgress part(progress, static_cast<double>(i) / count,
                         static_cast<double>(i + 1) / count);
        SyntheticOptions of_point = options;
        of_point.point = i;
        const SyntheticPoint point = make_synthetic_point(of_point, part);
        const std::string name = point_name(i + 1);
        write_image(point.wind_on, folder / ("wind_on_" + name + ".tif"));
        write_marker_file(folder / ("wind_on_" + name + ".mrk"), point.wind_on_markers);
        table += name + ",,,\n";
    }
    write_file(folder / table_file, table);
}

}  // namespace vyn
