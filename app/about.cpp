#include "app/about.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "app/libraries.h"
#include "core/ui/icons.h"
#include "core/version.h"

namespace vyn {

namespace {

QString library_table() {
    QString rows;
    for (const Library& library : libraries)
        rows += QStringLiteral("<tr><td>%1</td><td>%2</td><td>%3</td></tr>")
                    .arg(QLatin1String(library.name), QLatin1String(library.version),
                         QLatin1String(library.purpose));
    return QStringLiteral("<table cellspacing=\"6\">%1</table>").arg(rows);
}

}  // namespace

QVynLiteAbout::QVynLiteAbout(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("About"));
    setWindowTitle(tr("About VynLite"));
    auto* icon = new QLabel(this);
    icon->setPixmap(vyn_icon(QStringLiteral("vynlite.png")).pixmap(64, 64));
    icon->setAlignment(Qt::AlignTop);
    auto* text = new QLabel(
        tr("<h2>VynLite %1</h2>"
           "<p>Surface pressure from pressure-sensitive-paint images.</p>"
           "<p>Built with</p>%2<p>Qt in use: %3</p>")
            .arg(QLatin1String(program_version), library_table(), QLatin1String(qVersion())),
        this);
    text->setObjectName(QStringLiteral("text"));
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    auto* row = new QHBoxLayout;
    row->addWidget(icon);
    row->addWidget(text, 1);
    auto* column = new QVBoxLayout(this);
    column->addLayout(row);
    column->addWidget(buttons);
    column->setSizeConstraint(QLayout::SetFixedSize);
}

}  // namespace vyn
