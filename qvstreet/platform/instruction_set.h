// Which of the compiled versions of the kernels runs.
//
// A kernel is a long plain loop over pels, samples or bins that costs most of a stage's time. Its source file is named
// `..._kernels.cpp` and is compiled once for each instruction set, each time in a namespace of its own, and every version
// gives the same bits. The best one that the processor can run is chosen at the first use; nothing outside the process
// has a say in it.
//
//     plain      no vectors at all, correct on any architecture
//     baseline   what the target architecture always has: on x86-64 vectors of 16 bytes
//     v3         x86-64-v3, vectors of 32 bytes
//     v4         x86-64-v4, vectors of 64 bytes
#ifndef QVSTREET_PLATFORM_INSTRUCTION_SET_H
#define QVSTREET_PLATFORM_INSTRUCTION_SET_H

#include <cstdint>

enum class qv_InstructionSet : std::int32_t { ePlain = 0, eBaseline = 1, eV3 = 2, eV4 = 3 };

constexpr int kInstructionSets = 4;

/// The last one that this build contains and this processor and operating system can run.
qv_InstructionSet qf_bestInstructionSet();

/// The one in use: the best one, unless a test chose another.
qv_InstructionSet qf_instructionSet();

/// For tests and benchmarks: uses `set` from now on in the whole process, or the best one where `set` is above it.
void qf_useInstructionSet(qv_InstructionSet set);

/// "plain", "baseline", "v3" or "v4".
const char* qf_instructionSetName(qv_InstructionSet set);

// A group of kernels is one constant table of function pointers of some type, of one name in the namespaces of all
// versions. The header of the group declares it with QV_DECLARE_KERNELS(Type, name) and the stage asks for
// QV_CHOSEN_KERNELS(name). The source file puts everything in `namespace QV_KERNELS`; it may use nothing but what the
// header declares and functions of that namespace, for an inline function of a shared header, compiled with larger
// vectors there, could end up in every caller.
#if defined(__x86_64__) || defined(_M_X64)
#define QV_HAS_X86_KERNELS 1
#else
#define QV_HAS_X86_KERNELS 0
#endif

#if QV_HAS_X86_KERNELS
#define QV_DECLARE_KERNELS(Type, name) \
    namespace qv_kernels_plain {       \
    extern const Type name;            \
    }                                  \
    namespace qv_kernels_baseline {    \
    extern const Type name;            \
    }                                  \
    namespace qv_kernels_v3 {          \
    extern const Type name;            \
    }                                  \
    namespace qv_kernels_v4 {          \
    extern const Type name;            \
    }
#define QV_KERNELS_OF(set, name)                                         \
    ((set) == qv_InstructionSet::eV4         ? qv_kernels_v4::name       \
     : (set) == qv_InstructionSet::eV3       ? qv_kernels_v3::name       \
     : (set) == qv_InstructionSet::eBaseline ? qv_kernels_baseline::name \
                                             : qv_kernels_plain::name)
#else
#define QV_DECLARE_KERNELS(Type, name) \
    namespace qv_kernels_plain {       \
    extern const Type name;            \
    }                                  \
    namespace qv_kernels_baseline {    \
    extern const Type name;            \
    }
#define QV_KERNELS_OF(set, name) \
    ((set) == qv_InstructionSet::eBaseline ? qv_kernels_baseline::name : qv_kernels_plain::name)
#endif

#define QV_CHOSEN_KERNELS(name) QV_KERNELS_OF(qf_instructionSet(), name)

#endif
