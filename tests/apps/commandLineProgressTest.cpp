#include <regex>

#include "Child.h"
#include "files/niftiVolume.h"
#include "phantoms/Phantom.h"
#include "saved.h"

namespace {

/// One line of the progress on standard error.
struct Progress {
  int percent;
  std::string caption;
};

std::vector<Progress> progressIn(const std::string& errors) {
  const std::regex pattern("( *[0-9]+) %  ([A-Za-z0-9 ,]+)\n");
  std::vector<Progress> found;
  std::string rest = errors;
  for (std::smatch match; std::regex_search(rest, match, pattern); rest = match.suffix()) {
    EXPECT_EQ(match.prefix(), "");
    found.push_back({std::stoi(match[1]), match[2]});
  }
  EXPECT_EQ(rest, "");
  return found;
}

TEST(Progress, runsOnceTo100AndNeverBackInCaptionsOfTheHost) {
  const TestFolder folder;
  const host::Phantom phantom(3);
  host::Acquisition moved;
  moved.modelToReference.setTranslate(NmVec3d(6, -4, 3));
  saved(host::writeNifti, folder.file("r.nii"), host::acquire(phantom, 24, {}));
  saved(host::writeNifti, folder.file("m.nii"), host::acquire(phantom, 24, moved));
  const std::regex captions(
      "(Looking for a start|Registering, (level|step) [0-9] of [0-9]|Resampling|Writing|Done)"
      "(, about .* left)?");
  const std::vector<std::string> pair = {
      "--reference", folder.file("r.nii"), "--model",  folder.file("m.nii"),
      "--picture",   folder.file("p.png"), "--output", folder.file("o.nii")};
  const std::string matrix = "--matrix=" + folder.file("o.txt");
  const std::string transform = "--transform=" + folder.file("o.json");
  for (std::vector<std::string> command : std::vector<std::vector<std::string>>{
           {"affine", "--dof=12", matrix},
           {"affine", "--dof=9", "--levels=2", "--optimizer=aggressive", matrix},
           {"affine", "--dof=3", "--levels=1", "--optimizer=best-neighbour", matrix},
           {"affine", "--stages", "3", "6", "--levels=1", "--optimizer=best-direction", matrix},
           {"nonaffine", "--metric=cr", "--stages=2", "--bricks", "3", "3", "3", transform},
           {"elastic", "--no-mask", transform, "--subtraction=" + folder.file("s.nii")}}) {
    command.insert(command.end(), pair.begin(), pair.end());
    Child child(folder, command);
    ASSERT_EQ(child.wait(), 0) << child.errors();
    const std::vector<Progress> lines = progressIn(child.errors());
    ASSERT_GT(lines.size(), 3u) << child.errors();
    EXPECT_EQ(lines.back().percent, 100);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      EXPECT_TRUE(std::regex_match(lines[i].caption, captions)) << child.errors();
      EXPECT_GE(lines[i].percent, i > 0 ? lines[i - 1].percent : 0) << child.errors();
    }
  }
}

}  // namespace
