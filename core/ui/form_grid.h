#pragma once

#include <QGridLayout>

class QLabel;
class QLineEdit;

namespace vyn {

/// Rows of label, edit and unit in aligned columns. A label is its edit's buddy.
class FormGrid : public QGridLayout {
  public:
    explicit FormGrid(QWidget* parent = nullptr);

    void add_row(const QString& label, QWidget* edit, QWidget* unit = nullptr);
    void add_row(const QString& label, QWidget* edit, const QString& unit);
    /// Two edits in the column of one, the second with a label of its own.
    void add_row(const QString& label, QWidget* first, const QString& second_label, QWidget* second,
                 QWidget* unit = nullptr);
    /// A widget over all columns.
    void add_wide(QWidget* widget);
};

/// A label that shows the unit which is typed into the edit.
QLabel* unit_label(const QLineEdit* unit_edit);

/// Lets the user pick from these names; anything else can still be typed.
void offer_names(QLineEdit& edit, const QStringList& names);

}  // namespace vyn
