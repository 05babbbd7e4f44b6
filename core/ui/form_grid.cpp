#include "core/ui/form_grid.h"

#include <QAction>
#include <QCompleter>
#include <QLabel>
#include <QLineEdit>

#include "core/ui/icons.h"

namespace vyn {

namespace {

constexpr int label_column = 0;
constexpr int edit_column = 1;
constexpr int unit_column = 2;
constexpr int columns = 3;

QLabel* label_of(const QString& text, QWidget* edit) {
    auto* label = new QLabel(text);
    label->setBuddy(edit);
    return label;
}

}  // namespace

FormGrid::FormGrid(QWidget* parent) : QGridLayout(parent) {
    setColumnStretch(edit_column, 1);
}

void FormGrid::add_row(const QString& label, QWidget* edit, QWidget* unit) {
    const int row = rowCount();
    addWidget(label_of(label, edit), row, label_column);
    addWidget(edit, row, edit_column);
    if (unit) addWidget(unit, row, unit_column);
}

void FormGrid::add_row(const QString& label, QWidget* edit, const QString& unit) {
    add_row(label, edit, new QLabel(unit));
}

void FormGrid::add_row(const QString& label, QWidget* first, const QString& second_label,
                       QWidget* second, QWidget* unit) {
    const int row = rowCount();
    auto* both = new QHBoxLayout;
    both->addWidget(first, 1);
    both->addWidget(label_of(second_label, second));
    both->addWidget(second, 1);
    addWidget(label_of(label, first), row, label_column);
    addLayout(both, row, edit_column);
    if (unit) addWidget(unit, row, unit_column);
}

void FormGrid::add_wide(QWidget* widget) {
    addWidget(widget, rowCount(), label_column, 1, columns);
}

QLabel* unit_label(const QLineEdit* unit_edit) {
    auto* label = new QLabel(unit_edit->text());
    label->setTextFormat(Qt::PlainText);
    QObject::connect(unit_edit, &QLineEdit::textChanged, label, &QLabel::setText);
    return label;
}

void offer_names(QLineEdit& edit, const QStringList& names) {
    auto* completer = new QCompleter(names, &edit);
    completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    QAction* open =
        edit.addAction(vyn_icon(QStringLiteral("choose.png")), QLineEdit::TrailingPosition);
    open->setToolTip(QObject::tr("Show the names to choose from"));
    QObject::connect(open, &QAction::triggered, completer, [completer, &edit] {
        completer->setWidget(&edit);
        completer->complete();
    });
    QObject::connect(completer, qOverload<const QString&>(&QCompleter::activated), &edit,
                     &QLineEdit::setText);
}

}  // namespace vyn
