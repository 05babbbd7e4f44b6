#include "core/ini_file.h"

#include <gmock/gmock.h>

#include "core/errors.h"
#include "tests/support/error_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

namespace fs = std::filesystem;
using Mode = IniFile::Mode;
using test::get_file;
using test::put_file;

class Ini : public testing::Test {
  protected:
    void load(const std::string& bytes) {
        put_file(path_, bytes);
        ini_.open(path_, Mode::read_write);
    }
    std::string saved() {
        ini_.save();
        return get_file(path_);
    }

    test::TemporaryFolder folder_;
    fs::path path_ = folder_ / "record.ini";
    IniFile ini_;
};

TEST_F(Ini, FindsKeysWithoutRegardToCaseAndNeverInComments) {
    load(
        "\xEF\xBB\xBF[First]\nkey=0\n ; key2=comment\n  [ Second \t]  \nnot a key\n"
        "  Long Key = a = b ; no comment  \nkey=1\nKEY=2\n[third\n\xE4=\xFF\n[second]\nlate=3");
    EXPECT_EQ(ini_.find("first", "KEY"), "0");
    EXPECT_EQ(ini_.find("SECOND", "key"), "1");
    EXPECT_EQ(ini_.find("second", "long key"), "a = b ; no comment");
    EXPECT_EQ(ini_.find("second", "late"), "3");
    EXPECT_EQ(ini_.find("Third", "\xE4"), "\xFF");
    for (const char* key : {"; key2", "key2", "not a key"})
        EXPECT_FALSE(ini_.find("first", key)) << key;
    EXPECT_FALSE(ini_.find("fourth", "key"));
    EXPECT_EQ(ini_.get("first", "absent", "default"), "default");
}

TEST_F(Ini, BytesSurviveARewriteWhereNothingWasSet) {
    for (const std::string& bytes :
         {std::string(), std::string("\n"), std::string("a"), std::string("\r\n\r\n"),
          std::string("[s]\r\nk=1\n\r\nlone\rreturn\n \t\n; \xFF\xC3\n") + '\0' +
              "\nend no newline",
          std::string("[s]\nk=") + std::string(100'000, 'v') + "\n"}) {
        load(bytes);
        EXPECT_EQ(saved(), bytes);
    }
}

TEST_F(Ini, SetChangesOneLineInPlaceOrEndsTheSectionOrTheFile) {
    load("; head\r\n[s]\n  Key =  old value \t\r\nnext=1\n[t]\nkey=x");
    ini_.set("S", "KEY", " new ");
    ini_.set("t", "key", "");
    ini_.set("s", "next", "1");
    EXPECT_EQ(saved(), "; head\r\n[s]\n  Key =  new\r\nnext=1\n[t]\nkey=");

    load("[a]\r\nk=1\r\n\r\n; about b\r\n\r\n[b]\r\nlast=1");
    ini_.set("A", "new", "2");
    ini_.set("b", "after", "3");
    ini_.set("c", "x", "4");
    ini_.set("c", "y", "5");
    EXPECT_EQ(
        saved(),
        "[a]\r\nk=1\r\n\r\n; about b\r\nnew=2\r\n\r\n[b]\r\nlast=1\r\nafter=3\r\n[c]\r\nx=4\r\n"
        "y=5\r\n");
    EXPECT_EQ(ini_.find("c", "y"), "5");
}

template <class Error, class Action>
void expect_error(const char* text, Action action) {
    const auto error = test::error_of<Error>(action, text);
    EXPECT_STREQ(error.text, text);
    EXPECT_STREQ(error.file, "vyn_ini_file");
}

TEST_F(Ini, ErrorsOfUse) {
    expect_error<AlgoError>("Ini-file wasn't opened!", [&] { ini_.find("s", "k"); });
    expect_error<AlgoError>("Ini-file wasn't opened!", [&] { ini_.set("s", "k", "v"); });
    expect_error<AlgoError>("Ini-file wasn't opened!", [&] { ini_.save(); });
    load("[s]\nk=1\n");
    expect_error<AlgoError>("Section's name is empty!", [&] { ini_.find("", "k"); });
    expect_error<AlgoError>("Key's name is empty!", [&] { ini_.set("s", " ", "v"); });
    expect_error<FileError>("File Name is empty!", [&] { ini_.save_as(""); });
    expect_error<FileError>("Can't open file for writing!", [&] { ini_.save_as(path_ / "below"); });

    ini_.open(path_, Mode::read_only);
    EXPECT_EQ(ini_.find("s", "k"), "1");
    expect_error<AlgoError>("Data is read-only!", [&] { ini_.set("s", "k", "v"); });
    expect_error<AlgoError>("Data is read-only!", [&] { ini_.save(); });
    expect_error<AlgoError>("Data is read-only!", [&] { ini_.save_as(folder_ / "other"); });
    EXPECT_FALSE(fs::exists(folder_ / "other"));
}

TEST_F(Ini, AMissingFileIsCreatedEmptyInReadWriteModeOnly) {
    expect_error<FileError>("File doesn't exist! Cannot create file because the mode is read-only!",
                            [&] { ini_.open(path_, Mode::read_only); });
    EXPECT_FALSE(fs::exists(path_));
    ini_.open(path_, Mode::read_write);
    EXPECT_EQ(fs::file_size(path_), 0u);
    ini_.set("s", "k", "v");
    EXPECT_EQ(saved(), "[s]\nk=v\n");
    expect_error<FileError>("Can't open file for writing!",
                            [&] { ini_.open(folder_ / "no folder/x", Mode::read_write); });
    expect_error<FileError>("Can't open file for reading!",
                            [&] { ini_.open(folder_.path(), Mode::read_write); });
    fs::resize_file(path_, (16u << 20) + 1);
    expect_error<FileError>("Can't open file for reading!",
                            [&] { ini_.open(path_, Mode::read_only); });
    EXPECT_FALSE(ini_.is_open());
}

TEST_F(Ini, RefusesWhatALineCannotGiveBack) {
    load("[s]\nk=1\n");
    for (const char* value : {"two\nlines", "1\r"})
        EXPECT_THROW(ini_.set("s", "k", value), AlgoError) << value;
    for (const char* key : {"a=b", ";comment", "[header]"})
        EXPECT_THROW(ini_.set("s", key, "1"), AlgoError) << key;
    for (const char* section : {"a]b", "s\n[t"})
        EXPECT_THROW(ini_.set(section, "k", "1"), AlgoError) << section;
    EXPECT_EQ(saved(), "[s]\nk=1\n");
}

}  // namespace
}  // namespace vyn
