#include "tools/text_file.h"

#include "tools/text.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace qvtool {
namespace {

int keepOpen(std::FILE*) { return 0; }

}  // namespace

void failInput(const char* option, const std::string& path, const std::string& reason) {
    throw InputError(std::string(option) + ": " + inQuotes(path) + ": " + reason);
}

std::string readTextFile(const TextFile& file) {
    using Handle = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
    const bool standardInput = file.dashIsInput && file.path == "-";
    const Handle handle =
        standardInput ? Handle(stdin, keepOpen) : Handle(std::fopen(file.path.c_str(), "rb"), std::fclose);
    if (!handle) failInput(file.option, file.path, std::string("cannot be opened: ") + std::strerror(errno));
    std::string text;
    std::array<char, 65536> part{};
    for (std::size_t got = part.size(); got == part.size();) {
        got = std::fread(part.data(), 1, part.size(), handle.get());
        text.append(part.data(), got);
        if (text.size() > file.maxBytes) {
            failInput(file.option, file.path,
                      "has more than " + std::to_string(file.maxBytes) + " bytes; " + file.allowed);
        }
    }
    if (std::ferror(handle.get()) != 0) {
        failInput(file.option, file.path, std::string("cannot be read: ") + std::strerror(errno));
    }
    return text;
}

}  // namespace qvtool
