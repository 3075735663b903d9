// Which version of the kernels runs.
#include "qvstreet/platform/instruction_set.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace {

/// Gives the process its former choice back.
class Choice {
 public:
    ~Choice() { qf_useInstructionSet(before_); }

 private:
    qv_InstructionSet before_ = qf_instructionSet();
};

}  // namespace

TEST(InstructionSet, TheBestOneIsInUseUntilATestChooses) { EXPECT_EQ(qf_instructionSet(), qf_bestInstructionSet()); }

TEST(InstructionSet, EveryMachineHasAtLeastTheBaseline) {
    EXPECT_GE(qf_bestInstructionSet(), qv_InstructionSet::eBaseline);
}

TEST(InstructionSet, BestOneIsTheHighestWhoseInstructionsTheProcessorAllHas) {
    std::ifstream processors("/proc/cpuinfo");
    std::string line;
    while (std::getline(processors, line) && line.rfind("flags", 0) != 0) {
    }
    if (!processors) GTEST_SKIP() << "nothing tells what the processor can do";
    line += ' ';
    const auto hasAll = [&line](const std::vector<std::string>& names) {
        return std::all_of(names.begin(), names.end(), [&line](const std::string& name) {
            return line.find(' ' + name + ' ') != std::string::npos;
        });
    };
    const bool hasV3 = hasAll({"avx2", "fma", "bmi1", "bmi2"});
    const bool hasV4 = hasV3 && hasAll({"avx512f", "avx512bw", "avx512cd", "avx512dq", "avx512vl"});
    EXPECT_EQ(qf_bestInstructionSet(), hasV4   ? qv_InstructionSet::eV4
                                       : hasV3 ? qv_InstructionSet::eV3
                                               : qv_InstructionSet::eBaseline);
}

TEST(InstructionSet, LowerOnesCanBeChosen) {
    const Choice choice;
    qf_useInstructionSet(qv_InstructionSet::ePlain);
    EXPECT_EQ(qf_instructionSet(), qv_InstructionSet::ePlain);
    qf_useInstructionSet(qv_InstructionSet::eBaseline);
    EXPECT_EQ(qf_instructionSet(), qv_InstructionSet::eBaseline);
}

TEST(InstructionSet, OnesThatTheMachineLacksGiveTheBestOne) {
    const Choice choice;
    qf_useInstructionSet(qv_InstructionSet::eV4);
    EXPECT_EQ(qf_instructionSet(), qf_bestInstructionSet());
}

TEST(InstructionSet, NamesAreThoseOfTheOptionsThatChooseThem) {
    EXPECT_EQ(std::string(qf_instructionSetName(qv_InstructionSet::ePlain)), "plain");
    EXPECT_EQ(std::string(qf_instructionSetName(qv_InstructionSet::eBaseline)), "baseline");
    EXPECT_EQ(std::string(qf_instructionSetName(qv_InstructionSet::eV3)), "v3");
    EXPECT_EQ(std::string(qf_instructionSetName(qv_InstructionSet::eV4)), "v4");
}

TEST(InstructionSet, ValueThatIsNoneHasNoName) {
    EXPECT_EQ(std::string(qf_instructionSetName(static_cast<qv_InstructionSet>(17))), "");
}
