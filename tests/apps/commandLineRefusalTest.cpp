#include <cmath>

#include "CommandTest.h"
#include "files/matrixFile.h"

namespace {

/// Beside the pair, volumes and matrices with which something is wrong.
class Outcome : public CommandTest {
 protected:
  void SetUp() override {
    CommandTest::SetUp();
    host::NiftiVolume model = head();
    model.header->sto_xyz.m[0][3] += 5000;
    save("far.nii", model);
    model.header->sform_code = model.header->qform_code = 0;
    save("nowhere.nii", model);
    saveFilled("constant.nii", 7.0f);
    saveFilled("nan.nii", NAN);
    saveFilled("zero.nii", 0.0f);
    for (const double y : {700.0, 160.0}) {
      NmMat4d shift;
      shift.setTranslate(NmVec3d(0, y, 0));
      saved(host::writeMatrix, folder.file(y > 500.0 ? "away.txt" : "aside.txt"), shift);
    }
  }
  void saveFilled(const std::string& name, float value) const {
    const host::NiftiVolume volume = host::volumeLike(head(), NmPrimType::Float);
    std::fill_n(static_cast<float*>(volume.image.volume()->lock(true)->dataPtr(0)), 24 * 24 * 24,
                value);
    save(name, volume);
  }

  static long countOf(const std::string& part, const std::string& text) {
    long count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
  }
  /// What a command says on standard error apart from its progress.
  static std::string complaintsOf(const Child& child) {
    std::string kept;
    std::istringstream lines(child.errors());
    for (std::string line; std::getline(lines, line);)
      if (line.find(" %  ") == std::string::npos) kept += line + "\n";
    return kept;
  }
};

TEST_F(Outcome, ofNothingIsExitCode3AndOneLineUnlessForced) {
  const std::pair<const char*, const char*> cases[] = {
      {"affine -r @constant.nii -m @m.nii", "all voxels of the reference are 7"},
      {"affine -r @r.nii -m @nan.nii --metric msd", "the model has no finite voxel"},
      {"nonaffine -r @nan.nii -m @m.nii", "the reference has no finite voxel"},
      {"elastic -r @r.nii -m @constant.nii", "all voxels of the model are 7"},
      {"deform -r @constant.nii -m @m.nii", "all voxels of the reference are 7"},
      {"deform -r @r.nii -m @nan.nii", "the model has no finite voxel"},
      {"deform -r @r.nii -m @far.nii --init none", "do not overlap"},
      {"deform -r @r.nii -m @m.nii --start @away.txt", "do not overlap"},
      {"deform -r @r.nii -m @m.nii --model-mask @zero.nii", "leaves no voxel of the model"},
      {"affine -r @r.nii -m @m.nii --reference-mask @zero.nii", "leaves no voxel of the reference"},
      {"affine -r @r.nii -m @m.nii --range-model 90000 90001", "between 90000 and 90001"},
      {"affine -r @r.nii -m @m.nii --metric cr --range-reference -9 -5", "between -9 and -5"},
      {"affine -r @r.nii -m @far.nii --init none", "do not overlap"},
      {"nonaffine -r @r.nii -m @far.nii --init none --bricks 2 2 2", "do not overlap"},
      {"affine -r @r.nii -m @m.nii --start @away.txt", "do not overlap"},
      {"apply -r @r.nii -m @m.nii --matrix @away.txt", "do not overlap"},
  };
  for (const auto& [line, reason] : cases) {
    SCOPED_TRACE(line);
    for (const bool forced : {false, true}) {
      Child child = start(line + std::string(" -o @out.nii") + (forced ? " --force" : ""));
      EXPECT_EQ(child.wait(), 3);
      const std::string complaints = complaintsOf(child);
      EXPECT_EQ(countOf("voxreg: nothing found: ", complaints), 1) << complaints;
      EXPECT_EQ(countOf("\n", complaints), 1 + countOf("warning", complaints));
      EXPECT_NE(complaints.find(reason), std::string::npos) << complaints;
      EXPECT_EQ(written(), forced ? Words{"out.nii"} : Words{});
      EXPECT_EQ(child.output().empty(), !forced || std::string(line).starts_with("apply"));
      removeWritten();
    }
  }
}

TEST_F(Outcome, thatIsDoubtfulComesWithAWarning) {
  const std::pair<const char*, const char*> cases[] = {
      {"affine -r @r.nii -m @nowhere.nii --dof 6 --matrix @out.txt", "neither sform nor qform"},
      {"affine -r @r.nii -m @m.nii --start @aside.txt --dof 3 --steps 0.01 0.01 --levels 1 "
       "--matrix @out.txt",
       "overlap in only"},
      {"apply -r @r.nii -m @m.nii --matrix @aside.txt -o @out.nii", "overlap in only"},
  };
  for (const auto& [line, warning] : cases) {
    Child child = start(line);
    EXPECT_EQ(child.wait(), 0) << line << "\n" << child.errors();
    const std::string complaints = complaintsOf(child);
    EXPECT_EQ(countOf("voxreg: warning: ", complaints), 1) << complaints;
    EXPECT_NE(complaints.find(warning), std::string::npos) << complaints;
  }
}

TEST_F(Outcome, ofBadUsageIsOneLineAndNothingWritten) {
  std::filesystem::create_symlink(folder.file("m.nii"), folder.file("link.nii"));
  const std::string pair = " -r @r.nii -m @m.nii", affine = "affine -o @out.nii" + pair,
                    deform = "deform -o @out.nii --transform @out.json" + pair,
                    bricks = "nonaffine -o @out.nii --transform @out.json" + pair,
                    elastic = "elastic -o @out.nii --subtraction @out-s.nii" + pair,
                    resample = "resample --input @r.nii -o @out.nii";
  const std::pair<std::string, const char*> cases[] = {
      {"affine --matrix @out.txt -r @none.nii -m @m.nii", "does not exist"},
      {"affine --matrix @out.txt -r @r.nii -m @points.txt", "not a NIfTI file"},
      {affine + " --matrix @nowhere/out", "cannot write"},
      {affine + " --picture @nowhere/out.png", "cannot write"},
      {affine + " --picture @out.jpg", ".png"},
      {affine + " --matrix /dev/null", "not a regular file"},
      {affine + " --start @r.nii", "4 x 4 numbers"},
      {affine + " --metric nonsense", "--metric"},
      {affine + " --steps 1 nan", "not a number"},
      {affine + " --steps 8", "--steps"},
      {affine + " --start @away.txt --init none", "--init"},
      {affine + " --start @away.txt --matrix @./away.txt",
       "--start and --matrix are the same file"},
      {affine + " --background -5", "-5 cannot be the background"},
      {affine + " --interpolation cubit", "--interpolation"},
      {"affine -o @out.mgz" + pair, ".nii"},
      {"affine -o @link.nii" + pair, "--model and --output are the same file"},
      {"affine" + pair, "no output is requested"},
      {"affine --nonsense", "--"},
      {"afine" + pair, "there is no command afine; did you mean affine?"},
      {"segment", "there is no command segment"},
      {"", "subcommand"},
      {affine + " --optimizer exact --steps 8 1", "exact derivatives"},
      {affine + " --optimizer gradient --model-mask @m.nii", "exact derivatives"},
      {affine + " --reference-mask @far.nii", "not on its voxel grid"},
      {bricks + " --optimizer exact", "exact derivatives"},
      {deform + " --spacing 0", "--spacing"},
      {deform + " --stiffness -1", "--stiffness"},
      {deform + " --detail much", "--detail"},
      {deform + " --detail fast", "does not end in .nii"},
      {deform + " --least-jacobian 1", "--least-jacobian"},
      {deform + " --tolerance 0", "--tolerance"},
      {deform + " --as field", "--as field cannot be written"},
      {deform + " --as mesh", "--as"},
      {"deform --transform @out.nii --as lattice" + pair, "NIfTI files hold fields"},
      {deform + " --start-transform @r.nii", "does not hold displacements"},
      {deform + " --start-transform @points.txt", "not a transform file"},
      {deform + " --start-transform @out.json --init none", "--init"},
      {deform + " --start @away.txt --start-transform @out.json", "--start"},
      {deform + " --model-mask @none.nii", "does not exist"},
      {deform + " --model-mask @far.nii", "not on its voxel grid"},
      {"deform --transform @points.txt --truth @points.txt" + pair,
       "--truth and --transform are the same file"},
      {"deform -o @link.nii --model-mask @m.nii -r @r.nii -m @r.nii",
       "--model-mask and --output are the same file"},
      {"deform" + pair, "no output is requested"},
      {elastic + " --mask --no-mask", "--no-mask"},
      {elastic + " --roi 0 24 0 23 0 23", "--roi"},
      {elastic + " --truth @r.nii", "six numbers"},
      {elastic + " --levels 1", "--levels"},
      {elastic + " --max-bricks 12", "a lattice has no bricks"},
      {elastic + " --engine bricks --spacing 12", "bricks have no spacing"},
      {"elastic -o @out.nii -r @r.nii -m @far.nii", "voxel grid"},
      {"elastic --output @out.nii --subtraction @./out.nii" + pair,
       "--output and --subtraction are the same file"},
      {resample, "--spacing"},
      {resample + " --size 8 8 0", "--size"},
      {resample + " --spacing 1 1 1e-9", "voxels"},
      {"resample --input @m.nii -o @link.nii --size 8 8 8",
       "--input and --output are the same file"},
      {"apply -o @out.nii" + pair, "--transform"},
      {"apply -o @out.nii --transform @r.nii" + pair, "does not hold displacements"},
  };
  for (const auto& [line, reason] : cases) {
    SCOPED_TRACE(line);
    Child child = start(line);
    EXPECT_EQ(child.wait(), 2);
    EXPECT_NE(child.errors().find(reason), std::string::npos) << child.errors();
    EXPECT_EQ(countOf("\n", child.errors()), 1) << child.errors();
    EXPECT_EQ(child.output(), "");
    EXPECT_EQ(written(), Words{});
  }
}

}  // namespace
