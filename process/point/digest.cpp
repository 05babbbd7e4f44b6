#include "process/point/digest.h"

#include <array>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include <openssl/evp.h>

#include "core/errors.h"
#include "core/file_names.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

class Sha256 {
  public:
    Sha256() {
        if (!state_ || EVP_DigestInit_ex(state_.get(), EVP_sha256(), nullptr) != 1)
            throw AlgoError("Algorithm error!", "SHA-256 is not available");
    }
    void add(std::string_view bytes) { EVP_DigestUpdate(state_.get(), bytes.data(), bytes.size()); }
    std::string text() {
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
        unsigned int length = 0;
        EVP_DigestFinal_ex(state_.get(), digest.data(), &length);
        std::string text;
        for (unsigned int i = 0; i < length; ++i) {
            constexpr const char* digits = "0123456789abcdef";
            text += digits[digest[i] >> 4];
            text += digits[digest[i] & 15];
        }
        return text;
    }

  private:
    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> state_{EVP_MD_CTX_new(), EVP_MD_CTX_free};
};

std::string known_sha256_of_one(const fs::path& file) {
    struct Known {
        std::uintmax_t size = 0;
        fs::file_time_type time;
        std::string digest;
    };
    static std::mutex mutex;
    static std::map<fs::path, Known> files;

    std::error_code none;
    Known now{fs::file_size(file, none), fs::last_write_time(file, none), {}};
    {
        const std::lock_guard lock(mutex);
        const auto found = files.find(file);
        if (!none && found != files.end() && found->second.size == now.size &&
            found->second.time == now.time)
            return found->second.digest;
    }
    now.digest = file_sha256(file);
    const std::lock_guard lock(mutex);
    files[file] = now;
    return now.digest;
}

}  // namespace

std::string file_sha256(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw FileError("Can't open file for reading!", file.string());
    Sha256 digest;
    std::vector<char> buffer(std::size_t{1} << 20);
    while (stream.read(buffer.data(), static_cast<std::streamsize>(buffer.size())),
           stream.gcount() > 0)
        digest.add({buffer.data(), static_cast<std::size_t>(stream.gcount())});
    if (stream.bad())
        throw FileError("Can't open file for reading!", file.string() + ": reading failed");
    return digest.text();
}

std::string known_file_sha256(const fs::path& name) {
    const std::vector<fs::path> files = files_named(name);
    if (files.size() < 2) return known_sha256_of_one(files.empty() ? name : files.front());
    Sha256 all;
    for (const fs::path& file : files)
        all.add(known_sha256_of_one(file) + "  " + file.filename().string() + "\n");
    return all.text();
}

}  // namespace vyn
