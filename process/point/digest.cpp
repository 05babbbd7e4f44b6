#include "process/point/digest.h"

#include <array>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include <openssl/evp.h>

#include "core/errors.h"

namespace vyn {

namespace fs = std::filesystem;

std::string file_sha256(const fs::path& file) {
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> state(EVP_MD_CTX_new(),
                                                                   EVP_MD_CTX_free);
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw FileError("Can't open file for reading!", file.string());
    if (!state || EVP_DigestInit_ex(state.get(), EVP_sha256(), nullptr) != 1)
        throw AlgoError("Algorithm error!", "SHA-256 is not available");
    std::vector<char> buffer(std::size_t{1} << 20);
    while (stream.read(buffer.data(), static_cast<std::streamsize>(buffer.size())),
           stream.gcount() > 0)
        EVP_DigestUpdate(state.get(), buffer.data(), static_cast<std::size_t>(stream.gcount()));
    if (stream.bad())
        throw FileError("Can't open file for reading!", file.string() + ": reading failed");
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    EVP_DigestFinal_ex(state.get(), digest.data(), &length);
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        constexpr const char* digits = "0123456789abcdef";
        text += digits[digest[i] >> 4];
        text += digits[digest[i] & 15];
    }
    return text;
}

std::string known_file_sha256(const fs::path& file) {
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

}  // namespace vyn
