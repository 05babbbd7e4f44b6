#pragma once

#include <exception>
#include <string>
#include <utility>

namespace vyn {

/// Base of every failure that the program's own code raises; caught by class.
///
/// Construction writes one log line at level 2, `text in:file:line`, and, where there is a detail,
/// a second one holding it, so that a failure leaves its trace even when it is swallowed later.
/// `text` and `file` point to static storage.
class GenericError : public std::exception {
  public:
    GenericError(const char* unit, int at, const char* what_failed, int kind = 0,
                 std::string about = {});

    const char* text;    ///< fixed text of the kind of error
    int code;            ///< kind code; for a SystemError the operating system's error number
    const char* file;    ///< source unit that raised it
    int line;            ///< line recorded with it
    std::string detail;  ///< which file, key or value, and what is wrong with it; may be empty

    /// The text, then ": " and the detail where there is one: what a user is shown.
    const char* what() const noexcept override { return message_.c_str(); }

    /// "text at file:line", as the entry points and the worker report an error.
    std::string where() const;

  private:
    std::string message_;
};

struct IndexError : GenericError {
    IndexError(const char* unit, int at, std::string about = {})
        : GenericError(unit, at, "Index error!", 1, std::move(about)) {}
};

struct DimError : GenericError {
    DimError(const char* unit, int at, std::string about = {})
        : GenericError(unit, at, "Array and bkgr have different dimensions!", 2, std::move(about)) {
    }
};

struct FileError : GenericError {
    FileError(const char* unit, int at, const char* what_failed, std::string about = {})
        : GenericError(unit, at, what_failed, 4, std::move(about)) {}
};

struct StateError : GenericError {
    StateError(const char* unit, int at, const char* what_failed = "State error!",
               std::string about = {})
        : GenericError(unit, at, what_failed, 5, std::move(about)) {}
};

struct AlgoError : GenericError {
    AlgoError(const char* unit, int at, const char* what_failed = "Algorithm error!",
              std::string about = {})
        : GenericError(unit, at, what_failed, 6, std::move(about)) {}
};

struct BadCast : GenericError {
    BadCast(const char* unit, int at, std::string about = {})
        : GenericError(unit, at, "Bad Any Cast!", 10, std::move(about)) {}
};

/// A failed call of the operating system. Its code is the system's error number, and a second log
/// line at level 2 gives that number.
struct SystemError : GenericError {
    SystemError(const char* unit, int at, const char* what_failed, int os_error,
                std::string about = {});

    /// The system's message for the number, at most 100 characters; "System Error" for 0.
    std::string system_message() const;
};

}  // namespace vyn
