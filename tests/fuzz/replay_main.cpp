// Runs a fuzz target on kept inputs, without libFuzzer: `replay_png corpus/png` runs the files of a folder in the order
// of their names, `replay_png file...` those files. The first that fails is named.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> inputsOf(const std::vector<fs::path>& arguments) {
    std::vector<fs::path> inputs;
    for (const fs::path& argument : arguments) {
        if (!fs::is_directory(argument)) {
            inputs.push_back(argument);
            continue;
        }
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argument)) {
            if (entry.is_regular_file()) inputs.push_back(entry.path());
        }
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

}  // namespace

int main(int count, char** arguments) {
    const std::vector<fs::path> inputs = inputsOf({arguments + std::min(count, 1), arguments + count});
    if (inputs.empty()) {
        std::fprintf(stderr, "no inputs\n");
        return 1;
    }
    for (const fs::path& input : inputs) {
        std::ifstream file(input, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        // Said before it runs: a crash leaves no other trace.
        std::fprintf(stderr, "%s\n", input.c_str());
        try {
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        } catch (const std::exception& error) {
            std::printf("%s: %s\n", input.c_str(), error.what());
            return 1;
        }
    }
    std::printf("%zu inputs: ok\n", inputs.size());
    return 0;
}
