#include <array>
#include <bit>
#include <cstring>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/image_io.h"
#include "core/errors.h"
#include "tests/plugins/mesh_samples.h"
#include "tests/support/error_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class MeshFiles : public testing::Test {
  protected:
    Mesh read(const std::string& name, const MeshReadOptions& options = {}) {
        return read_field(folder_ / name, silent_, options);
    }
    Mesh read_text(const std::string& name, const std::string& text) {
        put_file(folder_ / name, text);
        return read(name);
    }
    std::string refusal_of(const std::string& name, const std::string& text) {
        put_file(folder_ / name, text);
        return error_of<FileError>([&] { read(name); }, name).what();
    }
    Mesh round_trip(const Mesh& mesh, const std::string& name) {
        write_field(mesh, folder_ / name, silent_);
        fs::rename(folder_ / name, folder_ / "file.any");  // content decides
        return read("file.any");
    }

    TemporaryFolder folder_;
    Progress silent_;
};

TEST_F(MeshFiles, SavedFieldReadsBackToTheBit) {
    const Mesh mesh = example_mesh();
    const Mesh back = round_trip(mesh, "a.vtp");
    EXPECT_EQ(back.vertices, mesh.vertices);
    EXPECT_EQ(back.triangles, mesh.triangles);
    EXPECT_EQ(back.cells, mesh.cells);
    EXPECT_EQ(back.zones, mesh.zones);
    EXPECT_EQ(back.blanked, mesh.blanked);
    EXPECT_EQ(back.unit, mesh.unit);
    EXPECT_EQ(back.history, mesh.history);
    EXPECT_EQ(back.views, mesh.views);
    ASSERT_EQ(back.quantities.size(), 2u);
    for (std::size_t q = 0; q < 2; ++q) {
        EXPECT_EQ(back.quantities[q].name, mesh.quantities[q].name);
        EXPECT_EQ(back.quantities[q].unit, mesh.quantities[q].unit);
        EXPECT_EQ(back.quantities[q].place, mesh.quantities[q].place);
        EXPECT_TRUE(same_values(back.quantities[q].values, mesh.quantities[q].values));
    }
}

TEST_F(MeshFiles, OtherFormatsKeepWhatTheyHold) {
    const Mesh mesh = example_mesh();
    for (const char* name : {"a.vtk", "a.ply", "a.dat", "a.xyz"}) {
        SCOPED_TRACE(name);
        const Mesh back = round_trip(mesh, name);
        EXPECT_EQ(back.vertices, mesh.vertices);
        EXPECT_EQ(back.triangles, mesh.triangles);
        EXPECT_EQ(back.zones.size(),
                  std::string(name) == "a.dat" || std::string(name) == "a.xyz" ? 2u : 1u);
        if (std::string(name) == "a.xyz") {
            EXPECT_EQ(back.zones[1].nj, 6);
            EXPECT_EQ(back.blanked[6], 1);
            EXPECT_EQ(back.blanked[3], 1) << "not seen";
            EXPECT_EQ(std::count(back.blanked.begin(), back.blanked.end(), 1), 6);
            continue;
        }
        ASSERT_NE(back.find("Cp"), nullptr);
        EXPECT_TRUE(same_values(back.find("Cp")->values, mesh.quantities[0].values));
    }
    EXPECT_TRUE(
        same_values(round_trip(mesh, "a.vtk").find("mean")->values, mesh.quantities[1].values));
    const Mesh stl = round_trip(mesh, "a.stl");
    ASSERT_EQ(stl.triangles.size(), mesh.triangles.size());
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t)
        for (std::size_t c = 0; c < 3; ++c)
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_EQ(stl.vertices[std::size_t(stl.triangles[t][c])][i],
                          float(mesh.vertices[std::size_t(mesh.triangles[t][c])][i]));
    EXPECT_EQ(stl.vertices.size(), mesh.vertices.size());
}

