#include "app/appearance.h"

#include <QActionGroup>
#include <QApplication>
#include <QPalette>
#include <QSettings>
#include <QStyle>

#include "app/program_style.h"

namespace vyn {

namespace {

QString setting() {
    return QStringLiteral("appearance");
}

struct Choice {
    Appearance appearance;
    const char* stored;
    const char* text;
};
constexpr Choice choices[] = {
    {Appearance::system, "system", QT_TRANSLATE_NOOP("Appearance", "&As the system")},
    {Appearance::light, "light", QT_TRANSLATE_NOOP("Appearance", "&Light")},
    {Appearance::dark, "dark", QT_TRANSLATE_NOOP("Appearance", "&Dark")},
};

/// The roles that the two palettes of our own set; the rest follows from them.
QPalette palette_of(const QColor& window, const QColor& base, const QColor& text,
                    const QColor& faint, const QColor& link) {
    QPalette palette(window, window);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::Link, link);
    palette.setColor(QPalette::Highlight, QColor(0x2a, 0x6f, 0xc4));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, faint);
    return palette;
}

QPalette light_palette() {
    return palette_of(QColor(0xef, 0xef, 0xef), Qt::white, Qt::black, QColor(0x80, 0x80, 0x80),
                      QColor(0x0b, 0x57, 0xa8));
}

QPalette dark_palette() {
    return palette_of(QColor(0x30, 0x32, 0x35), QColor(0x22, 0x24, 0x26), QColor(0xe6, 0xe6, 0xe6),
                      QColor(0x8a, 0x8d, 0x90), QColor(0x6c, 0xb0, 0xff));
}

/// Style and palette that the system gave the program.
struct SystemLook {
    QString style = QApplication::style()->objectName();
    QPalette palette = QApplication::palette();
};

const SystemLook& system_look() {
    static const SystemLook look;
    return look;
}

}  // namespace

Appearance chosen_appearance() {
    const QString stored = QSettings().value(setting()).toString();
    for (const Choice& choice : choices)
        if (stored == QLatin1String(choice.stored)) return choice.appearance;
    return Appearance::system;
}

void choose_appearance(Appearance appearance) {
    for (const Choice& choice : choices)
        if (choice.appearance == appearance)
            QSettings().setValue(setting(), QLatin1String(choice.stored));
    apply_appearance(appearance);
}

void apply_appearance(Appearance appearance) {
    const SystemLook& system = system_look();
    const bool own = appearance != Appearance::system;
    const QString style = own ? QStringLiteral("fusion") : system.style;
    static QString present;  // a style that wraps another tells no name
    if (present != style) QApplication::setStyle(new ProgramStyle(style));
    present = style;
    QApplication::setPalette(appearance == Appearance::light  ? light_palette()
                             : appearance == Appearance::dark ? dark_palette()
                                                              : system.palette);
}

QMenu* make_appearance_menu(QWidget* parent) {
    auto* menu = new QMenu(QCoreApplication::translate("Appearance", "App&earance"), parent);
    auto* group = new QActionGroup(menu);
    for (const Choice& choice : choices) {
        QAction* action = menu->addAction(QCoreApplication::translate("Appearance", choice.text));
        action->setCheckable(true);
        action->setChecked(chosen_appearance() == choice.appearance);
        group->addAction(action);
        QObject::connect(action, &QAction::triggered, menu,
                         [choice] { choose_appearance(choice.appearance); });
    }
    return menu;
}

}  // namespace vyn
