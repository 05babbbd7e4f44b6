#pragma once

#include <exception>
#include <source_location>
#include <string>
#include <utility>

namespace vyn {

/// Where an error was raised: a source unit and a line. Functions that raise take one as their last
/// parameter, `ErrorPlace at = std::source_location::current()`, and so name their caller; a place
/// given in words, `{"unit", 12}`, is recorded as it stands.
struct ErrorPlace {
    ErrorPlace(std::source_location here)
        : file(here.file_name()), line(static_cast<int>(here.line())) {}
    ErrorPlace(const char* unit, int at) : file(unit), line(at) {}
    /// A unit that goes by a name other than its path, at the line that says so.
    ErrorPlace(const char* unit, std::source_location here = std::source_location::current())
        : ErrorPlace(unit, static_cast<int>(here.line())) {}

    const char* file;  ///< static storage; an extension is not part of the unit's name
    int line;
};

/// Base of every failure that the program's own code raises; caught by class.
///
/// Construction writes one log line of level error, `text in:file:line`, and, where there is a
/// detail, a second one holding it, so that a failure leaves its trace even when it is swallowed
/// later. `text` and `file` point to static storage.
class GenericError : public std::exception {
  public:
    explicit GenericError(const char* what_failed, int kind = 0, std::string about = {},
                          ErrorPlace at = std::source_location::current());

    const char* text;    ///< fixed text of the kind of error
    int code;            ///< kind code; for a SystemError the operating system's error number
    const char* file;    ///< source unit that raised it: its path in the source tree, "core/keys"
    int line;            ///< line recorded with it
    std::string detail;  ///< which file, key or value, and what is wrong with it; may be empty

    /// The text, then ": " and the detail where there is one: what a user is shown.
    const char* what() const noexcept override { return message_.c_str(); }

    /// "text at file:line", as the entry points and the worker report an error.
    std::string where() const;

  private:
    std::string message_;
};

/// While one lives, errors raised on its thread leave no line in the log: for code that catches
/// them and raises one of its own instead, which does.
class UnloggedErrors {
  public:
    UnloggedErrors();
    ~UnloggedErrors();
    UnloggedErrors(const UnloggedErrors&) = delete;
    UnloggedErrors& operator=(const UnloggedErrors&) = delete;
};

struct IndexError : GenericError {
    explicit IndexError(std::string about = {}, ErrorPlace at = std::source_location::current())
        : GenericError("Index error!", 1, std::move(about), at) {}
};

struct DimError : GenericError {
    explicit DimError(std::string about = {}, ErrorPlace at = std::source_location::current())
        : GenericError("Array and bkgr have different dimensions!", 2, std::move(about), at) {}
};

struct FileError : GenericError {
    explicit FileError(const char* what_failed, std::string about = {},
                       ErrorPlace at = std::source_location::current())
        : GenericError(what_failed, 4, std::move(about), at) {}
};

struct StateError : GenericError {
    explicit StateError(const char* what_failed = "State error!", std::string about = {},
                        ErrorPlace at = std::source_location::current())
        : GenericError(what_failed, 5, std::move(about), at) {}
};

struct AlgoError : GenericError {
    explicit AlgoError(const char* what_failed = "Algorithm error!", std::string about = {},
                       ErrorPlace at = std::source_location::current())
        : GenericError(what_failed, 6, std::move(about), at) {}
};

struct BadCast : GenericError {
    explicit BadCast(std::string about = {}, ErrorPlace at = std::source_location::current())
        : GenericError("Bad Any Cast!", 10, std::move(about), at) {}
};

/// A failed call of the operating system. Its code is the system's error number, and a second log
/// line of level error gives that number.
struct SystemError : GenericError {
    SystemError(const char* what_failed, int os_error, std::string about = {},
                ErrorPlace at = std::source_location::current());

    /// The system's message for the number, at most 100 characters; "System Error" for 0.
    std::string system_message() const;
};

}  // namespace vyn
