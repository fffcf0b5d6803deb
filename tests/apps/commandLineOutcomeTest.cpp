#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <tuple>

#include "Child.h"
#include "files/matrixFile.h"
#include "files/niftiVolume.h"
#include "phantoms/Phantom.h"
#include "saved.h"
#include "voxelsOf.h"

namespace {

using Words = std::vector<std::string>;

long countOf(const std::string& part, const std::string& text) {
  long count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

/// What a command says on standard error apart from its progress.
std::string complaintsOf(const Child& child) {
  std::string kept;
  std::istringstream lines(child.errors());
  for (std::string line; std::getline(lines, line);)
    if (line.find(" %  ") == std::string::npos) kept += line + "\n";
  return kept;
}

/// A head, the same head moved by 6, -4, 3 mm, and faulty volumes.
class Outcome : public testing::Test {
 protected:
  void SetUp() override {
    head_ = host::acquire(host::Phantom(3), 24, {});
    save("r.nii", head_);
    host::Acquisition moved;
    moved.modelToReference.setTranslate(NmVec3d(6, -4, 3));
    host::NiftiVolume model = host::acquire(host::Phantom(3), 24, moved);
    save("m.nii", model);
    model.header->sto_xyz.m[0][3] += 5000;
    save("far.nii", model);
    save("constant.nii", filled(7.0f));
    save("nan.nii", filled(NAN));
    host::NiftiVolume infinite = filled(0.0f);
    std::vector<float> voxels = voxelsOf(*head_.image.volume());
    for (std::size_t i = 0; i < 27; ++i)
      voxels[5000 + 37 * i] = std::numeric_limits<float>::infinity();
    put(infinite, voxels);
    save("infinite.nii", infinite);
    head_.header->sform_code = head_.header->qform_code = 0;
    save("nowhere.nii", head_);
    NmMat4d away;
    away.setTranslate(NmVec3d(0, 700, 0));
    saved(host::writeMatrix, folder.file("away.txt"), away);
    NmMat4d aside;
    aside.setTranslate(NmVec3d(0, 160, 0));
    saved(host::writeMatrix, folder.file("aside.txt"), aside);
  }

  void save(const std::string& name, const host::NiftiVolume& volume) const {
    saved(host::writeNifti, folder.file(name), volume);
  }

  static void put(const host::NiftiVolume& volume, const std::vector<float>& voxels) {
    const NmHandle<VlDataAccess> access = volume.image.volume()->lock(true);
    std::copy(voxels.begin(), voxels.end(), static_cast<float*>(access->dataPtr(0)));
  }

  host::NiftiVolume filled(float value) const {
    const host::NiftiVolume volume = host::volumeLike(head_, NmPrimType::Float);
    put(volume, std::vector<float>(24 * 24 * 24, value));
    return volume;
  }

  /// The words of a command on one line, "@" standing for the folder.
  Words wordsOf(const std::string& line) const {
    std::istringstream words(line);
    Words result;
    for (std::string word; words >> word;) {
      if (const auto at = word.find('@'); at != std::string::npos)
        word.replace(at, 1, folder.file(""));
      result.push_back(word);
    }
    return result;
  }

  Words outputs() const {
    Words found;
    for (const std::string& name : folder.names())
      if (name.starts_with("out")) found.push_back(name);
    return found;
  }

  void removeOutputs() const {
    for (const std::string& name : outputs()) std::filesystem::remove(folder.file(name));
  }

  nlohmann::json report() const {
    return nlohmann::json::parse(contentOf(folder.file("out.json")));
  }

  const TestFolder folder;

 private:
  host::NiftiVolume head_;
};

TEST_F(Outcome, ofNothingIsExitCode3AndOneLineUnlessForced) {
  const std::pair<const char*, const char*> cases[] = {
      {"affine -r @constant.nii -m @m.nii", "all voxels of the reference are 7"},
      {"affine -r @r.nii -m @nan.nii --metric msd", "the model has no finite voxel"},
      {"nonaffine -r @nan.nii -m @m.nii", "the reference has no finite voxel"},
      {"elastic -r @r.nii -m @constant.nii", "all voxels of the model are 7"},
      {"affine -r @r.nii -m @m.nii --range-model 90000 90001", "between 90000 and 90001"},
      {"affine -r @r.nii -m @m.nii --metric cr --range-reference -9 -5", "between -9 and -5"},
      {"affine -r @r.nii -m @far.nii --init none", "do not overlap"},
      {"affine -r @r.nii -m @far.nii --init none --metric cr", "do not overlap"},
      {"affine -r @r.nii -m @far.nii --init none --metric msd", "do not overlap"},
      {"affine -r @r.nii -m @far.nii --init none --dof 3 --optimizer aggressive", "do not overlap"},
      {"nonaffine -r @r.nii -m @far.nii --init none --bricks 2 2 2", "do not overlap"},
      {"affine -r @r.nii -m @m.nii --start @away.txt", "do not overlap"},
      {"apply -r @r.nii -m @m.nii --matrix @away.txt", "do not overlap"},
  };
  for (const auto& [line, reason] : cases) {
    SCOPED_TRACE(line);
    for (const bool forced : {false, true}) {
      Child child(folder, wordsOf(line + std::string(" -o @out.nii") + (forced ? " --force" : "")));
      EXPECT_EQ(child.wait(), 3);
      const std::string complaints = complaintsOf(child);
      EXPECT_EQ(countOf("voxreg: nothing found: ", complaints), 1) << complaints;
      EXPECT_EQ(countOf("\n", complaints), 1 + countOf("warning", complaints));
      EXPECT_NE(complaints.find(reason), std::string::npos) << complaints;
      EXPECT_EQ(outputs(), forced ? Words{"out.nii"} : Words{});
      EXPECT_EQ(child.output().empty(), !forced || std::string(line).starts_with("apply"));
      removeOutputs();
    }
  }
}

TEST_F(Outcome, thatIsDoubtfulComesWithWarningsHereAndInTheReport) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"affine -r @r.nii -m @infinite.nii --dof 6", "27 voxels that are not finite", true},
      {"affine -r @r.nii -m @nowhere.nii --dof 6", "neither sform nor qform", true},
      {"affine -r @r.nii -m @m.nii --start @aside.txt --dof 3 --steps 0.01 0.01 --levels 1",
       "overlap in only", true},
      {"apply -r @r.nii -m @m.nii --matrix @aside.txt -o @out.nii", "overlap in only", false},
  };
  for (const auto& [line, warning, hasReport] : cases) {
    SCOPED_TRACE(line);
    Child child(folder, wordsOf(line + std::string(hasReport ? " --report @out.json" : "")));
    EXPECT_EQ(child.wait(), 0) << child.errors();
    const std::string complaints = complaintsOf(child);
    EXPECT_EQ(countOf("voxreg: warning: ", complaints), 1) << complaints;
    EXPECT_NE(complaints.find(warning), std::string::npos) << complaints;
    if (hasReport) {
      ASSERT_EQ(report()["warnings"].size(), 1u);
      EXPECT_NE(report()["warnings"][0].get<std::string>().find(warning), std::string::npos);
    }
  }
}

