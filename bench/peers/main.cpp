// Times the library beside what a user would otherwise reach for, and holds the ratios against their limits.
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/peers/kernels_table.h"
#include "bench/peers/pipelines_table.h"
#include "bench/peers/report.h"
#include "bench/peers/rows.h"
#include "qvstreet/platform/instruction_set.h"

namespace {

using qvbench::MeasuredRow;
using qvbench::MeasuredScene;
using qvbench::Row;
using qvbench::Task;
using qvbench::Timing;

constexpr int kUsualRounds = 41;
/// A search by line segments takes up to a second, and what is compared there differs by far more than by chance.
constexpr int kMostSearchRounds = 15;

const char* const kUsage =
    "usage: qvstreet_peers [option...]\n"
    "  --list            the names of all rows\n"
    "  --only TEXT       only the rows whose name contains TEXT; may be given more than once\n"
    "  --ratio NAME      one row; the last line is its ratio of medians and nothing else; not for pipelines_...\n"
    "  --markdown        the tables as they stand in the pages of the project\n"
    "  --rounds N        rounds, 41 unless given; whole searches get 15 at most\n"
    "  --kernels SET     plain, baseline, v3 or v4 instead of the best that this processor can run\n"
    "  --repeat NAME N   nothing but our side of that row, N times, for a profiler\n";

struct Options {
    bool list = false;
    bool markdown = false;
    std::vector<std::string> only;
    std::string ratio;
    std::string repeat;
    long repeats = 0;
    int rounds = kUsualRounds;
    std::string kernels;
};

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

long positiveNumber(const std::string& text) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 1 || value > 1000000)
        throw UsageError("'" + text + "' is no number from 1 to 1000000");
    return value;
}

Options optionsOf(const std::vector<std::string>& arguments) {
    Options options;
    std::size_t i = 0;
    const auto value = [&] {
        if (++i >= arguments.size()) throw UsageError("'" + arguments[i - 1] + "' wants a value");
        return arguments[i];
    };
    for (; i < arguments.size(); ++i) {
        const std::string& option = arguments[i];
        if (option == "--list")
            options.list = true;
        else if (option == "--markdown")
            options.markdown = true;
        else if (option == "--only")
            options.only.push_back(value());
        else if (option == "--ratio")
            options.ratio = value();
        else if (option == "--rounds")
            options.rounds = static_cast<int>(positiveNumber(value()));
        else if (option == "--kernels")
            options.kernels = value();
        else if (option == "--repeat") {
            options.repeat = value();
            options.repeats = positiveNumber(value());
        } else
            throw UsageError("no option '" + option + "'");
    }
    return options;
}

void chooseKernels(const std::string& name) {
    if (name.empty()) return;
    for (int i = 0; i < kInstructionSets; ++i) {
        const auto set = static_cast<qv_InstructionSet>(i);
        if (name != qf_instructionSetName(set)) continue;
        if (set > qf_bestInstructionSet())
            throw UsageError("this build or this processor has no kernels '" + name + "'");
        return qf_useInstructionSet(set);
    }
    throw UsageError("no kernels '" + name + "'");
}

const Row& rowNamed(const std::vector<Row>& rows, const std::string& name) {
    for (const Row& row : rows)
        if (row.name == name) return row;
    throw UsageError("no row '" + name + "'; see --list");
}

bool isWanted(const Options& options, const std::string& name) {
    if (!options.ratio.empty()) return name == options.ratio;
    return options.only.empty() || std::any_of(options.only.begin(), options.only.end(), [&](const std::string& part) {
               return name.find(part) != std::string::npos;
           });
}

std::vector<Row> chosenRows(const Options& options) {
    std::vector<Row> chosen;
    for (const Row& row : qvbench::allRows())
        if (isWanted(options, row.name)) chosen.push_back(row);
    return chosen;
}

