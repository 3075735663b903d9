#include "tools/image_list.h"

#include "tools/text_file.h"

#include <cstdint>

namespace qvtool {
namespace {

// Ten million paths of a hundred characters; an endless device ends here.
constexpr std::size_t kMaxListBytes = std::size_t{1} << 30;

}  // namespace

std::vector<std::string> pathsIn(std::string_view list) {
    const bool endedByNul = list.find('\0') != std::string_view::npos;
    const char end = endedByNul ? '\0' : '\n';
    std::vector<std::string> paths;
    while (!list.empty()) {
        std::string_view path = list.substr(0, list.find(end));
        list.remove_prefix(path.size() < list.size() ? path.size() + 1 : path.size());
        if (!endedByNul && !path.empty() && path.back() == '\r') path.remove_suffix(1);
        if (!path.empty()) paths.emplace_back(path);
    }
    return paths;
}

std::vector<std::string> readImageList(const std::string& path) {
    return pathsIn(readTextFile(
        {"--files-from", path, kMaxListBytes, "allowed is a file with the path of one image in each line", true}));
}

std::pair<std::size_t, std::size_t> blockOf(const Shard& shard, std::size_t images) {
    // A list has fewer than 2^30 paths and there are fewer than 2^31 shards.
    const auto end = [&](std::uint64_t number) {
        return static_cast<std::size_t>(number * images / std::uint64_t{shard.count});
    };
    return {end(shard.number - 1), end(shard.number)};
}

}  // namespace qvtool