TEST_F(Outcome, isTheSameWithVoxelsMissing) {
  const auto shiftFound = [&](const std::string& model) {
    Child child(folder, wordsOf("affine -r @m.nii -m @" + model +
                                " --dof 3 --metric cr --matrix @out.txt"));
    EXPECT_EQ(child.wait(), 0) << child.errors();
    const NmMat4d found = host::readMatrix(folder.file("out.txt"));
    return NmVec3d(found.m[3][0], found.m[3][1], found.m[3][2]);
  };
  const NmVec3d whole = shiftFound("r.nii");
  const NmVec3d missing = shiftFound("infinite.nii");
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(missing[c], whole[c], 0.2);  // voxels measure 8 mm
}

TEST_F(Outcome, isReportedInFull) {
  Child child(folder, wordsOf("affine -r @r.nii -m @far.nii --metric cr --report @out.json "
                              "--quiet"));
  ASSERT_EQ(child.wait(), 0) << child.errors();
  EXPECT_EQ(child.output() + child.errors(), "");
  const nlohmann::json found = report();
  EXPECT_EQ(found["version"], VOXREG_VERSION);
  EXPECT_EQ(found["command"], "affine");
  EXPECT_EQ(found["transform"], "affine");
  EXPECT_EQ(found["settings"]["dof"], 12);
  EXPECT_EQ(found["settings"]["metric"], "cr");
  EXPECT_EQ(found["settings"]["model"], folder.file("far.nii"));
  EXPECT_EQ(found["metric"]["name"], "cr");
  EXPECT_TRUE(found["metric"]["before"].is_null());  // 5000 mm apart
  EXPECT_GT(found["metric"]["after"], 0.9);
  EXPECT_NE(found["start"]["chosen"], "none");
  EXPECT_GT(found["overlap"], 0.7);
  EXPECT_NEAR(found["smallestJacobian"], 1.0, 0.1);
  EXPECT_GT(found["seconds"], 0.0);
  EXPECT_TRUE(found["evaluations"].is_number_integer() && found["gradients"].is_number_integer());
  EXPECT_TRUE(found["warnings"].empty());
}

