#include "view/ui/model/patch_list.h"

#include <QAction>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QToolButton>

#include "core/atomic_file.h"
#include "core/ui/icons.h"

namespace vyn {

namespace {

QIcon patch_icon(int patch) {
    QPixmap sample(12, 12);
    sample.fill(QColor::fromRgb(patch_colour(static_cast<std::uint8_t>(patch + 1))));
    return QIcon(sample);
}

}  // namespace

PatchList::PatchList(QWidget* parent)
    : QWidget(parent),
      list_(new QListWidget(this)),
      new_(new QPushButton(tr("&New patch"), this)),
      brush_(new QToolButton(this)),
      size_(new QSpinBox(this)),
      undo_(new QAction(vyn_icon(QStringLiteral("undo.png")), tr("&Undo painting"), this)),
      redo_(new QAction(vyn_icon(QStringLiteral("redo.png")), tr("&Redo painting"), this)) {
    list_->setObjectName(QStringLiteral("load_patches"));
    undo_->setShortcut(QKeySequence(QStringLiteral("Ctrl+Z")));
    redo_->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+Z")));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(list_, 1);
    layout->addLayout(buttons());
    connect(undo_, &QAction::triggered, this, &PatchList::undo);
    connect(redo_, &QAction::triggered, this, &PatchList::redo);
    connect(list_, &QListWidget::currentRowChanged, this, &PatchList::choose_brush);
    connect(list_, &QListWidget::itemChanged, this, &PatchList::take_item);
    show_patches();
}

QLayout* PatchList::buttons() {
    new_->setObjectName(QStringLiteral("new_patch"));
    new_->setToolTip(tr("Paint a patch of its own on the model"));
    auto* remove = new QPushButton(tr("Re&move"));
    remove->setObjectName(QStringLiteral("remove_patch"));
    brush_->setText(tr("&Brush"));
    brush_->setCheckable(true);
    brush_->setObjectName(QStringLiteral("brush"));
    brush_->setToolTip(tr("The left button paints the chosen patch, with Ctrl it wipes"));
    size_->setRange(1, 200);
    size_->setValue(12);
    size_->setSuffix(tr(" px"));
    size_->setToolTip(tr("Radius of the brush"));
    connect(new_, &QPushButton::clicked, this, &PatchList::add_patch);
    connect(remove, &QPushButton::clicked, this, &PatchList::remove_patch);
    connect(brush_, &QToolButton::toggled, this, &PatchList::choose_brush);
    connect(size_, QOverload<int>::of(&QSpinBox::valueChanged), this, &PatchList::choose_brush);
    auto* row = new QHBoxLayout;
    for (QWidget* widget : std::initializer_list<QWidget*>{new_, remove, brush_, size_})
        row->addWidget(widget);
    for (QAction* action : {undo_, redo_}) {
        auto* button = new QToolButton(this);
        button->setDefaultAction(action);
        row->addWidget(button);
    }
    return row;
}

void PatchList::set_model(std::shared_ptr<const ShownModel> model) {
    if (model == model_) return;
    const bool same_mesh = model_ && model && model_->prepared == model->prepared;
    model_ = std::move(model);
    const std::size_t triangles = model_ ? model_->mesh.triangles.size() : 0;
    PatchEdit wanted(triangles, model_ ? model_->patches : PaintedPatches());
    if (!same_mesh || wanted.patches() != edit_.patches()) {
        edit_ = std::move(wanted);
        Q_EMIT painted();
    }
    if (same_mesh)
        show_patches();
    else
        fill();
}

void PatchList::fill() {
    writing_ = true;
    list_->clear();
    if (model_)
        for (const auto& zone : model_->mesh.zones) {
            auto* item = new QListWidgetItem(QString::fromStdString(zone.name), list_);
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
            item->setCheckState(Qt::Checked);
        }
    writing_ = false;
    show_patches();
}

int PatchList::zone_count() const {
    return model_ ? static_cast<int>(model_->mesh.zones.size()) : 0;
}

/// Rows as the patches are now; those that stay keep tick and choice.
void PatchList::show_patches() {
    writing_ = true;
    const int wanted = zone_count() + static_cast<int>(edit_.count());
    while (list_->count() > wanted)
        delete list_->takeItem(list_->count() - 1);
    while (list_->count() < wanted) {
        auto* item = new QListWidgetItem(list_);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable | Qt::ItemIsEditable);
        item->setCheckState(Qt::Checked);
        item->setIcon(patch_icon(list_->count() - 1 - zone_count()));
    }
    for (int row = zone_count(); row < wanted; ++row)
        list_->item(row)->setText(QString::fromStdString(
            edit_.patches().names[static_cast<std::size_t>(row - zone_count())]));
    writing_ = false;
    new_->setEnabled(edit_.count() < PaintedPatches::most);
    undo_->setEnabled(edit_.can_undo());
    redo_->setEnabled(edit_.can_redo());
}

