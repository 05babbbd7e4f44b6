#pragma once

#include <QWidget>
#include <vector>

#include "process/model/association.h"

class QDoubleSpinBox;
class QLabel;
class QPushButton;
class QTableWidget;

namespace vyn {

/// How the pose stands to the dots: a line of words, each marker with its residual, and the
/// commands.
class AssociationPanel : public QWidget {
    Q_OBJECT
  public:
    explicit AssociationPanel(QWidget* parent = nullptr);

    /// `can_accept`: the pose is one that a resection would take.
    void show_rows(const std::vector<AssociationRow>& rows, const QString& words, bool can_accept);
    /// Without a session there is nothing to accept or reject.
    void set_active(bool active);
    double enlarged() const;
    void set_enlarged(double factor);

  Q_SIGNALS:
    void find_wanted();
    void pair_wanted();
    void accepted();
    void rejected();
    void row_chosen(std::int32_t number);
    void left_out(std::int32_t number, bool out);
    void enlargement_chosen(double factor);

  private:
    QPushButton* add_button(const char* name, const QString& text, const QString& tip,
                            void (AssociationPanel::*wanted)());

    QLabel* words_;
    QTableWidget* table_;
    QDoubleSpinBox* enlarged_;
    QPushButton* find_;
    QPushButton* pair_;
    QPushButton* accept_;
    QPushButton* reject_;
    bool active_ = false;
    bool filling_ = false;
};

}  // namespace vyn
