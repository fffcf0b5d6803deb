#include "files/TemporaryFile.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <random>

namespace host {

namespace {

std::string uniqueName() {
  std::random_device source;
  char name[40];
  (void)std::snprintf(name, sizeof name, "voxreg-%08x%08x.part", source(), source());
  return name;
}

}  // namespace

/// An element of a list that only grows, so a signal handler can walk it at any time.
class TemporaryFile::Entry {
 public:
  explicit Entry(const std::string& path) : path_(path), older_(newest_.load()) {
    while (!newest_.compare_exchange_weak(older_, this)) {
    }
  }

  const std::string& path() const { return path_; }

  void remove() const {
    if (isWanted_) (void)unlink(path_.c_str());
  }

  void forget() { isWanted_ = false; }

  static void removeAll() {
    for (const Entry* entry = newest_; entry != nullptr; entry = entry->older_) entry->remove();
  }

 private:
  static inline std::atomic<Entry*> newest_{nullptr};
  static_assert(std::atomic<Entry*>::is_always_lock_free);

  const std::string path_;
  Entry* older_;
  std::atomic<bool> isWanted_{true};
};

TemporaryFile::TemporaryFile(const std::string& folder)
    : entry_(new Entry(folder + "/" + uniqueName())) {}

TemporaryFile::~TemporaryFile() {
  entry_->remove();
  entry_->forget();
}

const std::string& TemporaryFile::path() const {
  return entry_->path();
}

void TemporaryFile::removeAll() {
  Entry::removeAll();
}

}  // namespace host