std::optional<std::size_t> PatchList::current_patch() const {
    const int patch = list_->currentRow() - zone_count();
    if (patch < 0) return {};
    return static_cast<std::size_t>(patch);
}

void PatchList::add_patch() {
    if (!model_ || !edit_.add(tr("patch %1").arg(edit_.count() + 1).toStdString())) return;
    commit();
    list_->setCurrentRow(list_->count() - 1);
    brush_->setChecked(true);
}

void PatchList::remove_patch() {
    const auto patch = current_patch();
    if (!patch) return;
    // The row goes with its tick, so that the others keep theirs.
    writing_ = true;
    delete list_->takeItem(list_->currentRow());
    for (int row = zone_count(); row < list_->count(); ++row)
        list_->item(row)->setIcon(patch_icon(row - zone_count()));
    writing_ = false;
    edit_.remove(*patch);
    commit();
}

void PatchList::take_item(QListWidgetItem* item) {
    if (writing_) return;
    const int patch = list_->row(item) - zone_count();
    if (patch >= 0) {
        edit_.rename(static_cast<std::size_t>(patch), item->text().toStdString());
        commit();
    }
    Q_EMIT ticks_changed();
}

void PatchList::choose_brush() {
    const bool paints = brush_->isChecked() && current_patch();
    Q_EMIT brush_chosen(paints ? size_->value() : 0);
}

void PatchList::paint(const std::vector<std::size_t>& faces, ModelCanvas::Stroke stroke) {
    const auto patch = current_patch();
    if (!patch) return;
    if (stroke == ModelCanvas::Stroke::paint)
        edit_.paint(faces, *patch);
    else
        edit_.wipe(faces, *patch);
    Q_EMIT painted();
}

void PatchList::commit() {
    if (edit_.commit()) show_step();
}

/// A step was done, undone or redone.
void PatchList::show_step() {
    show_patches();
    choose_brush();
    Q_EMIT painted();
    Q_EMIT edited();
}

void PatchList::undo() {
    commit();
    if (!edit_.can_undo()) return;
    edit_.undo();
    show_step();
}

void PatchList::redo() {
    commit();
    if (!edit_.can_redo()) return;
    edit_.redo();
    show_step();
}

void PatchList::open(const std::filesystem::path& file) {
    if (!model_) return;
    edit_.replace(read_patches(file, model_->mesh.triangles.size()));
    commit();
}

void PatchList::save(const std::filesystem::path& file) const {
    if (model_)
        write_file(file, patches_text(edit_.patches(), model_->mesh.triangles.size()) + "\n");
}

std::vector<std::string> PatchList::ticked_zones() const {
    std::vector<std::string> zones;
    for (int row = 0; row < zone_count(); ++row)
        if (list_->item(row)->checkState() == Qt::Checked)
            zones.push_back(model_->mesh.zones[static_cast<std::size_t>(row)].name);
    return zones;
}

std::vector<FacePatch> PatchList::ticked_patches() const {
    std::vector<FacePatch> patches;
    for (int row = zone_count(); row < list_->count(); ++row)
        if (list_->item(row)->checkState() == Qt::Checked)
            patches.push_back(
                face_patch(edit_.patches(), static_cast<std::size_t>(row - zone_count())));
    return patches;
}

}  // namespace vyn
