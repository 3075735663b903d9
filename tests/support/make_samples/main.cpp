#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/support/make_samples/png_file.h"
#include "tests/support/make_samples/sample_scenes.h"
#include "tests/support/make_samples/truth_json.h"
#include "tests/support/wafer_render.h"

// make_samples FOLDER          writes the sample pictures and their truth there
// make_samples --check FOLDER  compares those that are there, pel by pel, and fails where one differs

namespace {

std::string textOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path + ": cannot be read");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void writeText(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush()) throw std::runtime_error(path + ": cannot be written");
}

void write(const qvtest::Sample& sample, const std::string& stem) {
    qvtest::writePng(stem + ".png", qvtest::renderScene(sample.scene));
    writeText(stem + ".json", qvtest::truthJson(sample));
    std::cout << stem << ".png\n";
}

bool check(const qvtest::Sample& sample, const std::string& stem) {
    const qvtest::GreyImage stored = qvtest::readPng(stem + ".png");
    const qvtest::GreyImage made = qvtest::renderScene(sample.scene);
    const bool samePels = stored.width == made.width && stored.height == made.height && stored.pels == made.pels;
    const bool sameTruth = textOf(stem + ".json") == qvtest::truthJson(sample);
    if (!samePels) std::cerr << stem << ".png differs from what the generator makes\n";
    if (!sameTruth) std::cerr << stem << ".json differs from what the generator makes\n";
    return samePels && sameTruth;
}

}  // namespace

int main(int argc, char** argv) {
    const bool checking = argc == 3 && std::string(argv[1]) == "--check";
    if (!checking && argc != 2) {
        std::cerr << "make_samples [--check] FOLDER\n";
        return 2;
    }
    const std::string folder = argv[argc - 1];
    try {
        bool good = true;
        for (const qvtest::Sample& sample : qvtest::sampleScenes()) {
            const std::string stem = folder + "/" + sample.name;
            if (!checking) {
                write(sample, stem);
            } else if (!check(sample, stem)) {
                good = false;
            }
        }
        return good ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
