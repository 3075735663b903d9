// Which version of the kernels runs.
#include "qvstreet/platform/instruction_set.h"

#include <gtest/gtest.h>

#include <string>

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
