#pragma once

#include <QTableWidget>

#include "calib/port_selection.h"

namespace vyn {

/// The ports with their errors; the box beside a number takes a port out of the fit, or puts it
/// back, from the keyboard too.
class PortTable : public QTableWidget {
    Q_OBJECT
  public:
    explicit PortTable(QWidget* parent = nullptr);

    void show_ports(const PortSelection& selection);

    QSize sizeHint() const override;

  Q_SIGNALS:
    void port_toggled(int index);
};

}  // namespace vyn
