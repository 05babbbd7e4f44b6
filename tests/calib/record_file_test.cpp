#include <cmath>

#include <gmock/gmock.h>

#include "calib/camera.h"
#include "calib/paint.h"
#include "core/errors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

using testing::ElementsAre;

class PaintFile : public testing::Test {
  protected:
    PaintFile() { paint_file_version().clear(); }
    RecordOutcome read(const std::string& text, paintFeatures& record) {
        test::put_file(path(), text);
        return read_paint_calibration(path(), record);
    }
    /// What the writer makes of the file with this text.
    std::string rewritten(const std::string& text, const paintFeatures& record) {
        std::filesystem::remove(path());
        if (!text.empty()) test::put_file(path(), text);
        EXPECT_EQ(write_paint_calibration(path(), record), RecordOutcome::done);
        return test::get_file(path());
    }
    std::string path() const { return folder_ / "p.clb"; }
    const test::TemporaryFolder folder_;
};

paintFeatures sample() {
    const std::array<std::array<double, 3>, 3> gamma{
        {{11, 12.5, 13}, {21, 22, 23}, {31, 32, 0.3333333333333333}}};
    return {gamma, "bar", 1.5, 0.25, 2, 1e-7, "f", 68, -40, 140, 9, "", "", "", "", "", false};
}

const std::string sample_2_51 =
    "[version]\nhead=2.51\n[paint]\n"
    "gamma11=11\ngamma21=21\ngamma31=31\ngamma12=12,5\ngamma22=22\ngamma32=32\n"
    "gamma13=13\ngamma23=23\ngamma33=0,3333333333333333\n"
    "default_pressure_unit=bar\nnormalizing_pressure=1,5\nminimal_pressure=0,25\n"
    "maximal_pressure=2\ntolerance_pressure=1e-07\n"
    "default_temperature_unit=f\nnormalizing_temperature=68\nminimal_temperature=-40\n"
    "maximal_temperature=140\ntolerance_temperature=9\n";
const std::string old_keys =
    "Gamma11=11\nGamma21=21\nGamma31=31\nGamma12=12,5\nGamma22=22\nGamma32=32\n"
    "Gamma13=13\nGamma23=23\nGamma33=0,3333333333333333\n"
    "Pressure Unit=bar\nNormalizing Pressure=1,5\nMinimal Pressure=0,25\nMaximal Pressure=2\n"
    "Temperature Unit=f\nNormalizing Temperature=68\nMinimal Temperature=-40\n"
    "Maximal Temperature=140\n";
const std::string sample_2_5 = "[Version]\nHead=2.5\n[Calibr]\n" + old_keys;
const std::string sample_unversioned = "[calibration]\n" + old_keys;

TEST_F(PaintFile, Version251ByteForByteAndBack) {
    EXPECT_EQ(rewritten("", sample()), sample_2_51);
    paintFeatures paint = sample();
    paint.double_channel = true;
    paint.list_file = "images.lst";
    paint.dark_refe_file = "C:\\dark = 2.tif";
    EXPECT_EQ(rewritten("; lot 34\n" + sample_2_5, paint).substr(0, 30),
              "; lot 34\n[Version]\nHead=2.51\n[");
    EXPECT_EQ(rewritten("", paint), sample_2_51 +
                                        "[test]\ntype=double\nlist_file=images.lst\n"
                                        "sens_camera_file=\nrefe_camera_file=\ndark_sens_file=\n"
                                        "dark_refe_file=C:\\dark = 2.tif\n");
    paintFeatures back;
    EXPECT_EQ(read_paint_calibration(path(), back), RecordOutcome::done);
    EXPECT_EQ(back, paint);
    write_paint_calibration(path(), sample());
    read_paint_calibration(path(), back);
    EXPECT_EQ(back, sample()) << "the test is gone from the file";
}

TEST_F(PaintFile, OldVersionsAreReadAndOnlyTheUnversionedIsSavedAsNew) {
    for (const auto& [text, version, saved] : {std::tuple{sample_2_5, "2.5", sample_2_5},
                                               std::tuple{sample_unversioned, "", sample_2_51}}) {
        paintFeatures paint;
        paint.tolerance_pressure = 1e-7;  // old versions have no tolerances and no test
        paint.tolerance_temperature = 9;
        paint.list_file = "kept";
        EXPECT_EQ(read(text, paint), RecordOutcome::done);
        EXPECT_EQ(paint.list_file, "kept");
        paint.list_file.clear();
        EXPECT_EQ(paint, sample());
        EXPECT_EQ(paint_file_version(), version);
        EXPECT_EQ(rewritten("", paint), saved);
    }
}

