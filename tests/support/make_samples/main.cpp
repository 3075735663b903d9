#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/make_samples/png_file.h"
#include "tests/support/make_samples/sample_scenes.h"
#include "tests/support/make_samples/street_strip.h"
#include "tests/support/make_samples/truth_json.h"
#include "tests/support/wafer_render.h"

// make_samples FOLDER          writes the sample pictures and their truth there
// make_samples --check FOLDER  compares those that are there, pel by pel, and fails where one differs

namespace {

/// One picture under examples/images, and the document beside it.
struct Example {
    std::string name;
    qvtest::GreyImage image;
    std::string truth;
};

std::vector<Example> examples() {
    std::vector<Example> all;
    for (const qvtest::Sample& sample : qvtest::sampleScenes()) {
        all.push_back({sample.name, qvtest::renderScene(sample.scene), qvtest::truthJson(sample)});
    }
    all.push_back({"street_strip", qvtest::streetStrip(), qvtest::streetStripTruth()});
    return all;
}

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

void write(const Example& example, const std::string& stem) {
    qvtest::writePng(stem + ".png", example.image);
    writeText(stem + ".json", example.truth);
    std::cout << stem << ".png\n";
}

bool check(const Example& example, const std::string& stem) {
    const qvtest::GreyImage stored = qvtest::readPng(stem + ".png");
    const qvtest::GreyImage& made = example.image;
    const bool samePels = stored.width == made.width && stored.height == made.height && stored.pels == made.pels;
    const bool sameTruth = textOf(stem + ".json") == example.truth;
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
        for (const Example& example : examples()) {
            const std::string stem = folder + "/" + example.name;
            if (!checking) {
                write(example, stem);
            } else if (!check(example, stem)) {
                good = false;
            }
        }
        return good ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
