#include "core/errors.h"

#include <cerrno>

#include <gmock/gmock.h>

#include "core/any.h"
#include "tests/support/error_of.h"
#include "tests/support/log_capture.h"

namespace vyn {
namespace {

using test::error_of;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(Errors, LeaveTheirLogLinesEvenWhenSwallowed) {
    const test::LogCapture log;
    const FileError error("Can't open file for reading!", "a.tif: too short");
    const std::string place = "tests/core/errors_test:" + std::to_string(__LINE__ - 1);
    EXPECT_EQ(error.code, 4);
    EXPECT_STREQ(error.what(), "Can't open file for reading!: a.tif: too short");
    EXPECT_EQ(error.where(), "Can't open file for reading! at " + place);
    EXPECT_THROW(throw SystemError("Error creating mutex", 12, "", {"vyn_threads", 74}),
                 SystemError);
    {
        const UnloggedErrors told_in_other_words;
        EXPECT_THROW(throw SystemError("not told", 1, "at all"), SystemError);
    }
    EXPECT_THROW(throw DimError("", {"api/x", 1}), DimError);
    EXPECT_THAT(log.lines(),
                ElementsAre("2 Can't open file for reading! in:" + place, "2 a.tif: too short",
                            "2 Error creating mutex in:vyn_threads:74", "2 System error # 12",
                            "2 Array and bkgr have different dimensions! in:api/x:1"));
}

TEST(Errors, SystemMessageIsTheSystemsTextAndShort) {
    const auto message = [](int number) {
        return SystemError("text", number, "", {"unit", 1}).system_message();
    };
    EXPECT_EQ(message(0), "System Error");
    EXPECT_NE(message(ENOENT), message(EACCES));
    EXPECT_THAT(message(123456789), HasSubstr("123456789"));
    for (int number = 1; number < 140; ++number)
        EXPECT_LE(message(number).size(), 100u);
}

TEST(Any, ReadingAnotherTypeIsABadCastWithItsLogLine) {
    const any holder(5);
    EXPECT_EQ(holder.get<int>(), 5);
    const test::LogCapture log;
    const auto error = error_of<BadCast>([&] { static_cast<void>(holder.get<double>()); });
    EXPECT_EQ(error.code, 10);
    EXPECT_THAT(log.lines(), ElementsAre("2 Bad Any Cast! in:" + std::string(error.file) + ":" +
                                         std::to_string(error.line)));
    EXPECT_THROW(static_cast<void>(any().get<int>()), BadCast);
}

TEST(Any, CopiesOwnTheirContentAndConstReferencesRefuseAssignment) {
    any original(std::string("first"));
    const any copy = original;
    original.set(2.5);
    EXPECT_EQ(copy.get<std::string>(), "first");
    EXPECT_EQ(original.get<double>(), 2.5);

    int referred = 1;
    any reference = any::const_ref(referred);
    referred = 2;
    EXPECT_EQ(reference.get<int>(), 2);
    const auto error = error_of<StateError>([&] { reference.set(3); });
    EXPECT_EQ(error.code, 5);
    EXPECT_STREQ(error.text, "Attempted to assign value to a const ref");
    EXPECT_EQ(referred, 2);
}

TEST(Log, LevelFiltersOnlyTheSinksThatAskForIt) {
    LogManager log;
    std::string filtered;
    std::string everything;
    log.attach([&](const LogLine& line) { filtered += line.text; }, LogManager::Filter::by_level);
    const auto id = log.attach([&](const LogLine& line) { everything += line.text; },
                               LogManager::Filter::every_level);
    log.set_level(LogLevel::error);
    for (const auto level :
         {LogLevel::failure, LogLevel::error, LogLevel::information, LogLevel::progress})
        log.write(level, std::to_string(number(level)));
    log.detach(id);
    log.write(LogLevel::fatal, "0");
    EXPECT_EQ(filtered, "120");
    EXPECT_EQ(everything, "1234");
}

TEST(Log, AnErrorInsideASinkIsKeptAndHarmless) {
    get_log_mgr().take_new_lines();
    const ScopedLogSink sink(
        [](const LogLine&) {
            throw AlgoError("Algorithm error!", "", {"sink", 1});
        },
        LogManager::Filter::every_level);
    std::string texts;
    for (const char* text : {"one", "two"})
        get_log().write(LogLevel::information, text);
    for (const LogLine& line : get_log_mgr().take_new_lines())
        texts += line.text + '\n';
    EXPECT_EQ(texts, "one\nAlgorithm error! in:sink:1\ntwo\nAlgorithm error! in:sink:1\n");
}

TEST(Log, KeepsTheNewestLinesAndTellsHowManyAreGone) {
    LogManager log;
    for (int i = 0; i < 100'003; ++i)
        log.write(LogLevel::progress, std::to_string(i));
    const auto lines = log.take_new_lines();
    ASSERT_EQ(lines.size(), 100'001u);
    EXPECT_THAT(lines.front().text, HasSubstr("3 older lines"));
    EXPECT_EQ(lines[1].text, "3");
    EXPECT_EQ(lines.back().text, "100002");
    EXPECT_THAT(lines.back().time, testing::MatchesRegex("[0-9]{2}:[0-9]{2}:[0-9]{2}"));
    EXPECT_TRUE(log.take_new_lines().empty());
}

}  // namespace
}  // namespace vyn
