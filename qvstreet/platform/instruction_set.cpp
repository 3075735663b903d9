#include "qvstreet/platform/instruction_set.h"

#include <algorithm>
#include <atomic>

namespace {

constexpr std::int32_t kNotChosen = -1;

// Two threads that come first at the same time choose the same one.
std::atomic<std::int32_t> chosen{kNotChosen};

}  // namespace

qv_InstructionSet qf_bestInstructionSet() {
#if QV_HAS_X86_KERNELS
    __builtin_cpu_init();
    const bool hasV3 = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0 &&
                       __builtin_cpu_supports("bmi") != 0 && __builtin_cpu_supports("bmi2") != 0;
    if (!hasV3) return qv_InstructionSet::eBaseline;
    const bool hasV4 = __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
                       __builtin_cpu_supports("avx512cd") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
                       __builtin_cpu_supports("avx512vl") != 0;
    return hasV4 ? qv_InstructionSet::eV4 : qv_InstructionSet::eV3;
#else
    return qv_InstructionSet::eBaseline;
#endif
}

qv_InstructionSet qf_instructionSet() {
    std::int32_t set = chosen.load(std::memory_order_relaxed);
    if (set == kNotChosen) {
        set = static_cast<std::int32_t>(qf_bestInstructionSet());
        chosen.store(set, std::memory_order_relaxed);
    }
    return static_cast<qv_InstructionSet>(set);
}

void qf_useInstructionSet(qv_InstructionSet set) {
    chosen.store(static_cast<std::int32_t>(std::min(set, qf_bestInstructionSet())), std::memory_order_relaxed);
}

const char* qf_instructionSetName(qv_InstructionSet set) {
    switch (set) {
        case qv_InstructionSet::ePlain:
            return "plain";
        case qv_InstructionSet::eBaseline:
            return "baseline";
        case qv_InstructionSet::eV3:
            return "v3";
        case qv_InstructionSet::eV4:
            return "v4";
    }
    return "";
}
