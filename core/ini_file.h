#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vyn {

/// A sectioned text file of key=value lines, kept as its list of lines: comments, blank lines,
/// order, line ends and bytes of any encoding survive a rewrite wherever nothing was set.
///
/// Section and key names are compared without regard to ASCII letter case; blanks around them do
/// not count. A line that begins with ";" is a comment. Of several sections of one name, all are
/// searched and the first takes new keys.
///
/// Errors (source unit "vyn_ini_file"): AlgoError for an empty section or key name, a file that was
/// not opened and a change in read-only mode; FileError as stated.
class IniFile {
  public:
    enum class Mode { read_only, read_write };

    IniFile() = default;

    /// Loads the file. A missing one is created empty in read-write mode; in read-only mode it
    /// raises FileError, as does a file that cannot be read or is larger than 16 MiB. On failure
    /// the object is not open.
    void open(const std::filesystem::path& file, Mode mode);
    bool is_open() const { return opened_; }
    const std::filesystem::path& file_name() const { return file_; }

    /// The value text of a key (surrounding blanks removed); nothing when absent.
    std::optional<std::string> find(std::string_view section, std::string_view key) const;
    bool has_section(std::string_view section) const;
    /// The value text, or the default when absent.
    std::string get(std::string_view section, std::string_view key,
                    std::string_view default_text) const;

    /// Sets a value: in place when the key exists, else at the end of its section (before trailing
    /// blank lines), else in a new section at the end. Raises AlgoError "Algorithm error!" for a
    /// name or value that such a line cannot give back: with a line end in it, a key with "=" or a
    /// section with "]", say.
    void set(std::string_view section, std::string_view key, std::string_view value);

    /// Removes every line, or those of a section: header, keys and comments. Raises AlgoError in
    /// read-only mode.
    void clear();
    void remove_section(std::string_view section);

    /// Writes the lines back, atomically. Raises FileError or AlgoError.
    void save() const;
    void save_as(const std::filesystem::path& file) const;

  private:
    /// What a walk to a key found, as line numbers.
    struct Place {
        std::optional<std::size_t> key;          ///< the key's line
        std::optional<std::size_t> section_end;  ///< past the last used line of the first section
    };
    Place locate(std::string_view section, std::string_view key) const;
    void split_lines(std::string_view bytes);
    void insert(std::size_t position, std::string line);
    void check_names(std::string_view section, std::string_view key) const;
    void check_open() const;
    void check_writable() const;

    std::filesystem::path file_;
    Mode mode_ = Mode::read_only;
    bool opened_ = false;
    std::vector<std::string> lines_;
    /// Of each line, with the blank lines behind it; the last one's may be empty.
    std::vector<std::string> line_ends_;
};

}  // namespace vyn
