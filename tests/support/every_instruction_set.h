/// @file
/// Runs a check on every version of the kernels that this machine can run.
#ifndef QVSTREET_TESTS_SUPPORT_EVERY_INSTRUCTION_SET_H
#define QVSTREET_TESTS_SUPPORT_EVERY_INSTRUCTION_SET_H

#include <gtest/gtest.h>

#include <string>

#include "qvstreet/platform/instruction_set.h"

namespace qvtest {

/// Calls `check` with the name of each version in turn while that one is in use, then uses the former one again.
template <typename Check>
void onEveryInstructionSet(const Check& check) {
    const qv_InstructionSet before = qf_instructionSet();
    for (int number = 0; number <= static_cast<int>(qf_bestInstructionSet()); ++number) {
        const auto set = static_cast<qv_InstructionSet>(number);
        qf_useInstructionSet(set);
        check(std::string(qf_instructionSetName(set)));
    }
    qf_useInstructionSet(before);
}

/// The versions that this machine can run, plain first, for a loop of `QV_KERNELS_OF`.
template <typename Check>
void forEachInstructionSet(const Check& check) {
    for (int number = 0; number <= static_cast<int>(qf_bestInstructionSet()); ++number) {
        const auto set = static_cast<qv_InstructionSet>(number);
        SCOPED_TRACE(qf_instructionSetName(set));
        check(set);
    }
}

}  // namespace qvtest

#endif
