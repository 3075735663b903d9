#include "tools/output_file.h"
#include "tools/run.h"

int main(int argc, char** argv) {
    qvtool::prepareProcessForOutput();
    return qvtool::runCommand(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
