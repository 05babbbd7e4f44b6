#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "api/image_list.h"
#include "render/fashion.h"
#include "render/hatching.h"
#include "view/save_rules.h"
#include "view/ui/canvas/picture_window.h"
#include "view/ui/canvas/preparation.h"
#include "view/ui/compare/comparison.h"

namespace vyn {

class GraphController;
class MarkerController;
class RegionController;
struct PreparedPicture;
struct ViewerActions;

/// The window in which an image is shown in false colour, probed, zoomed, marked and exported.
///
/// It shows an image of a list by its name and follows when that image is replaced; a large one is
/// seen as soon as it is prepared, the old one until then.
class VynFieldViewer : public PictureWindow {
    Q_OBJECT
  public:
    /// Shows the image of the program's list of that name. `flag`: the image is a camera picture,
    /// whose file is never overwritten. Without a title the image's name stands in its place.
    VynFieldViewer(Worker& worker, const std::string& image_name, bool flag, const QString& title,
                   QWidget* parent = nullptr);
    ~VynFieldViewer() override;

    Worker& worker() const override;
    VynFieldView& view() const override;
    const ViewerActions& actions() const;
    QMenu& image_menu() const;
    QMenu& marker_menu() const override;

    const std::string& image_name() const override;
    /// The image of that name of the program's list, not one of a file.
    bool shows_project_image(const std::string& name) const;
    PictureOrigin origin() const;
    bool markers_hidden() const;
    bool is_camera_image() const { return origin() == PictureOrigin::camera; }
    std::shared_ptr<const image> picture() const override;
    std::shared_ptr<const image> beside(const std::string& name_end) const override;
    /// What is seen: the image, the other one while they blink, or their difference.
    std::shared_ptr<const image> shown_picture() const;
    /// What is hatched on it.
    Hatching hatching() const;
    /// The image shown is that of the list in per cent of its field.
    bool shows_per_cent() const;
    /// The window's title without its marks.
    QString caption() const;
    QString quantity() const override;
    /// Shows an image of another list, such as the images of a file.
    void show_from(std::shared_ptr<imagesList> list, const std::string& name, PictureOrigin origin,
                   const QString& title);
    /// Reads a file and shows what is in it.
    void open_file(const QString& file);
    bool may_edit() override;
    void replace_picture(image changed) override;

    MouseMode mode() const;
    void set_mode(MouseMode mode) override;
    void add_mode(QAction* action) override;

    /// Asks when markers or a mask drawn on an image of a file would be lost; those of the
    /// program's list stay there. True when nothing is lost or the user does not mind.
    bool may_discard();
    /// Marks the title: the image does not stand for the present settings and inputs any more.
    void set_out_of_date(bool out_of_date, const QString& why);

  public Q_SLOTS:
    void open();
    void save();
    void saveAs();
    void image_export();

    void probe_mode();
    void fashion();
    void advanced_fashion();
    void zoom_in_mode();
    void zoom_out_mode();
    void zoom_one_to_one();
    void zoom_fit();
    void show_graph_mode();
    void vector_draw_enable(bool enable);
    void link_views(bool linked);
    void blink(bool on);
    void difference(bool on);
    /// Shows a standard deviation in per cent of the field beside it, or as it is.
    void show_per_cent(bool on);
    void copy_picture();
    void copy_pixel();

    void marker_add_mode();
    void marker_move_mode();
    void marker_revise_mode();
    void marker_toggle_mode();
    void marker_edit_mode();
    void marker_del_mode();
    void revise_all_markers();
    void load_markers();
    void save_markers();
    void clear_markers();
    void abjust_markers_options();

    /// Shows the pixel under the pointer in the status line.
    void show_probe(int x, int y, float value, bool background, bool in_roi, bool has_vectors,
                    float u, float v);
    /// Brings everything beside the view in line with the image shown.
    void refresh();
    void setModifiedChanged(bool modified);

  protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    struct Parts;
    void make_panels();
    void make_bars();
    void make_modes();
    void connect_view();
    /// As the last viewer that was closed left it.
    void restore_layout();
    /// The watched image is another one, or none any more.
    void follow_image();
    void prepare(Preparation::When when);
    /// Why the image cannot be shown in per cent of its field; empty when it can.
    QString objection_to_per_cent() const;
    void show_prepared(const PreparedPicture& prepared);
    void show_nothing(const QString& why);
    /// Limits and vectors that suit an image shown for the first time.
    void suggest_fashion(const image& picture, const Limits& limits);
    void fashion_changed();
    void apply_channels();
    void show_dialog(bool advanced);
    /// Gives the fashion dialog what is seen.
    void tell_dialog();
    /// Nothing when the user cancelled.
    std::optional<std::string> ask_for_image(const std::vector<std::string>& names);
    void compare(Comparison::Kind kind, bool on);
    void show_title();
    void enable_actions();

    std::unique_ptr<Parts> parts_;
};

}  // namespace vyn