TEST_F(Outcome, ofGridsIsReportedToo) {
  for (const char* const command : {"nonaffine --bricks 2 2 2 --init none", "elastic --no-mask"}) {
    SCOPED_TRACE(command);
    Child child(folder, wordsOf(command + std::string(" -r @r.nii -m @m.nii --metric cr --report "
                                                      "@out.json --transform @out-t.json")));
    ASSERT_EQ(child.wait(), 0) << child.errors();
    const nlohmann::json found = report();
    EXPECT_EQ(found["transform"], "bricks");
    EXPECT_GT(found["metric"]["after"], found["metric"]["before"]);
    EXPECT_GT(found["overlap"], 0.7);
    EXPECT_GT(found["smallestJacobian"], 0.0);
    EXPECT_LE(found["smallestJacobian"], 1.0);
  }
}

TEST_F(Outcome, ofElasticIsWhatApplyMakesOfItsTransform) {
  Child child(folder, wordsOf("elastic --no-mask -r @r.nii -m @m.nii -o @out.nii --transform "
                              "@out.json --background 3"));
  ASSERT_EQ(child.wait(), 0) << child.errors();
  Child apply(folder, wordsOf("apply -r @r.nii -m @m.nii -o @out2.nii --transform @out.json "
                              "--background 3 --interpolation lanczos"));
  ASSERT_EQ(apply.wait(), 0) << apply.errors();
  EXPECT_EQ(contentOf(folder.file("out2.nii")), contentOf(folder.file("out.nii")));
}

TEST_F(Outcome, isBadUsageWhereFilesMeetOrOptionsContradictEachOther) {
  std::filesystem::create_symlink(folder.file("m.nii"), folder.file("link.nii"));
  const std::pair<const char*, const char*> cases[] = {
      {"affine -r @r.nii -m @m.nii", "no output is requested"},
      {"affine -r @r.nii -m @m.nii -o @link.nii", "--model and --output are the same file"},
      {"affine -r @r.nii -m @m.nii --start @away.txt --matrix @./away.txt",
       "--start and --matrix are the same file"},
      {"elastic -r @r.nii -m @m.nii -o @out.nii --subtraction @./out.nii",
       "--output and --subtraction are the same file"},
      {"resample --input @m.nii -o @link.nii --size 8 8 8",
       "--input and --output are the same file"},
      {"affine -r @r.nii -m @m.nii -o @out.nii --start @away.txt --init none", "--init"},
      {"affine -r @r.nii -m @m.nii -o @out.nii --background -5", "-5 cannot be the background"},
      {"affine -r @r.nii -m @m.nii -o @out.nii --interpolation cubit", "--interpolation"},
      {"afine -r @r.nii -m @m.nii", "there is no command afine; did you mean affine?"},
      {"segment", "there is no command segment"},
  };
  for (const auto& [line, reason] : cases) {
    SCOPED_TRACE(line);
    Child child(folder, wordsOf(line));
    EXPECT_EQ(child.wait(), 2);
    EXPECT_NE(child.errors().find(reason), std::string::npos) << child.errors();
    EXPECT_EQ(countOf("\n", child.errors()), 1) << child.errors();
    EXPECT_EQ(outputs(), Words{});
  }
}

}  // namespace
