#include <regex>

#include "CommandTest.h"

namespace {

using Progress = CommandTest;

TEST_F(Progress, runsOnceTo100AndNeverBackInCaptionsOfTheHost) {
  const std::regex pattern(
      "( *[0-9]+) %  (Looking for a start|(Registering|Deforming), (level|step) [0-9] of [0-9]|"
      "Resampling|Writing|Done)(, about [a-z0-9 ]+ left)?");
  for (const std::string command :
       {"affine --dof=12 --matrix=@out.txt",
        "affine --dof=9 --levels=2 --optimizer=aggressive --matrix=@out.txt",
        "affine --dof=3 --levels=1 --optimizer=best-neighbour --matrix=@out.txt",
        "affine --stages 3 6 --levels=1 --optimizer=best-direction --matrix=@out.txt",
        "nonaffine --metric=cr --stages=2 --bricks 3 3 3 --transform=@out.json",
        "elastic --no-mask --transform=@out.json --subtraction=@out-s.nii"}) {
    (void)outputOf(command + " -r @r.nii -m @m.nii --picture @out.png -o @out.nii");
    std::istringstream lines(contentOf(folder.file("stderr")));
    int count = 0, last = 0;
    for (std::string line; std::getline(lines, line); ++count) {
      std::smatch match;
      ASSERT_TRUE(std::regex_match(line, match, pattern)) << line;
      EXPECT_GE(std::stoi(match[1]), last);
      last = std::stoi(match[1]);
    }
    EXPECT_GT(count, 3);
    EXPECT_EQ(last, 100);
  }
}

}  // namespace