TEST_F(PaintFile, WhatCannotBeReadLeavesItsFields) {
    paintFeatures paint = sample();
    testing::internal::CaptureStderr();
    EXPECT_EQ(read("[Version]\nHead=2.6\n[paint]\ngamma11=5\n", paint),
              RecordOutcome::unknown_version);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Unknown file version\n");
    EXPECT_EQ(paint, sample());

    paint.double_channel = true;
    read("[VERSION]\nHEAD=2.51\n[PAINT]\nGamma11=1,5\ngamma21=many\n[test]\ntype=Double\n", paint);
    EXPECT_EQ(paint.gamma[0][0], 1.5);
    paint.gamma[0][0] = 11;
    EXPECT_EQ(paint, sample()) << "only the coefficient and the channels changed";
}

/// gamma11 and gamma22 with a correlation of -0.5.
paintFeatures with_covariance() {
    paintFeatures paint = sample();
    LawCovariance& covariance = paint.covariance.emplace();
    covariance[0][0] = 0.1;
    covariance[4][4] = 1e-20 / 3;
    covariance[0][4] = covariance[4][0] = -0.5 * std::sqrt(0.1 * covariance[4][4]);
    return paint;
}

TEST_F(PaintFile, KeepsACovarianceBesideTheLawOfEveryVersion) {
    for (const char* version : {"2.51", "2.5"}) {
        paint_file_version() = version;
        const std::string text = rewritten("", with_covariance());
        EXPECT_EQ(text.substr(0, text.find("[covariance]")),
                  version == std::string("2.51") ? sample_2_51 : sample_2_5);
        paintFeatures paint;
        EXPECT_EQ(read(text, paint), RecordOutcome::done);
        ASSERT_TRUE(paint.covariance);
        for (std::size_t j = 0; j < 9; ++j)
            for (std::size_t k = 0; k < 9; ++k)
                EXPECT_DOUBLE_EQ((*paint.covariance)[j][k], (*with_covariance().covariance)[j][k]);
        EXPECT_EQ(read(version == std::string("2.51") ? sample_2_51 : sample_2_5, paint),
                  RecordOutcome::done);
        EXPECT_FALSE(paint.covariance) << "that of another file";
        paint_file_version() = version;
        EXPECT_EQ(rewritten(text, paint).find("covariance"), std::string::npos);
    }
}

TEST_F(PaintFile, RefusesACovarianceThatCannotBeRightAndKeepsTheLaw) {
    const std::string whole = rewritten("", with_covariance());
    const auto with = [&](const std::string& from, const std::string& to) {
        std::string text = whole;
        EXPECT_NE(text.find(from), std::string::npos) << from;
        return text.replace(text.find(from), from.size(), to);
    };
    const std::pair<std::string, const char*> cases[] = {
        {with("gamma11=0,1 0", "gamma11=0,1 1e-3"), "not symmetric"},
        {with("gamma11=0,1 ", "gamma11=0,02 "), "negative eigenvalue"},
        {with("gamma11=0,1 ", "gamma11=-0,1 "), "negative"},
        {with("gamma11=0,1 ", "gamma11=nan "), "no"},
        {with("gamma11=0,1 ", "gamma11=x "), "\"x\" is no number"},
        {with("gamma11=0,1 ", "gamma11="), "81 entries"},
        {with("gamma21=21", "gamma21=21,5"), "other coefficients"},
    };
    for (const auto& [text, why] : cases) {
        test::put_file(path(), text);
        paintFeatures paint = with_covariance();
        std::string problem;
        EXPECT_EQ(read_paint_calibration(path(), paint, &problem), RecordOutcome::done);
        EXPECT_FALSE(paint.covariance) << why;
        EXPECT_EQ(paint.gamma[2][2], sample().gamma[2][2]);
        EXPECT_THAT(problem, testing::HasSubstr(path()));
        EXPECT_THAT(problem, testing::HasSubstr(why));
    }
}

