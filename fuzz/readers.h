#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace vyn::fuzz {

/// What would hide everything behind it from a fuzzer, were it not made right after a mutation.
enum class Checksums { none, png, zip };

/// A reader of files, for the fuzzer.
struct Reader {
    std::string name;
    std::string extension;
    /// Reads the file, raises vyn::GenericError when it refuses it, and aborts when what it read
    /// breaks what the reader promises.
    std::function<void(const std::filesystem::path&)> read;
    Checksums checksums = Checksums::none;
    std::vector<std::string> words = {};  ///< that mean something in such files
};

/// All of them; the plug-ins must have been loaded.
std::vector<Reader> all_readers();

/// Writes files to start from into `folder`/NAME, and the words of each reader as a dictionary
/// `folder`/NAME.dict.
void write_seeds(const std::vector<Reader>& readers, const std::filesystem::path& folder);

/// Makes the checksums of a mutated file right again, as far as it can be walked through.
void repair_checksums(Checksums kind, std::uint8_t* bytes, std::size_t size);

}  // namespace vyn::fuzz
