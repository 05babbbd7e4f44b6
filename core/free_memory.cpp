#include "core/free_memory.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <optional>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

namespace vyn {

namespace {

constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

std::optional<std::uint64_t> number_in(const char* file) {
    std::ifstream stream(file);
    std::uint64_t number = 0;
    return stream >> number ? std::optional(number) : std::nullopt;
}

std::uint64_t available_to_system() {
    std::ifstream stream("/proc/meminfo");
    std::string name;
    std::uint64_t kibibytes = 0;
    while (stream >> name >> kibibytes) {
        if (name == "MemAvailable:") return kibibytes * 1024;
        stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return unlimited;
}

/// Of a container's or a batch system's group.
std::uint64_t left_to_group() {
    const auto most = number_in("/sys/fs/cgroup/memory.max");
    const auto used = number_in("/sys/fs/cgroup/memory.current");
    if (!most || !used) return unlimited;
    return *most > *used ? *most - *used : 0;
}

std::uint64_t left_to_process() {
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return unlimited;
    const auto pages = number_in("/proc/self/statm");
    const std::uint64_t used =
        pages.value_or(0) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return limit.rlim_cur > used ? limit.rlim_cur - used : 0;
}

}  // namespace

std::uint64_t free_memory() {
    return std::min({available_to_system(), left_to_group(), left_to_process()});
}

}  // namespace vyn
