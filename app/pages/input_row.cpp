#include "app/pages/input_row.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QMimeData>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <filesystem>
#include <vector>

#include "app/pages/elided_label.h"
#include "app/pages/file_choice.h"
#include "app/pages/page_parts.h"
#include "core/file_names.h"

namespace vyn {

namespace {

/// The local files of one folder that a drag carries, by the name that means them all; empty when
/// it carries anything else, or a project, which the window opens wherever it is dropped.
QString dragged_file(const QMimeData* data) {
    std::vector<std::filesystem::path> files;
    for (const QUrl& url : data->urls()) {
        const QString file = url.toLocalFile();
        if (file.isEmpty() || is_project_file(file)) return {};
        files.emplace_back(file.toStdString());
        if (files.back().parent_path() != files.front().parent_path()) return {};
    }
    return QString::fromStdString(name_of_files(files).string());
}

FileRow::Offers offers_of(InputFile::Role role) {
    using Role = InputFile::Role;
    const bool is_image = role != Role::markers && role != Role::mask;
    return {is_image ? FileRow::tr("View the image") : QString(), role == Role::markers};
}

}  // namespace

FileRow::FileRow(const std::string& stem, const Offers& offers, QWidget* parent)
    : QWidget(parent), name_(new ElidedLabel(Qt::ElideMiddle, this)) {
    setAcceptDrops(true);
    name_->setObjectName(QString::fromStdString(stem + "_file"));
    locate_ = icon_button(stem + "_locate_btn", "zoom_in", tr("Locate the missing file"), this);
    locate_->setText(tr("Locate..."));
    locate_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    locate_->setVisible(false);
    reload_ = icon_button(stem + "_reload_btn", "refresh", tr("Load the file anew"), this);
    reload_->setVisible(false);
    if (offers.save) {
        save_ = icon_button(stem + "_save_btn", "filesave", tr("Save the markers"), this);
        save_->setVisible(false);
        connect(save_, &QToolButton::clicked, this, &FileRow::save_wanted);
    }
    auto* select = icon_button(stem + "_select", "fileopen", tr("Select a file"), this);
    setFocusProxy(select);
    if (!offers.view.isEmpty())
        view_ = icon_button(stem + "_view_btn", "thumbnail", offers.view, this);
    remove_ = icon_button(stem + "_remove_btn", "remove", tr("Remove the file"), this);

    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(2);
    line->addWidget(name_, 1);
    line->addWidget(locate_);
    line->addWidget(reload_);
    if (save_) line->addWidget(save_);
    line->addWidget(select);
    if (view_) {
        line->addWidget(view_);
        connect(view_, &QToolButton::clicked, this, &FileRow::view_wanted);
    } else {
        line->addSpacing(select->sizeHint().width() + line->spacing());
    }
    line->addSpacing(remove_->sizeHint().width() / 2);  // no slip from view to remove
    line->addWidget(remove_);
    connect(select, &QToolButton::clicked, this, &FileRow::select_wanted);
    connect(remove_, &QToolButton::clicked, this, &FileRow::remove_wanted);
    connect(locate_, &QToolButton::clicked, this, &FileRow::locate_wanted);
    connect(reload_, &QToolButton::clicked, this, &FileRow::reload_wanted);
}

void FileRow::show_state(const RowState& state) {
    const QString file = QString::fromStdString(state.file);
    const QString problem = QString::fromStdString(state.problem);
    name_->set_text(QFileInfo(file).fileName(), QString::fromStdString(state.note));
    name_->set_alarm(!problem.isEmpty() || state.unsaved);
    if (save_) save_->setVisible(state.unsaved);
    const QString path = state.path.empty() ? file : QString::fromStdString(state.path);
    name_->setToolTip(problem.isEmpty() ? path : path + QLatin1Char('\n') + problem);
    locate_->setVisible(state.missing);
    reload_->setVisible(!problem.isEmpty() && !state.path.empty());
    remove_->setEnabled(!file.isEmpty() || (view_ && state.loaded));
    if (view_) view_->setEnabled(state.loaded);
}

void FileRow::dragEnterEvent(QDragEnterEvent* event) {
    if (!dragged_file(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void FileRow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    // A job and dialogs follow: not before the other program's drag has ended.
    QTimer::singleShot(0, this,
                       [this, file = dragged_file(event->mimeData())] { Q_EMIT chosen(file); });
}

InputRow::InputRow(const PageRow& row, QWidget* parent)
    : FileRow(row.stem, offers_of(row.input.role), parent), row_(row) {}

}  // namespace vyn
