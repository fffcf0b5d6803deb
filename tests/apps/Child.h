#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "testFiles.h"

/// The program as a child process, its output in files.
class Child {
 public:
  /// The child calls `prepare` before it becomes the program.
  Child(
      const TestFolder& folder, std::vector<std::string> arguments,
      const std::function<void()>& prepare = [] {})
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
      redirect(STDOUT_FILENO, out_);
      redirect(STDERR_FILENO, err_);
      execv(pointers[0], pointers.data());
      _exit(127);
    }
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    if (!waited_) (void)wait();
  }

  void interrupt(int number = SIGINT) const { (void)kill(child_, number); }

  /// Waits until standard error tells of a search.
  void awaitSearch() const {
    while (errors().find("Registering") == std::string::npos)
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
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
  static void redirect(int descriptor, const std::string& path) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    dup2(file, descriptor);
  }

  std::string out_;
  std::string err_;
  pid_t child_;
  bool waited_ = false;
};
