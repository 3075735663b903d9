#include <cstdio>

#include "tests/endtoend/scene_runner.h"

// Prints the outcome of every scene in every mode, one line of JSON each, every double with all its digits.

int main() {
    using namespace qvtest;
    for (const SceneRow& row : endToEndScenes()) {
        const GreyImage image = renderScene(row.scene);
        for (const RunMode mode : {RunMode::edge, RunMode::ridge, RunMode::coarse})
            std::printf("%s\n", outcomeJson(row.name, mode, runScene(row, image, mode)).c_str());
    }
    return 0;
}