std::vector<MeasuredRow> measureRows(const std::vector<Row>& rows, int rounds) {
    const std::map<std::string, Task> tasks = qvbench::allTasks();
    std::set<std::string> names;
    std::vector<Row> possible;
    for (const Row& row : rows) {
        if (tasks.count(row.peer) == 0) {
            std::cerr << row.name << ": left out, this build has nothing to put beside it\n";
            continue;
        }
        possible.push_back(row);
        names.insert(row.ours.begin(), row.ours.end());
        names.insert(row.peer);
    }
    std::vector<Task> timed;
    for (const std::string& name : names) timed.push_back(tasks.at(name));
    const std::vector<Timing> timings = qvbench::measureInterleaved(timed, rounds);
    std::map<std::string, Timing> byName;
    for (std::size_t i = 0; i < timed.size(); ++i) byName[timed[i].name] = timings[i];

    std::vector<MeasuredRow> measured;
    for (const Row& row : possible) measured.push_back(qvbench::measuredRow(row, byName));
    return measured;
}

std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown processor";
}

qvbench::Surroundings surroundingsOf(int rounds) {
    qvbench::Surroundings surroundings;
    const std::time_t now = std::time(nullptr);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%d", std::gmtime(&now));
    surroundings.date = date;
    surroundings.processor = processorName();
#if defined(__clang__)
    surroundings.compiler = "clang " __clang_version__;
#elif defined(__GNUC__)
    surroundings.compiler = "g++ " __VERSION__;
#endif
    surroundings.kernels = qf_instructionSetName(qf_instructionSet());
#if QV_BENCH_OPENCV
    surroundings.peers = "OpenCV " + qvbench::openCvVersion();
#else
    surroundings.peers = "no OpenCV";
#endif
#if QV_BENCH_FFTW
    surroundings.peers += " and " + qvbench::fftwVersion();
#else
    surroundings.peers += " and no FFTW";
#endif
    surroundings.rounds = rounds;
    return surroundings;
}

int searchRounds(const Options& options) { return std::min(options.rounds, kMostSearchRounds); }

void print(const Options& options, const std::vector<MeasuredRow>& measured, const std::vector<MeasuredScene>& scenes) {
    const qvbench::Surroundings surroundings = surroundingsOf(options.rounds);
    const std::string searchSurroundings = qvbench::surroundingsText(surroundingsOf(searchRounds(options)));
    if (options.markdown) {
        if (!measured.empty()) qvbench::printMarkdown(std::cout, surroundings, measured);
        qvbench::printPipelinesMarkdown(std::cout, searchSurroundings + ".", scenes);
        if (options.only.empty() && options.ratio.empty()) qvbench::printKernelsTable(std::cout, options.rounds);
        return;
    }
    if (!measured.empty()) qvbench::printTable(std::cout, surroundings, measured);
    if (!scenes.empty()) {
        std::cout << (measured.empty() ? "" : "\n") << searchSurroundings << "\n\n";
        qvbench::printPipelines(std::cout, scenes);
    }
    if (!options.ratio.empty())
        std::cout << std::fixed << std::setprecision(6) << '\n' << measured.front().ratioOfMedians << '\n';
}

int run(const std::vector<std::string>& arguments) {
    const Options options = optionsOf(arguments);
    chooseKernels(options.kernels);
    if (options.list) {
        for (const Row& row : qvbench::allRows()) std::cout << row.name << '\n';
        for (const std::string& name : qvbench::pipelineNames()) std::cout << name << '\n';
        return 0;
    }
    if (!options.repeat.empty()) {
        const std::vector<Row> rows = qvbench::allRows();
        const std::function<void()> ours =
            qvbench::allTasks().at(rowNamed(rows, options.repeat).ours.front()).prepare();
        for (long i = 0; i < options.repeats; ++i) ours();
        return 0;
    }
    if (!options.ratio.empty()) rowNamed(qvbench::allRows(), options.ratio);
    const std::vector<Row> rows = chosenRows(options);
    const std::vector<MeasuredRow> measured = measureRows(rows, options.rounds);
    const std::vector<MeasuredScene> scenes = qvbench::measurePipelines(
        [&](const std::string& name) { return isWanted(options, name); }, searchRounds(options));
    if (rows.empty() && scenes.empty()) throw UsageError("no row of such a name; see --list");
    if (measured.empty() && scenes.empty()) return 3;
    print(options, measured, scenes);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const UsageError& error) {
        std::cerr << "qvstreet_peers: " << error.what() << '\n' << kUsage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "qvstreet_peers: " << error.what() << '\n';
        return 1;
    }
}
