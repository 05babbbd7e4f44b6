#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/keys.h"
#include "process/model/association_tasks.h"
#include "process/model/model_inputs.h"
#include "process/point/marker_io.h"
#include "tests/resect/scene.h"
#include "tests/support/error_of.h"
#include "tests/support/meshes.h"
#include "tests/support/project_fixture.h"

namespace vyn::test {
namespace {

/// Markers on a cube of 200 mm before the camera: those on its back are hidden, and a dot stands
/// where one of them would be seen.
TEST(Association, HiddenMarkersGetNoDot) {
    Progress silent;
    ResectScene scene;
    scene.camera = {2400, 2400, {640, 512, 0, 0}, 1280, 1024};
    scene.pose.rotation = rotation_of({0.3, 2.8, 0.2});
    scene.pose.shift = {60, -60, 1300};
    int number = 0;
    for (const double x : {20.0, 75.0, 130.0, 180.0})
        for (const double y : {25.0, 90.0, 170.0})
            for (const double z : {0.0, 200.0})
                scene.markers.push_back(marker_at(++number, x, y + z / 20, z));
    see(scene);
    AssociationScene on{scene.markers,
                        std::make_shared<const PreparedMesh>(cube(5, 200), silent),
                        1,
                        scene.camera,
                        {}};
    const Association association = start_association(on, {}, scene.pose);
    const auto rows = association_rows(on, association, {});
    std::set<std::int32_t> front;
    for (const AssociationRow& row : rows)
        if (!row.hidden) front.insert(row.number);
    ASSERT_EQ(rows.size(), 24u);
    ASSERT_EQ(front.size(), 12u);
    EXPECT_EQ(*front.begin() % 2, *front.rbegin() % 2) << "one of the two faces";

    MarkerSet dots;
    for (const Marker& dot : scene.dots)
        if (front.contains(dot.id) || dot.id < 5) dots.markers.push_back(dot);
    for (Marker& dot : dots.markers)
        dot.id = 25 - dot.id;
    const Associated paired = pair_rest(on, association, dots);
    EXPECT_EQ(paired.association.fit->used, 12u);
    for (std::size_t i = 0; i < dots.markers.size(); ++i) {
        const std::int32_t truth = 25 - dots.markers[i].id;
        if (front.contains(truth))
            EXPECT_EQ(paired.dots.markers[i].id, truth);
        else
            EXPECT_GT(paired.dots.markers[i].id, 24);
    }
}

struct Refusal {
    const char* name;
    void (*spoil)(dataSetInterface& data, image& picture, const TemporaryFolder& folder);
    const char* words;
};

class AssociationRefusals : public ProjectTest, public testing::WithParamInterface<Refusal> {};

TEST_P(AssociationRefusals, SayWhatIsWrong) {
    MarkerSet set;
    set.hasX = set.hasY = set.hasZ = true;
    set.markers = scene_of(8, 100).markers;
    write_marker_file(folder / "model.mrk", set);
    dataSetInterface& data = vyn_db();
    write(data, keys::mesh_mark_file, (folder / "model.mrk").string());
    cameraFeatures record;
    record.focus = 35;
    record.dx = record.dy = 0.01;
    record.ncx = record.nfx = 1280;
    record.ncy = record.nfy = 1024;
    write(data, std::string(keys::sens_camera), record);
    auto picture = std::make_shared<image>(1280, 1024);
    ASSERT_EQ(run(AssociationSceneTask(program_session(), picture)), TaskOutcome::done);
    GetParam().spoil(data, *picture, folder);
    const auto error =
        error_of<GenericError>([&] { run(AssociationSceneTask(program_session(), picture)); });
    EXPECT_THAT(error.what(), testing::HasSubstr(GetParam().words));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, AssociationRefusals,
    testing::Values(Refusal{"no_markers",
                            [](dataSetInterface& data, image&, const TemporaryFolder&) {
                                write(data, keys::mesh_mark_file, std::string());
                            },
                            "Mesh markers are not defined!"},
                    Refusal{"markers_of_images",
                            [](dataSetInterface&, image&, const TemporaryFolder& folder) {
                                MarkerSet set;
                                set.hasX = set.hasY = true;
                                set.markers = {marker_at(1, 2, 3)};
                                write_marker_file(folder / "model.mrk", set);
                            },
                            "these are image markers"},
                    Refusal{"camera_of_zeros",
                            [](dataSetInterface& data, image&, const TemporaryFolder&) {
                                write(data, std::string(keys::sens_camera), cameraFeatures());
                            },
                            "the camera cannot be used"},
                    Refusal{"other_size",
                            [](dataSetInterface&, image& picture, const TemporaryFolder&) {
                                picture = image(640, 512);
                            },
                            "640 x 512 pixels, but the camera's record 1280 x 1024"}),
    [](const auto& refusal) { return refusal.param.name; });

}  // namespace
}  // namespace vyn::test