TEST_F(MeshFiles, TablesHaveAnEmptyPlaceWhereNothingWasSeen) {
    Mesh mesh = example_mesh();
    write_field(mesh, folder_ / "a.csv", silent_);
    const std::string text = get_file(folder_ / "a.csv");
    EXPECT_THAT(text, testing::StartsWith("x,y,z,zone,Cp\n0,0.3333333333333333,0,"
                                          "\"upper, \"\"left\"\"\",0.3333333333333333\n"));
    EXPECT_THAT(text, HasSubstr("\n7.5,0.3333333333333333,0.0007780731968879212,"
                                "\"upper, \"\"left\"\"\",\n"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + 38);
}

/// Every way to store a Plot3D grid is told from the others by its length.
TEST_F(MeshFiles, Plot3dIsReadInEveryVariant) {
    for (int variant = 0; variant < 64; ++variant) {
        const Plot3dSample sample{.order = variant & 1 ? std::endian::big : std::endian::little,
                                  .records = (variant & 2) != 0,
                                  .many = (variant & 4) != 0,
                                  .doubles = (variant & 8) != 0,
                                  .blanking = (variant & 16) != 0,
                                  .flat = (variant & 32) != 0};
        SCOPED_TRACE(variant);
        put_file(folder_ / "a.any", plot3d_bytes(sample));
        const Mesh mesh = read("a.any");
        ASSERT_EQ(mesh.zones.size(), sample.many ? 2u : 1u);
        EXPECT_EQ(mesh.zones[0].ni, 4);
        EXPECT_EQ(mesh.zones[0].nj, 3);
        ASSERT_EQ(mesh.vertices.size(), sample.many ? 12u + 35u : 12u);
        EXPECT_EQ(mesh.vertices[5], (MeshPlace{1.5, 10.25, sample.flat ? 0.0 : 105.125}));
        EXPECT_EQ(mesh.blanked.empty(), !sample.blanking);
        EXPECT_TRUE(!sample.blanking || mesh.blanked[2] == 1);
    }
    const Mesh text = read_text("a.txt", "2 2 1\n0 1 0 1\n0 0 1 1\n 5.0D0 5 5 5\n");
    EXPECT_EQ(text.vertices[3], (MeshPlace{1, 1, 5}));
}

TEST_F(MeshFiles, AmbiguousPlot3dAsksAndTakesTheAnswer) {
    // A grid of 1 x 3 x 4 points, or one of one grids, 3 x 4 flat points and IBLANK.
    std::string text = "1 3 4\n";
    for (int i = 0; i < 36; ++i)
        text += "1\n";
    const std::string why = refusal_of("a.xyz", text);
    const std::string first = why.substr(why.find('"') + 1);
    EXPECT_THAT(why, HasSubstr("say how to read it"));
    const std::string chosen = first.substr(0, first.find('"'));
    EXPECT_NO_THROW(read("a.xyz", {.variant = chosen})) << chosen;
}

TEST_F(MeshFiles, ObjReferencesOfEveryKind) {
    const Mesh mesh = read_text("a.any",
                                "# comment\no wing\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvn 0 0 1\n"
                                "f 1//1 2//1 3//1\ng tip\nf -4/1 \\\n -2/2/1 -1\n"
                                "v 0.5 0.5 1\no wing\nf 1 2 3 4 5\n");
    ASSERT_EQ(mesh.zones.size(), 2u);
    EXPECT_EQ(mesh.zones[0].name, "wing");
    EXPECT_EQ(mesh.zones[0].triangle_count, 4u);
    EXPECT_EQ(mesh.triangles, (std::vector<std::array<int, 3>>{
                                  {0, 1, 2}, {0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 2, 3}}));
    EXPECT_EQ(mesh.cells, (std::vector<int>{0, 1, 1, 1, 2}));
}

TEST_F(MeshFiles, TecplotHeadersOfEveryKind) {
    const Mesh mesh = read_text(
        "a.any",
        "TITLE = \"a = (b) [c]\"\n"
        "VARIABLES = \"X\", \"Y\"\n \"Z\"\n \"P, (Pa)\" \"c\"\n# comment\n"
        "ZONE T=\"body = 1\", I=3, J=2, F=POINT\n"
        "0 0 0 1 9\n1 0 0 2 9\n2 0 0 3 9\n0 1 0 4 9\n1 1 0 5 9\n2 1 0 6 9\n"
        "ZONE\nT=\"fin\"\nNODES=4, ELEMENTS=2, DATAPACKING=BLOCK, ZONETYPE=FEQUADRILATERAL\n"
        "DT=(SINGLE SINGLE SINGLE SINGLE SINGLE)\n"
        "0 1 1 0\n0 0 1 1\n4*7.5\n10 11 nan 13\n4*9\n1 2 3 4\n1 2 3 3\n");
    ASSERT_EQ(mesh.zones.size(), 2u);
    EXPECT_EQ(mesh.zones[0].name, "body = 1");
    EXPECT_EQ(mesh.zones[0].nj, 2);
    EXPECT_EQ(mesh.zones[1].name, "fin");
    EXPECT_EQ(mesh.zones[1].triangle_count, 3u);
    EXPECT_EQ(mesh.vertices[8], (MeshPlace{1, 1, 7.5}));
    EXPECT_TRUE(
        same_values(mesh.find("P, (Pa)")->values, {1, 2, 3, 4, 5, 6, 10, 11, not_seen, 13}));
    const Mesh cells = read_text("b.any",
                                 "VARIABLES = X Y Z q\nZONE I=3, J=2, DATAPACKING=BLOCK, "
                                 "VARLOCATION=([4]=CELLCENTERED)\n0 1 2 0 1 2\n0 0 0 1 1 1\n6*0\n"
                                 "5 6\n");
    EXPECT_EQ(cells.find("q")->place, Mesh::Place::cell);
    EXPECT_EQ(cells.find("q")->values, (std::vector<double>{5, 6}));
}

TEST_F(MeshFiles, TecplotZonesThatShareData) {
    const std::string first =
        "VARIABLES = X Y Z p q\n"
        "ZONE N=4, E=2, ZONETYPE=FETRIANGLE, DATAPACKING=BLOCK, VARLOCATION=([5]=CELLCENTERED)\n"
        "0 1 1 0\n0 0 1 1\n4*2\n1 2 3 4\n5 6\n1 2 3\n1 3 4\n";
    const std::string second =
        "ZONE N=4, E=2, ZONETYPE=FETRIANGLE, DATAPACKING=BLOCK, VARLOCATION=([5]=CELLCENTERED), ";
    const Mesh mesh = read_text("a.any", first + second +
                                             "VARSHARELIST=([1-2,5]=1, [3]), "
                                             "CONNECTIVITYSHAREZONE=1\n7 8 9 10\n");
    ASSERT_EQ(mesh.zones.size(), 2u);
    for (std::size_t v = 0; v < 4; ++v)
        EXPECT_EQ(mesh.vertices[4 + v], mesh.vertices[v]);
    EXPECT_EQ(mesh.triangles,
              (std::vector<std::array<int, 3>>{{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}}));
    EXPECT_EQ(mesh.find("p")->values, (std::vector<double>{1, 2, 3, 4, 7, 8, 9, 10}));
    EXPECT_EQ(mesh.find("q")->values, (std::vector<double>{5, 6, 5, 6}));

    for (const auto& [text, why] : std::vector<std::pair<std::string, std::string>>{
             {first + second + "VARSHARELIST=([1-3]=2)\n", "VARSHARELIST names no zone"},
             {first + second + "CONNECTIVITYSHAREZONE=0\n", "names no zone before this one"},
             {first + "ZONE N=3, E=1, F=FEBLOCK, VARSHARELIST=([1]=1), "
                      "VARLOCATION=([5]=CELLCENTERED)\n",
              "'X' is shared with a zone of another size"}}) {
        const auto error = error_of<FileError>([&, text = text] { read_text("b.any", text); });
        EXPECT_THAT(error.detail, testing::HasSubstr(why));
    }
}

TEST_F(MeshFiles, VtkStripsBecomeTriangles) {
    const Mesh mesh =
        read_text("a.any",
                  "# vtk DataFile Version 3.0\ntitle\nASCII\nDATASET POLYDATA\nPOINTS 5 float\n"
                  "0 0 0 1 0 0 0 1 0 1 1 0 0 2 0\nTRIANGLE_STRIPS 1 6\n5 0 1 2 3 4\nPOLYGONS 1 4\n"
                  "3 2 3 4\nCELL_DATA 2\nSCALARS id int\nLOOKUP_TABLE default\n7 8\n");
    EXPECT_EQ(mesh.triangles,
              (std::vector<std::array<int, 3>>{{2, 3, 4}, {0, 1, 2}, {1, 3, 2}, {2, 3, 4}}));
    EXPECT_EQ(mesh.find("id")->values, (std::vector<double>{7, 8, 8, 8}));
}

TEST_F(MeshFiles, VtkInTextAndOtherEncodings) {
    const Mesh legacy = read_text(
        "a.any",
        "# vtk DataFile Version 3.0\ntitle\nASCII\nDATASET UNSTRUCTURED_GRID\nPOINTS 5 float\n"
        "0 0 0 1 0 0 0 1 0 1 1 0 2 2 2\nCELLS 3 12\n2 0 1\n4 0 1 2 3\n3 1 3 4\n"
        "CELL_TYPES 3\n3 8 5\nCELL_DATA 3\nSCALARS id int\nLOOKUP_TABLE default\n7 8 9\n"
        "POINT_DATA 5\nVECTORS v float\n1 2 3 4 5 6 7 8 9 10 11 12 13 14 15\n");
    EXPECT_EQ(legacy.triangles, (std::vector<std::array<int, 3>>{{0, 1, 3}, {0, 3, 2}, {1, 3, 4}}));
    EXPECT_EQ(legacy.find("id")->values, (std::vector<double>{8, 9}));
    EXPECT_EQ(legacy.find("v_y")->values, (std::vector<double>{2, 5, 8, 11, 14}));

    for (const auto& [name, text] : vtk_xml_samples()) {
        SCOPED_TRACE(name);
        const Mesh mesh = read_text("b.any", text);
        EXPECT_EQ(mesh.vertices,
                  (std::vector<MeshPlace>{{0, 0, 0}, {1.5, 0, 0}, {1.5, 1, 0}, {0, 1, 0.25}}));
        EXPECT_EQ(mesh.triangles, (std::vector<std::array<int, 3>>{{0, 1, 2}, {0, 2, 3}}));
        EXPECT_EQ(mesh.find("p")->values, (std::vector<double>{1, 2, 3, 1e300}));
        EXPECT_EQ(mesh.find("q")->values, (std::vector<double>{-5}));
    }
}

TEST_F(MeshFiles, StlThatBeginsWithSolidAndTextWithSeveralSolids) {
    Mesh mesh = example_mesh();
    write_field(mesh, folder_ / "a.stl", silent_);
    std::string bytes = get_file(folder_ / "a.stl");
    bytes.replace(0, 12, "solid facet ");
    EXPECT_EQ(read_text("b.any", bytes).triangles.size(), mesh.triangles.size());
    const std::string facet =
        "facet normal 0 0 0\nouter loop\nvertex 0 0 0\nvertex 1 0 -0\nvertex 0 1e-3 0\n"
        "endloop\nendfacet\n";
    const Mesh text = read_text("c.any", "solid a b\n" + facet + facet + "endsolid a b\nsolid c\n" +
                                             facet + "endsolid c\n");
    EXPECT_EQ(text.vertices.size(), 3u);
    ASSERT_EQ(text.zones.size(), 2u);
    EXPECT_EQ(text.zones[0].name, "a b");
    EXPECT_EQ(text.zones[1].triangle_count, 1u);
}

TEST_F(MeshFiles, TriangulationsKeepTheirComponents) {
    const Mesh mesh = read_text("a.tri", "4 2\n0 0 0\n1 0 0\n0 1 0\n1 1 1\n1 2 3\n2 4 3\n5\n2\n");
    ASSERT_EQ(mesh.zones.size(), 2u);
    EXPECT_EQ(mesh.zones[0].name, "component 5");
    EXPECT_EQ(mesh.triangles[1], (std::array<int, 3>{1, 3, 2}));
}

TEST_F(MeshFiles, WhatIsWrongIsSaid) {
    const std::string vertices = "v 0 0 0\nv 1 0 0\nv 1 1 0\n";
    EXPECT_THAT(refusal_of("a.obj", vertices + "f 1 2 4\n"), HasSubstr("vertex 4 of 3"));
    EXPECT_THAT(refusal_of("a.obj", vertices + "f 1 2 0\n"), HasSubstr("line 4"));
    EXPECT_THAT(refusal_of("a.obj", vertices), HasSubstr("no faces"));
    EXPECT_THAT(refusal_of("a.obj", "v 0 0 inf\n" + vertices + "f 1 2 3\n"),
                HasSubstr("vertex 1 is not finite"));
    EXPECT_THAT(refusal_of("a.tri", "1000000000 3\n0 0 0\n"), HasSubstr("too short"));
    EXPECT_THAT(refusal_of("a.dat", "VARIABLES = X Y Z\nZONE I=100000, J=100000, K=100000\n1 2\n"),
                HasSubstr("too large"));
    EXPECT_THAT(refusal_of("a.vtk",
                           "# vtk DataFile Version 3.0\nt\nASCII\nDATASET UNSTRUCTURED_GRID\n"
                           "POINTS 4 float\n0 0 0 1 0 0 0 1 0 1 1 1\nCELLS 1 5\n4 0 1 2 3\n"
                           "CELL_TYPES 1\n10\n"),
                HasSubstr("extract the surface"));
    EXPECT_THAT(refusal_of("a.any", "nothing of a mesh"), HasSubstr("not a mesh"));
    EXPECT_THAT(
        error_of<FileError>([&] { write_field(sphere(4, 3), folder_ / "a.obj", silent_); }).what(),
        HasSubstr("vtp"));
    Mesh loose = sphere(4, 3);
    loose.zones[0].ni = 0;
    EXPECT_THAT(error_of<FileError>([&] { write_field(loose, folder_ / "a.xyz", silent_); }).what(),
                HasSubstr("not structured"));
}

}  // namespace
}  // namespace vyn::test
