#include "files/fileRoles.h"

#include "terminal/HostError.h"
#include "terminal/similarName.h"
#include "testFiles.h"

namespace {

TEST(FileRoles, mustNotMeetInOneFile) {
  const TestFolder folder;
  const std::string there = folder.file("there.nii");
  writeFile(there, "x");
  std::filesystem::create_symlink(there, folder.file("link.nii"));
  std::filesystem::create_hard_link(there, folder.file("twin.nii"));
  std::filesystem::create_directory(folder.file("sub"));
  const std::string dotted = folder.file("sub/../there.nii");
  for (const std::string& name :
       {there, folder.file("link.nii"), folder.file("twin.nii"), dotted}) {
    EXPECT_THROW(host::requireSeparateFiles({{"--model", there}}, {{"--output", name}}),
                 host::HostError)
        << name;
    host::requireSeparateFiles({{"--reference", there}, {"--model", name}}, {});
  }
  const std::string made = folder.file("new"), again = folder.file("./sub/../new");
  EXPECT_THROW(host::requireSeparateFiles({}, {{"--output", made}, {"--report", again}}),
               host::HostError);
  host::requireSeparateFiles({{"--model", there}, {"--start", ""}},
                             {{"--output", made}, {"--picture", ""}});
}

TEST(SimilarName, isTheOneOfFewestSlips) {
  const std::vector<std::string> names = {"affine", "nonaffine", "apply", "elastic", "resample"};
  const std::pair<const char*, const char*> cases[] = {{"afine", "affine"},
                                                       {"affien", "affine"},
                                                       {"non-affine", "nonaffine"},
                                                       {"aply", "apply"},
                                                       {"elastik", "elastic"},
                                                       {"resmaple", "resample"},
                                                       {"segment", ""},
                                                       {"x", ""},
                                                       {"", ""}};
  for (const auto& [given, meant] : cases) EXPECT_EQ(host::similarName(given, names), meant);
}

}  // namespace
