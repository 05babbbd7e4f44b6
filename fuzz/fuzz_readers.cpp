// Every reader of the program under libFuzzer: `vyn_fuzz --reader=NAME [CORPUS...]` mutates files
// for one of them, `vyn_fuzz --seeds=FOLDER` writes files to start from. A reader may refuse a
// file, with an error of the program's own; anything else is a fault.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <memory>
#include <optional>
#include <string_view>

#include <sys/resource.h>
#include <unistd.h>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/temporary_files.h"
#include "fuzz/readers.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size, std::size_t most);

namespace {

namespace fs = std::filesystem;
using namespace vyn;
using namespace vyn::fuzz;

/// The reader asked for, and where its input is put.
struct Target {
    Reader reader;
    ScratchFolder folder{temporary_folder()};
    fs::path file = folder / ("input." + reader.extension);
};
std::unique_ptr<Target> target;

[[noreturn]] void stop(const char* why, const std::string& what) {
    std::fprintf(stderr, "%s %s\n", why, what.c_str());
    std::exit(2);
}

/// What readers may take from here on: they ask before they take much, so none gets near it.
void limit_memory() {
    constexpr rlim_t most = rlim_t{2} << 30;
    std::ifstream statm("/proc/self/statm");
    rlim_t pages = 0;
    statm >> pages;
    rlimit limit{};
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + most;
    setrlimit(RLIMIT_AS, &limit);
}

std::optional<std::string> option(std::string_view argument, std::string_view name) {
    if (!argument.starts_with(name)) return std::nullopt;
    return std::string(argument.substr(name.size()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(const int* count, char*** arguments) {
    register_plugins("*.2dio");
    register_plugins("*.3dio");
    const std::vector<Reader> readers = all_readers();
    for (int i = 1; i < *count; ++i) {
        const std::string_view argument = (*arguments)[i];
        if (const auto folder = option(argument, "--seeds=")) {
            write_seeds(readers, *folder);
            std::exit(0);
        }
        if (const auto name = option(argument, "--reader="))
            for (const Reader& reader : readers)
                if (reader.name == *name) target.reset(new Target{reader});
    }
    if (!target) {
        std::string names;
        for (const Reader& reader : readers)
            names += " " + reader.name;
        stop("--reader=NAME, one of", names);
    }
    limit_memory();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    std::ofstream(target->file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    try {
        target->reader.read(target->file);
    } catch (const GenericError& refused) {
        if (std::string_view(refused.what()).empty()) std::abort();
    }
    get_log_mgr().take_new_lines();
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t size,
                                               std::size_t most, unsigned) {
    const std::size_t mutated = LLVMFuzzerMutate(bytes, size, most);
    repair_checksums(target->reader.checksums, bytes, mutated);
    return mutated;
}
