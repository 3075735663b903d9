#include "bench/peers/rows.h"

#include "bench/bench_images.h"
#include "bench/peers/task_settings.h"
#include "bench/strip_images.h"

namespace qvbench {

namespace {

struct SideLimits {
    long side;
    double gate;
    double aim;
};

// The part that does not grow with the image weighs more in a small one.
constexpr SideLimits kSideLimits[] = {{512, 2.0, 1.4}, {1024, 1.0, 0.70}, {2048, 0.75, 0.55}, {4096, 0.70, 0.50}};

void addWholeRuns(std::vector<Row>& rows) {
    for (const std::string mode : {"coarse", "edge"})
        for (const SideLimits& limits : kSideLimits) {
            const std::string side = std::to_string(limits.side);
            rows.push_back({RowKind::wholeRun,
                            "setImage_find_" + (mode == "edge" ? "edge_" + side : side),
                            "setImage + find, " + mode + ", " + side,
                            {"setImage_find/" + mode + "/" + side},
                            "one warpAffine of the image",
                            "opencv/warp/" + side,
                            limits.gate,
                            limits.aim});
        }
}

void addStages(std::vector<Row>& rows) {
    struct Stage {
        const char* name;
        const char* quantity;
        const char* ours;
        const char* against;
        const char* peer;
        double gate;
        double aim;
    };
    constexpr Stage kStages[] = {
        {"projections_1024", "both projections, 1024", "projections/1024", "two warps, row sums and row square sums",
         "opencv/projections/1024", 0.25, 0.15},
        {"gauss_2048", "Gaussian reduction, 2048 to 256", "gauss/2048", "GaussianBlur and subsampling",
         "opencv/gauss/2048", 0.15, 0.07},
        {"forward_256", "forward transform of 256 x 256 pels", "forward/256", "FFTW r2c, double", "fftw/forward/256",
         2.0, 1.3},
        {"polar_256", "polar sum, 540 x 31 samples", "polar/256", "remap and reduce", "opencv/polar/256", 0.5, 0.25},
        {"find_9_1024", "find, coarse, 9 crossings, 1024", "find/coarse/1024", "setImage", "setImage/coarse/1024", 0.05,
         0.01},
        {"find_9_edge_1024", "find, edge, 9 crossings, 1024", "find/edge/1024", "setImage", "setImage/edge/1024", 0.05,
         0.01},
        {"find_221_2048", "find, coarse, 221 crossings, 2048", "find_dense/coarse/2048", "setImage",
         "setImage_dense/coarse/2048", 0.20, 0.05},
        {"find_221_edge_2048", "find, edge, the same image", "find_dense/edge/2048", "setImage",
         "setImage_dense/edge/2048", 0.20, 0.05},
        {"measure_9_2048", "measurement of 9 crossings, 2048", "measure/2048", "setImage, coarse",
         "setImage/coarse/2048", 0.20, 0.20},
        {"measure_9_4096", "measurement of 9 crossings, 4096", "measure/4096", "setImage, coarse",
         "setImage/coarse/4096", 0.20, 0.10},
        {"measure_221_2048", "measurement of 221 crossings, 2048", "measure_dense/2048", "setImage, coarse",
         "setImage_dense/coarse/2048", 2.0, 1.0},
    };
    for (const Stage& stage : kStages)
        rows.push_back({RowKind::stage,
                        stage.name,
                        stage.quantity,
                        {stage.ours},
                        stage.against,
                        stage.peer,
                        stage.gate,
                        stage.aim});
    // The slower one of the two street directions counts.
    for (const std::string mode : {"coarse", "edge"})
        rows.push_back({RowKind::stage,
                        mode == "edge" ? "gabor_inverse_edge_256" : "gabor_inverse_256",
                        "filter, inverse transform and squared magnitude, " + mode + ", 256 x 256",
                        {"gabor_inverse/" + mode + "/0", "gabor_inverse/" + mode + "/1"},
                        "FFTW c2c, double, whole, nothing else",
                        "fftw/inverse/256",
                        1.0,
                        0.5});
}

void addSlidingWindows(std::vector<Row>& rows) {
    for (const StripSize& size : kStripSizes) {
        const std::string name = stripName(size);
        rows.push_back({RowKind::stage,
                        "sliding_mode_" + name,
                        "sliding mode, " + name,
                        {"sliding_mode/" + name},
                        "textbook running histogram",
                        "textbook/sliding_mode/" + name,
                        0.2,
                        0.10});
    }
    for (const StripSize& size : kStripSizes) {
        const std::string name = stripName(size);
        const double windows = static_cast<double>((size.width - kWindowWidth + 1) * (size.height - kWindowHeight + 1));
        rows.push_back({RowKind::stage,
                        "sliding_deviation_" + name,
                        "sliding deviation, " + name + ", per value",
                        {"sliding_deviation/" + name},
                        "boxFilter, sqrBoxFilter and sqrt, per value",
                        "opencv/sliding_deviation/" + name,
                        1.2,
                        0.6,
                        windows,
                        static_cast<double>(size.width * size.height)});
    }
}

std::vector<std::string> tiltedTasks(const std::string& prefix, double most) {
    std::vector<std::string> names;
    for (const double tilt : kTilts)
        if (tilt <= most) names.push_back(prefix + tiltName(tilt));
    return names;
}

void addGrowth(std::vector<Row>& rows) {
    const auto add = [&](const std::string& name, const std::string& quantity, const std::vector<std::string>& ours,
                         const std::string& against, const std::string& peer, double limit) {
        rows.push_back({RowKind::growth, name, quantity, ours, against, peer, limit, limit});
    };
    for (const long side : {1024L, 2048L}) {
        const std::string small = std::to_string(side);
        const std::string large = std::to_string(2 * side);
        add("growth_" + small + "_" + large, "setImage + find, coarse, " + large, {"setImage_find/coarse/" + large},
            "the same at " + small, "setImage_find/coarse/" + small, 4.0);
    }
    const std::string whole = "setImage_find_tilted/";
    const std::string projections = "projections_tilted/";
    const std::string level = "the same at 0 degrees";
    add("angle_3.7", "setImage + find, coarse, 1024, worst angle up to 3.7 degrees", tiltedTasks(whole, kGentleTilt),
        level, whole + tiltName(0.0), 1.25);
    add("angle_any", "setImage + find, coarse, 1024, worst angle", tiltedTasks(whole, 45.0), level,
        whole + tiltName(0.0), 5.0);
    add("projection_angle_3.7", "both projections, 1024, worst angle up to 3.7 degrees",
        tiltedTasks(projections, kGentleTilt), level, projections + tiltName(0.0), 1.25);
    add("projection_angle_any", "both projections, 1024, worst angle", tiltedTasks(projections, 45.0), level,
        projections + tiltName(0.0), 5.0);
    add("dense_2048", "setImage + find, coarse, 221 crossings, 2048", {"setImage_find_dense/coarse/2048"},
        "the same with 9 crossings", "setImage_find/coarse/2048", 1.10);
    add("noisy_1024", "setImage + find, coarse, noisy, 1024", {"setImage_find_noisy/coarse/1024"},
        "the same with little noise", "setImage_find/coarse/1024", 1.10);
}

}  // namespace

std::map<std::string, Task> allTasks() {
    std::vector<Task> tasks;
    addOwnTasks(tasks);
    addTextbookTasks(tasks);
#if QV_BENCH_OPENCV
    addOpenCvTasks(tasks);
#endif
#if QV_BENCH_FFTW
    addFftwTasks(tasks);
#endif
    std::map<std::string, Task> byName;
    for (const Task& task : tasks) byName[task.name] = task;
    return byName;
}

std::vector<Row> allRows() {
    std::vector<Row> rows;
    addWholeRuns(rows);
    addStages(rows);
    addSlidingWindows(rows);
    addGrowth(rows);
    return rows;
}

}  // namespace qvbench
