#include "bench/peers/kernels_table.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "bench/peers/report.h"
#include "bench/peers/rows.h"
#include "bench/peers/task_settings.h"
#include "qvstreet/platform/instruction_set.h"

namespace qvbench {

namespace {

std::vector<qv_InstructionSet> usableSets() {
    std::vector<qv_InstructionSet> sets;
    for (int i = 0; i <= static_cast<int>(qf_bestInstructionSet()); ++i)
        sets.push_back(static_cast<qv_InstructionSet>(i));
    return sets;
}

/// The same task with that version of the kernels; choosing it costs nothing beside a run.
Task withKernels(const Task& task, qv_InstructionSet set) {
    return {task.name, [=]() -> std::function<void()> {
                const std::function<void()> run = task.prepare();
                return [=] {
                    qf_useInstructionSet(set);
                    run();
                };
            }};
}

}  // namespace

void printKernelsTable(std::ostream& out, int rounds) {
    const std::map<std::string, Task> all = allTasks();
    const std::vector<qv_InstructionSet> sets = usableSets();
    const bool hasWarp = all.count("opencv/warp/512") != 0;
    std::vector<Task> tasks;
    for (const long side : kSides) {
        for (const qv_InstructionSet set : sets)
            tasks.push_back(withKernels(all.at("setImage_find/coarse/" + std::to_string(side)), set));
        if (hasWarp) tasks.push_back(all.at("opencv/warp/" + std::to_string(side)));
    }
    const qv_InstructionSet before = qf_instructionSet();
    const std::vector<Timing> timings = measureInterleaved(tasks, rounds);
    qf_useInstructionSet(before);

    out << "<!-- bench: kernels table -->\n";
    std::vector<std::string> head = {"image side"};
    for (const qv_InstructionSet set : sets) head.push_back(qf_instructionSetName(set));
    if (hasWarp) {
        head.push_back("one `warpAffine`");
        for (const qv_InstructionSet set : sets) head.push_back(std::string("ratio, ") + qf_instructionSetName(set));
    }
    printMarkdownHead(out, head);
    const std::size_t perSide = sets.size() + (hasWarp ? 1 : 0);
    std::size_t first = 0;
    for (const long side : kSides) {
        std::vector<std::string> cells = {std::to_string(side)};
        for (std::size_t i = 0; i < perSide; ++i) cells.push_back(medianText(timings[first + i]));
        for (std::size_t i = 0; hasWarp && i < sets.size(); ++i)
            cells.push_back(ratioText(timings[first + i].median / timings[first + sets.size()].median));
        printMarkdownLine(out, cells);
        first += perSide;
    }
    out << "<!-- bench: end -->\n";
}

}  // namespace qvbench