TEST(CameraFile, ByteForByteAndBackAndMissingKeys) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "c.cam";
    const cameraFeatures camera{path, "42", "Upper", "sm",  12.5,  6.7e-4,   0.00068, 1300,
                                1030, 1280, 1024,    639.5, 511.5, -1.25e-8, 3e-16,   "flat.tif"};
    ASSERT_EQ(write_camera(path, camera), RecordOutcome::done);
    EXPECT_EQ(test::get_file(path),
              "[camera]\ncamera_ID=42\ncamera_name=Upper\ndefault_length_unit=sm\n"
              "focus=12,5\ndx=0,00067\ndy=0,00068\nncx=1300\nncy=1030\nnfx=1280\nnfy=1024\n"
              "cx=639,5\ncy=511,5\na2=-1,25e-08\na4=3e-16\nflat_file=flat.tif\n");
    cameraFeatures back;
    ASSERT_EQ(read_camera(path, back), RecordOutcome::done);
    EXPECT_EQ(back, camera);

    test::put_file(path, "[Camera]\nFOCUS = 20.5\nncx = broad\n");
    read_camera(path, back);
    EXPECT_EQ(back.focus, 20.5);
    EXPECT_EQ(back.flat_file, "");
    back.focus = 12.5;
    back.flat_file = "flat.tif";
    EXPECT_EQ(back, camera) << "the other fields stayed";
}

/// A record replaces what is no record, and one of an older format.
TEST(RecordFiles, DoNotMixWithWhatWasThere) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "p.clb";
    paintFeatures back;
    test::put_file(path, std::string("II*\0picture = [", 15));
    paint_file_version() = "2.51";
    write_paint_calibration(path, sample());
    EXPECT_THAT(test::get_file(path), testing::Not(testing::HasSubstr("picture")));
    EXPECT_EQ(read_paint_calibration(path, back), RecordOutcome::done);

    test::put_file(path, "; mine\n[Version]\nHead=2.5\n[Calibr]\nGamma11=77\n[other]\nkept=1\n");
    paint_file_version() = "2.51";
    write_paint_calibration(path, sample());
    EXPECT_THAT(test::get_file(path),
                testing::AllOf(testing::HasSubstr("; mine"), testing::HasSubstr("kept=1"),
                               testing::Not(testing::HasSubstr("Calibr]"))));
    EXPECT_EQ(read_paint_calibration(path, back), RecordOutcome::done);
    EXPECT_EQ(back.gamma, sample().gamma);
}

TEST(RecordFiles, PathsThatLeadNowhere) {
    const test::TemporaryFolder folder;
    paintFeatures paint = sample();
    cameraFeatures camera;
    EXPECT_EQ(read_paint_calibration("", paint), RecordOutcome::no_path);
    EXPECT_EQ(write_paint_calibration("", paint), RecordOutcome::no_path);
    EXPECT_EQ(read_camera("", camera), RecordOutcome::no_path);
    EXPECT_EQ(write_camera("", camera), RecordOutcome::no_path);
    EXPECT_THROW(read_paint_calibration(folder / "p.clb", paint), FileError);
    EXPECT_THROW(write_paint_calibration(folder / "none/p.clb", paint), FileError);
    EXPECT_THROW(read_camera(folder / "c.cam", camera), FileError);
    EXPECT_THROW(write_camera(folder / "none/c.cam", camera), FileError);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    EXPECT_TRUE(paint == sample() && camera == cameraFeatures{});
}

TEST(FlatFile, IsLookedForBesideTheCameraFileThenInTheProject) {
    const test::TemporaryFolder folder;
    const std::filesystem::path beside = folder / "camera/flat.tif";
    const std::filesystem::path in_project = folder / "project/flat.tif";
    create_directory(beside.parent_path());
    create_directory(in_project.parent_path());
    cameraFeatures camera;
    camera.camera = folder / "camera/c.cam";
    const auto log_of_search = [&](const std::filesystem::path& expected) {
        const test::LogCapture log;
        EXPECT_EQ(find_flat_file(camera, folder / "project"), expected);
        return log.lines();
    };
    EXPECT_THAT(log_of_search({}), ElementsAre()) << "no flat field was named";
    camera.flat_file = "D:\\flats\\flat.tif";
    const std::string missing = "4 File D:\\flats\\flat.tif not exists";
    const auto no_path = [](const std::filesystem::path& file) {
        return "4 " + file.string() + " - wrong alternate path";
    };
    EXPECT_THAT(log_of_search({}), ElementsAre(missing, no_path(beside), no_path(in_project)));
    test::put_file(in_project, "");
    EXPECT_THAT(log_of_search(in_project), ElementsAre(missing, no_path(beside)));
    test::put_file(beside, "");
    EXPECT_THAT(log_of_search(beside), ElementsAre(missing));
    camera.flat_file = in_project;
    EXPECT_THAT(log_of_search(in_project), ElementsAre());
}

}  // namespace
}  // namespace vyn
