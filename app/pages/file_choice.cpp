#include "app/pages/file_choice.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>

#include "api/image_io.h"
#include "core/file_names.h"
#include "core/ini_file.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "process/point/project_paths.h"

namespace vyn {

namespace {

namespace fs = std::filesystem;

QString tr(const char* text) {
    return QCoreApplication::translate("file_choice", text);
}

QString filter_of(const InputFile& input) {
    if (input.role == InputFile::Role::markers)
        return tr("Markers (*.mrk *.mpt *.inm);;All files (*)");
    return image_filter();
}

/// Where the user chose a file last; for the run of the program.
fs::path& last_folder() {
    static fs::path folder;
    return folder;
}

}  // namespace

bool is_project_file(const QString& file) {
    return file.endsWith(QLatin1String(".xml"), Qt::CaseInsensitive) ||
           file.endsWith(QLatin1String(".ims"), Qt::CaseInsensitive);
}

bool is_record_file(const QString& file) {
    const QString extension = QFileInfo(file).suffix().toLower();
    return extension == QLatin1String("ini") || extension == QLatin1String("cam") ||
           extension == QLatin1String("clb");
}

bool holds_camera(const QString& file) {
    IniFile ini;
    const bool read = run_logged([&] { ini.open(file.toStdString(), IniFile::Mode::read_only); });
    return read && ini.has_section("camera");
}

QString image_filter() {
    QStringList all;
    QStringList each;
    for (const auto& format : get_2dio().formats()) {
        if (!format->info().can_read) continue;
        QStringList patterns;
        for (const std::string& extension : format->info().extensions)
            patterns << QStringLiteral("*.") + QString::fromStdString(extension);
        all += patterns;
        each << QStringLiteral("%1 (%2)").arg(QString::fromStdString(format->info().label),
                                              patterns.join(QLatin1Char(' ')));
    }
    each.prepend(tr("Images (%1)").arg(all.join(QLatin1Char(' '))));
    each << tr("All files (*)");
    return each.join(QStringLiteral(";;"));
}

std::string choose_input(QWidget* parent, const InputFile& input, const QString& caption) {
    fs::path folder = located_file(vyn_db(), input).parent_path();
    if (folder.empty()) folder = last_folder();
    if (folder.empty()) folder = output_folder(vyn_db());
    const FileQuestion question{caption, filter_of(input), {}, fs::absolute(folder).string()};
    fs::path name;
    if (input.role == InputFile::Role::markers || input.role == InputFile::Role::mask) {
        name = ask_open_file(parent, question);
    } else {
        const std::vector<std::string> files = ask_open_files(parent, question);
        name = name_of_files({files.begin(), files.end()});
    }
    if (!name.empty()) last_folder() = name.parent_path();
    return name.string();
}

}  // namespace vyn
