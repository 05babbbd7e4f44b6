#include "view/ui/look/palette_box.h"

#include <QSignalBlocker>
#include <algorithm>

#include "view/ui/canvas/colour_bar.h"

namespace vyn {

PaletteBox::PaletteBox(QWidget* parent) : QComboBox(parent) {
    setIconSize({96, 14});
    refresh(get_palette_list().front());
}

void PaletteBox::refresh(const palette_array& chosen) {
    const QSignalBlocker quiet(this);
    clear();
    for (const palette_array& palette : get_palette_list()) {
        const QImage ramp = ramp_picture(palette, Qt::Horizontal);
        addItem(QPixmap::fromImage(ramp.scaled(iconSize())), QString::fromStdString(palette.name));
        setItemData(count() - 1, QString::fromStdString(palette.file_name), Qt::ToolTipRole);
    }
    setCurrentIndex(std::max(0, get_palette_idx(chosen)));
}

const palette_array& PaletteBox::chosen() const {
    const auto index = static_cast<std::size_t>(std::max(0, currentIndex()));
    return get_palette_list()[std::min(index, get_palette_list().size() - 1)];
}

}  // namespace vyn
