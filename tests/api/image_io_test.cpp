#include "api/image_io.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/errors.h"
#include "tests/support/error_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// A format of files that begin with "SAMPLE"; does what the rest of the file tells it.
class SampleFormat final : public ImageFormat {
  public:
    SampleFormat(std::string id, Claim claim)
        : info_{id, "sample", {id, id + "x"}, true, id != "readonly"}, claim_(claim) {}
    const FormatInfo& info() const override { return info_; }
    bool recognises(std::span<const std::byte> head) const override {
        return std::string(reinterpret_cast<const char*>(head.data()), head.size())
            .starts_with("SAMPLE");
    }
    Claim claim(const fs::path& file) const override {
        return get_file(file).find("foreign") == std::string::npos ? claim_ : Claim::none;
    }
    image read(const fs::path& file, const ImageReadOptions&, Progress&) const override {
        const std::string text = get_file(file);
        if (text.find("throw") != std::string::npos) throw std::runtime_error("odd content");
        if (text.find("memory") != std::string::npos) throw std::bad_alloc();
        if (text.find("abort") != std::string::npos) throw Aborted{};
        image picture(2, 2);
        picture.markers.functionName = info_.id;
        if (text.find("named") != std::string::npos) picture.name = "from file";
        return picture;
    }
    void write(const image& picture, const fs::path& file, const ImageWriteOptions&,
               Progress&) const override {
        put_file(file, "SAMPLE " + picture.name);
        if (picture.name == "bad")
            throw FileError("Text", file.string() + ": no space", {"test", 1});
    }

  private:
    FormatInfo info_;
    Claim claim_;
};

class ImageFiles : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        ImageFormats& formats = get_2dio();
        EXPECT_TRUE(formats.add(std::make_unique<SampleFormat>("one", Claim::likely)));
        EXPECT_TRUE(formats.add(std::make_unique<SampleFormat>("two", Claim::likely)));
        EXPECT_TRUE(formats.add(std::make_unique<SampleFormat>("readonly", Claim::likely)));
        EXPECT_FALSE(formats.add(std::make_unique<SampleFormat>("two", Claim::certain)));
    }

    fs::path sample(const std::string& name, const std::string& content) {
        put_file(folder_ / name, "SAMPLE " + content);
        return folder_ / name;
    }

    /// The error of reading, which must name the file.
    static std::string failure(const fs::path& file) {
        const std::string what = error_of<FileError>([&] { read_image(file); }, file).what();
        EXPECT_THAT(what, HasSubstr(file.string()));
        return what;
    }

    TemporaryFolder folder_;
};

TEST_F(ImageFiles, AreReadByContentAndTheExtensionBreaksTies) {
    EXPECT_EQ(read_image(sample("a.two", "")).markers.functionName, "two");
    EXPECT_EQ(read_image(sample("a.TWOX", "")).markers.functionName, "two");
    EXPECT_EQ(read_image(sample("a.dat", "")).markers.functionName, "one");
    const image named = read_image(sample("b.c.one", "named"));
    EXPECT_EQ(named.name, "from file");
    EXPECT_EQ(named.file_name, (folder_ / "b.c.one").string());
    EXPECT_EQ(read_image(sample("b.c.one", "")).name, "b.c");
}

TEST_F(ImageFiles, ThatCannotBeReadAreNamedWithTheReason) {
    EXPECT_THAT(failure(folder_ / "missing.one"), HasSubstr("no such file"));
    EXPECT_THAT(failure(folder_.path()), HasSubstr("folder"));
    EXPECT_THAT(failure("/dev/null"), HasSubstr("not a regular file"));
    put_file(folder_ / "empty.one", "");
    EXPECT_THAT(failure(folder_ / "empty.one"), HasSubstr("empty"));
    put_file(folder_ / "text.one", "some text");
    EXPECT_THAT(failure(folder_ / "text.one"), HasSubstr("not an image that any plug-in reads"));
    EXPECT_THAT(failure(sample("foreign.one", "foreign")), HasSubstr("not an image"));
    EXPECT_THAT(failure(sample("throw.one", "throw")), HasSubstr("odd content"));
    EXPECT_THAT(failure(sample("memory.one", "memory")), HasSubstr("not enough memory"));
    EXPECT_THROW(read_image(sample("abort.one", "abort")), Aborted);
}

TEST_F(ImageFiles, AreWrittenInTheFormatOfTheirExtension) {
    image picture(2, 2);
    picture.name = "good";
    write_image(picture, folder_ / "new.Two");
    EXPECT_EQ(get_file(folder_ / "new.Two"), "SAMPLE good");
    for (const char* name : {"new.xyz", "new", "new.readonly"}) {
        const auto error = error_of<FileError>([&] { write_image(picture, folder_ / name); });
        EXPECT_THAT(error.what(), AllOf(HasSubstr(name), HasSubstr("one, onex, two, twox"),
                                        Not(HasSubstr("readonlyx"))));
    }
}

TEST_F(ImageFiles, KeepTheOldContentWhenWritingFails) {
    const auto file = folder_ / "kept.one";
    put_file(file, "old");
    image picture(2, 2);
    picture.name = "bad";
    EXPECT_EQ(error_of<FileError>([&] { write_image(picture, file); }).detail,
              file.string() + ": no space");
    EXPECT_EQ(get_file(file), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 1);
    EXPECT_THROW(write_image(picture, folder_ / "nowhere" / "new.one"), FileError);
    EXPECT_FALSE(fs::exists(folder_ / "nowhere"));
}

TEST_F(ImageFiles, AreNotMadeOfImagesWithoutPlanes) {
    image picture(2, 2);
    picture.drop_mask();
    EXPECT_THROW(write_image(picture, folder_ / "new.one"), AlgoError);
    EXPECT_THROW(write_image(image(0, 5), folder_ / "new.one"), FileError);
    EXPECT_TRUE(fs::is_empty(folder_.path()));
}

/// Keeps only the number of vertices.
class CountFormat final : public MeshFormat {
  public:
    const FormatInfo& info() const override { return info_; }
    Claim claim(std::span<const std::byte> head, const fs::path&) const override {
        return head[0] == std::byte{'.'} ? Claim::likely : Claim::none;
    }
    field_data<double> read(const fs::path& file, const MeshReadOptions&,
                            Progress&) const override {
        field_data<double> field;
        field.vertices.resize(get_file(file).size());
        return field;
    }
    void write(const field_data<double>& field, const fs::path& file, Progress&) const override {
        put_file(file, std::string(field.vertices.size(), '.'));
    }

  private:
    FormatInfo info_{"count", "count", {"count"}, true, true};
};

TEST(FieldFiles, AreReadByContentAndWrittenByExtension) {
    TemporaryFolder folder;
    Progress silent;
    ASSERT_TRUE(get_3dio().add(std::make_unique<CountFormat>()));
    field_data<double> field;
    field.vertices.resize(3);
    write_field(field, folder / "a.count", silent);
    fs::rename(folder / "a.count", folder / "a.any");
    EXPECT_EQ(read_field(folder / "a.any", silent).vertices.size(), 3u);
    put_file(folder / "c.count", "not dots");
    EXPECT_THROW(read_field(folder / "c.count", silent), FileError);
    EXPECT_THROW(write_field(field, folder / "a.other", silent), FileError);
    EXPECT_THROW(write_field({}, folder / "d.count", silent), FileError);
    EXPECT_THROW(read_field(folder / "b.count", silent), FileError);
    field.clear();
    EXPECT_FALSE(field.has_data());
}

}  // namespace
}  // namespace vyn::test
