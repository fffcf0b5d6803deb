#include <sys/resource.h>

#include "CommandTest.h"

namespace {

using StoppedCommand = CommandTest;

const std::string commands[] = {
    "affine -r @r.nii -m @m.nii -o @out.nii --picture @out.png --matrix @out.txt",
    "nonaffine --bricks 3 3 3 -r @r.nii -m @m.nii -o @out.nii --picture @out.png --transform "
    "@out.txt",
    "deform --spacing 16 --tolerance 1e-9 -r @r.nii -m @m.nii -o @out.nii --picture @out.png "
    "--transform @out.txt",
    "elastic --no-mask -r @r.nii -m @m.nii -o @out.nii --picture @out.png --transform @out.txt"};

TEST_F(StoppedCommand, writesAfterTheFirstSignalOfAnyKind) {
  const int signals[] = {SIGINT, SIGTERM, SIGINT, SIGHUP};
  for (int i = 0; i < 4; ++i) {
    Child child = start(commands[i]);
    child.stopSearch(signals[i]);
    EXPECT_EQ(child.wait(), 130) << child.errors();
    EXPECT_NE(child.output().find("interrupted"), std::string::npos) << child.output();
    EXPECT_EQ(written(), (Words{"out.nii", "out.png", "out.txt"}));
    removeWritten();
  }
}

TEST_F(StoppedCommand, endsAtTheSecondSignal) {
  Child child = start(commands[0]);
  child.stopSearch(SIGINT);
  child.stopSearch(SIGINT);
  const int code = child.wait();
  EXPECT_TRUE(code == -SIGINT || code == 130) << code;
}

TEST_F(StoppedCommand, writesAllOrNothingWhenTheDiskIsFull) {
  writeFile(folder.file("out.txt"), "before");
  for (const rlim_t bytes : {20u, 4000u, 20000u}) {  // less than a matrix, a picture, a volume
    // No file of the child may become larger.
    Child child = start(commands[0], [&] {
      const rlimit limit = {bytes, bytes};
      (void)setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(child.wait(), 1) << bytes;
    EXPECT_EQ(written(), Words{"out.txt"});
    EXPECT_EQ(contentOf(folder.file("out.txt")), "before");
  }
}

}  // namespace
