#include "calib/ui/port_editor.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/ascii.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "process/point/marker_io.h"
#include "process/point/project_paths.h"
#include "view/ui/markers/marker_file_dialogs.h"
#include "view/ui/markers/marker_table.h"

namespace vyn {

PortEditor::PortEditor(MarkerSet ports, std::filesystem::path file, QWidget* parent)
    : QDialog(parent),
      ports_(std::move(ports)),
      file_(std::move(file)),
      table_(new MarkerTable(ports_, [this](const auto& operation) { return change(operation); })) {
    setWindowTitle(tr("Pressure Ports"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Save)->setAutoDefault(false);  // Enter ends a cell
    connect(buttons, &QDialogButtonBox::accepted, this, &PortEditor::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PortEditor::reject);
    auto* column = new QVBoxLayout(this);
    column->addWidget(new QLabel(tr("x and y in pixels of I/Iref, the value is the pressure:")));
    column->addWidget(table_);
    column->addWidget(buttons);
    constexpr int lines = 25;
    resize(sizeHint().width(), lines * fontMetrics().lineSpacing());
}

bool PortEditor::change(const std::function<void(MarkerEdit&)>& operation) {
    const bool done = attempt(this, windowTitle(), [&] { operation(ports_); });
    table_->show_markers();
    return done;
}

void PortEditor::accept() {
    std::filesystem::path target = file_;
    if (lower_extension(target) != "mrk")
        target = ask_save_file(this, {windowTitle(), tr("Markers (*.mrk)"), QStringLiteral("mrk"),
                                      output_folder(vyn_db()).string()});
    if (target.empty()) return;
    MarkerSet set = ports_.set();
    set.hasX = set.hasY = set.hasF = true;
    if (!settle_length_unit(this, QString::fromStdString(target.string()), set) ||
        !attempt(this, windowTitle(), [&] { write_marker_file(target, set); }))
        return;
    file_ = target;
    QDialog::accept();
}

}  // namespace vyn
