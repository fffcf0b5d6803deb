#include "files/OutputFiles.h"

#include <algorithm>
#include <functional>

#include "terminal/HostError.h"
#include "testFiles.h"

namespace {

namespace fs = std::filesystem;

using host::OutputFiles;

std::vector<std::string> sortedNames(const TestFolder& folder) {
  std::vector<std::string> names = folder.names();
  std::sort(names.begin(), names.end());
  return names;
}

int exitCodeOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const host::HostError& error) {
    return error.exitCode;
  }
  return 0;
}

TEST(OutputFiles, appearTogetherAndNotWithoutACommit) {
  const TestFolder folder;
  writeFile(folder.file("b"), "old");
  {
    OutputFiles outputs;
    writeFile(outputs.add(folder.file("a")), "1");
    writeFile(outputs.add(folder.file("b")), "2");
    EXPECT_EQ(contentOf(folder.file("b")), "old");
    EXPECT_FALSE(fs::exists(folder.file("a")));
  }
  EXPECT_EQ(sortedNames(folder), std::vector<std::string>{"b"});
  OutputFiles outputs;
  writeFile(outputs.add(folder.file("a")), "1");
  writeFile(outputs.add(folder.file("b")), "2");
  outputs.commit();
  EXPECT_EQ(sortedNames(folder), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(contentOf(folder.file("a")) + contentOf(folder.file("b")), "12");
}

TEST(OutputFiles, thatCannotAllBePlacedLeaveTheFolderAsItWas) {
  const TestFolder folder;
  writeFile(folder.file("old"), "before");
  OutputFiles outputs;
  for (const char* const name : {"old", "new", "last"})
    writeFile(outputs.add(folder.file(name)), "after");
  fs::create_directory(folder.file("last"));  // has come into the way meanwhile
  EXPECT_EQ(exitCodeOf([&] { outputs.commit(); }), 1);
  EXPECT_EQ(contentOf(folder.file("old")), "before");
  EXPECT_FALSE(fs::exists(folder.file("new")));
  EXPECT_TRUE(fs::is_empty(folder.file("last")));
}

TEST(OutputFiles, keepTheModeOfWhatTheyReplaceAndFollowLinks) {
  const TestFolder folder;
  fs::create_directory(folder.file("there"));
  writeFile(folder.file("there/private"), "old");
  fs::permissions(folder.file("there/private"), fs::perms(0640));
  fs::create_symlink("there/private", folder.file("link"));
  fs::create_symlink("there/not yet", folder.file("dangling"));
  OutputFiles outputs;
  writeFile(outputs.add(folder.file("link")), "new");
  writeFile(outputs.add(folder.file("dangling")), "made");
  outputs.commit();
  EXPECT_EQ(fs::status(folder.file("there/private")).permissions(), fs::perms(0640));
  EXPECT_EQ(contentOf(folder.file("there/private")), "new");
  EXPECT_EQ(contentOf(folder.file("there/not yet")), "made");
  EXPECT_TRUE(fs::is_symlink(folder.file("link")) && fs::is_symlink(folder.file("dangling")));
}

TEST(OutputFiles, refuseWhatIsNoNameForAFile) {
  const TestFolder folder;
  writeFile(folder.file("once"), "");
  fs::create_symlink("once", folder.file("again"));
  fs::create_symlink("loop", folder.file("loop"));
  OutputFiles outputs;
  (void)outputs.add(folder.file("once"));
  for (const std::string& path :
       {std::string(), folder.file("again"), folder.file("loop"), folder.file("nowhere/file"),
        folder.file("once/file"), folder.file(""), std::string("/dev/null")})
    EXPECT_EQ(exitCodeOf([&] { (void)outputs.add(path); }), 2) << path;
}

}  // namespace
