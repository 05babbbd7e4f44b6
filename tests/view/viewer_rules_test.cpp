#include <cmath>

#include <gtest/gtest.h>

#include "api/image_io.h"
#include "tests/support/temporary_folder.h"
#include "view/edit/double_keys.h"
#include "view/export_task.h"
#include "view/probe_text.h"
#include "view/save_rules.h"

namespace vyn {
namespace {

TEST(DoubleKeys, MeanTheMarkerCommandWhileAMarkerModeIsOn) {
    using enum SharedKeyCommand;
    for (const MouseMode mode : {MouseMode::probe, MouseMode::zoom_in, MouseMode::zoom_out,
                                 MouseMode::graph, MouseMode::region}) {
        EXPECT_EQ(command_of(DoubleKey::ctrl_a, mode), marker_add);
        EXPECT_EQ(command_of(DoubleKey::ctrl_e, mode), image_export);
        EXPECT_EQ(command_of(DoubleKey::ctrl_s, mode), save_image);
    }
    for (const MouseMode mode :
         {MouseMode::marker_add, MouseMode::marker_move, MouseMode::marker_revise,
          MouseMode::marker_toggle, MouseMode::marker_edit, MouseMode::marker_delete}) {
        EXPECT_EQ(command_of(DoubleKey::ctrl_a, mode),
                  mode == MouseMode::marker_revise ? revise_all_markers : marker_add);
        EXPECT_EQ(command_of(DoubleKey::ctrl_e, mode), marker_edit);
        EXPECT_EQ(command_of(DoubleKey::ctrl_s, mode), save_markers);
    }
}

class SaveRules : public testing::Test {
  protected:
    image picture_of(const char* name) {
        test::put_file(folder / name, "content");
        image picture(2, 2);
        picture.file_name = (folder / name).string();
        return picture;
    }
    test::TemporaryFolder folder;
};

TEST_F(SaveRules, OnlyComputedImagesAndFieldFilesAreWrittenWithoutAsking) {
    const image tiff = picture_of("raw.tif");
    const image field = picture_of("field.IMP");
    const std::filesystem::path chosen = folder / "chosen.imp";
    using enum PictureOrigin;
    EXPECT_EQ(file_to_save(camera, field, chosen), "");
    EXPECT_EQ(file_to_save(computed, field, {}), "") << "its file is the camera's";
    EXPECT_EQ(file_to_save(computed, tiff, chosen), chosen);
    EXPECT_EQ(file_to_save(file, tiff, {}), "");
    EXPECT_EQ(file_to_save(file, field, {}), field.file_name);
}

TEST_F(SaveRules, RawDataIsNeverTheTarget) {
    const image raw = picture_of("raw.imp");
    const image field = picture_of("field.imp");
    imagesList project;
    image flat = picture_of("flat.tif");
    flat.name = "flat_sens";
    project.add(std::move(flat));
    using enum PictureOrigin;
    const auto allowed = [&](PictureOrigin origin, const image& picture, const char* file) {
        return objection_to_saving(origin, picture, folder / file, project).empty();
    };
    EXPECT_FALSE(allowed(camera, raw, "raw.imp"));
    EXPECT_FALSE(allowed(computed, raw, "raw.imp"));
    std::filesystem::create_symlink(folder / "raw.imp", folder / "link.imp");
    EXPECT_FALSE(allowed(computed, raw, "link.imp"));
    EXPECT_FALSE(allowed(file, field, "flat.tif"));
    EXPECT_TRUE(allowed(file, field, "field.imp"));
    EXPECT_TRUE(allowed(camera, raw, "new.imp"));
    image computed_field = picture_of("pressure.imp");  // saved before
    computed_field.name = image_names::field;
    project.add(image(computed_field));
    EXPECT_TRUE(allowed(computed, computed_field, "pressure.imp"));
}

TEST(ExportTypes, TheTypedExtensionChooses) {
    const std::vector<ExportType> types{{ExportKind::picture, "PNG graphics file", {"png"}},
                                        {ExportKind::tecplot, "Techplot", {"dat"}},
                                        {ExportKind::image_file, "TIFF image", {"tif", "tiff"}},
                                        {ExportKind::image_file, "PNG image", {"png"}}};
    struct Case {
        std::size_t chosen;
        const char* typed;
        std::size_t expected;
        const char* file;
    };
    const Case cases[] = {{0, "a.TIFF", 2, "a.TIFF"},   {2, "a.png", 0, "a.png"},
                          {3, "a.png", 3, "a.png"},     {1, "a", 1, "a.dat"},
                          {0, "M0.85", 0, "M0.85.png"}, {1, "b.dat", 1, "b.dat"}};
    for (const Case& c : cases) {
        const ExportType& type = type_for(types, types[c.chosen], c.typed);
        EXPECT_EQ(&type, &types[c.expected]) << c.typed;
        EXPECT_EQ(type.named(c.typed), c.file);
    }
}

TEST(ProbeText, FollowsTheState) {
    ProbedPixel pixel{3, 4, 1.5F, false, true, false, 0.25F, -1};
    EXPECT_EQ(probe_text(pixel, "Cp"), "x=3 y=4, Cp=1.500000 ");
    pixel.has_vectors = true;
    EXPECT_EQ(probe_text(pixel, "Cp"), "x=3 y=4, Cp=1.500000 ; vectors: U=0.250000, V=-1.000000");
    pixel.in_roi = false;
    EXPECT_EQ(probe_text(pixel, "Cp"), "x=3 y=4, ROI excluded; vectors: U=0.250000, V=-1.000000");
    pixel.background = true;
    pixel.has_vectors = false;
    EXPECT_EQ(probe_text(pixel, "Cp"), "x=3 y=4, Background");
}

}  // namespace
}  // namespace vyn
