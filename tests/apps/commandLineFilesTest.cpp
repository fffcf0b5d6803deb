#include <sys/resource.h>

#include <algorithm>

#include "Child.h"
#include "files/niftiVolume.h"
#include "phantoms/Phantom.h"
#include "saved.h"

namespace {

/// Limits the size of the child's files, as if the disk were full.
void limitFiles(rlim_t bytes) {
  const rlimit limit = {bytes, bytes};
  (void)setrlimit(RLIMIT_FSIZE, &limit);
}

class OutputsOfACommand : public testing::Test {
 protected:
  void SetUp() override {
    const host::Phantom phantom(3);
    host::Acquisition moved;
    moved.modelToReference.setTranslate(NmVec3d(6, -4, 3));
    saved(host::writeNifti, inputs.file("r.nii"), host::acquire(phantom, 32, {}));
    saved(host::writeNifti, inputs.file("m.nii"), host::acquire(phantom, 32, moved));
  }

  std::vector<std::string> arguments() const {
    return {"affine",
            "--reference",
            inputs.file("r.nii"),
            "--model",
            inputs.file("m.nii"),
            "--dof",
            "12",
            "--matrix",
            outputs.file("m.txt"),
            "--output",
            outputs.file("o.nii"),
            "--picture",
            outputs.file("p.png")};
  }

  std::vector<std::string> names() const {
    std::vector<std::string> found = outputs.names();
    std::sort(found.begin(), found.end());
    return found;
  }

  const TestFolder inputs;
  const TestFolder outputs{"outputs"};
};

TEST_F(OutputsOfACommand, areAllThereOrAsBeforeWhenTheDiskIsFull) {
  writeFile(outputs.file("m.txt"), "before");
  for (const rlim_t bytes : {20u, 20000u, 100000u}) {  // less than a matrix, a picture, a volume
    Child child(inputs, arguments(), [&] { limitFiles(bytes); });
    EXPECT_EQ(child.wait(), 1) << bytes;
    EXPECT_EQ(names(), std::vector<std::string>{"m.txt"});
    EXPECT_EQ(contentOf(outputs.file("m.txt")), "before");
  }
}

TEST_F(OutputsOfACommand, areWrittenAfterTheFirstSignalOfAnyKind) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Child child(inputs, arguments());
    child.awaitSearch();
    child.interrupt(signal);
    EXPECT_EQ(child.wait(), 130);
    EXPECT_EQ(names(), (std::vector<std::string>{"m.txt", "o.nii", "p.png"}));
    for (const std::string& name : names()) std::filesystem::remove(outputs.file(name));
  }
}

}  // namespace
