#pragma once

// clang before 16 cannot read std::source_location of g++'s library; the linter and the fuzzers
// read this one.
#if defined(__clang__) && __clang_major__ < 16
namespace std {
struct source_location {
    static constexpr source_location current(const char* file = __builtin_FILE(),
                                             const char* function = __builtin_FUNCTION(),
                                             unsigned line = __builtin_LINE()) {
        return {file, function, line};
    }
    constexpr const char* file_name() const { return file_; }
    constexpr const char* function_name() const { return function_; }
    constexpr unsigned line() const { return line_; }
    constexpr unsigned column() const { return 0; }

    const char* file_ = "";
    const char* function_ = "";
    unsigned line_ = 0;
};
}  // namespace std
#endif
