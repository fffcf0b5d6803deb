#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include "phantoms/Phantom.h"
#include "saved.h"
#include "testFiles.h"

/// The program as a child process, its output in files.
class Child {
 public:
  /// The child calls `prepare` before it becomes the program.
  Child(const TestFolder& folder, std::vector<std::string> arguments,
        const std::function<void()>& prepare)
      : out_(folder.file("stdout")), err_(folder.file("stderr")) {
    arguments.insert(arguments.begin(), VOXREG_PROGRAM);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    for (const std::string& old : {out_, err_}) std::filesystem::remove(old);
    child_ = fork();
    if (child_ == 0) {
      for (const int number : {SIGINT, SIGTERM, SIGHUP}) (void)std::signal(number, SIG_DFL);
      prepare();
      dup2(::creat(out_.c_str(), 0666), STDOUT_FILENO);
      dup2(::creat(err_.c_str(), 0666), STDERR_FILENO);
      execv(pointers[0], pointers.data());
      _exit(127);
    }
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    if (!waited_) (void)wait();
  }

  /// Sends a signal as soon as standard error tells of a search.
  void stopSearch(int number) const {
    while (!isSearching() && !hasEnded()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    (void)kill(child_, number);
  }

  /// Exit code, or the negative number of the signal that has ended the child.
  int wait() {
    int status = 0;
    waitpid(child_, &status, 0);
    waited_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  std::string output() const { return contentOf(out_); }
  std::string errors() const { return contentOf(err_); }

 private:
  bool isSearching() const {
    const std::string told = errors();
    return told.find("Registering") != std::string::npos ||
           told.find("Deforming") != std::string::npos;
  }
  bool hasEnded() const {
    siginfo_t state = {};
    return waitid(P_PID, static_cast<id_t>(child_), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           state.si_pid == child_;
  }

  std::string out_;
  std::string err_;
  pid_t child_;
  bool waited_ = false;
};

using Words = std::vector<std::string>;

/// A folder with a head, r.nii, the same head moved by 6, -4, 3 mm, m.nii, and two points of both.
class CommandTest : public testing::Test {
 protected:
  void SetUp() override {
    save("r.nii", head());
    save("m.nii", head(NmVec3d(6, -4, 3)));
    writeFile(folder.file("points.txt"), "10 20 -15 4 24 -18\n-20 5 10 -26 9 7\n");
  }

  /// In voxels of 8 mm.
  static host::NiftiVolume head(const NmVec3d& shift = {}) {
    host::Acquisition moved;
    moved.modelToReference.setTranslate(shift);
    return host::acquire(host::Phantom(3), 24, moved);
  }
  void save(const std::string& name, const host::NiftiVolume& volume) const {
    saved(host::writeNifti, folder.file(name), volume);
  }

  /// Starts a command that is given on one line, "@" standing for the folder.
  Child start(
      const std::string& line, const std::function<void()>& prepare = [] {}) const {
    std::istringstream words(line);
    Words result;
    for (std::string word; words >> word;) {
      if (const auto at = word.find('@'); at != std::string::npos)
        word.replace(at, 1, folder.file(""));
      result.push_back(word);
    }
    return {folder, result, prepare};
  }
  /// The standard output of a command that succeeds.
  std::string outputOf(const std::string& line) const {
    Child child = start(line);
    EXPECT_EQ(child.wait(), 0) << line << "\n" << child.errors();
    return child.output();
  }

  /// What the program has written, whose names begin with "out", or left behind, whose do not.
  Words written() const {
    Words found;
    for (const std::string& name : folder.names())
      if (name.starts_with("out") || name.ends_with(".part")) found.push_back(name);
    std::sort(found.begin(), found.end());
    return found;
  }
  void removeWritten() const {
    for (const std::string& name : written()) std::filesystem::remove(folder.file(name));
  }

  const TestFolder folder;
};
