#pragma once

#include <string>

/// Progress and interruption sink that the host supplies and owns. Wherever the library takes a
/// pointer to one, null means no reporting and no interruption.
class NmProgressInterface {
 public:
  virtual ~NmProgressInterface();

  /// Opens a task of `steps` steps with a caption.
  virtual void startWorking(int steps, const std::string& text) = 0;

  /// Closes the open task.
  virtual void stopWorking() = 0;

  /// Reports the step reached.
  virtual void setProgressValue(int value) = 0;

  /// Called when the caption has changed; does nothing by default.
  virtual void progressInfoChanged(const std::string& text);

  /// True once the user has asked to stop, until the task is closed; every long loop polls it.
  virtual bool wasInterrupted() = 0;

  /// Replaces the caption and calls progressInfoChanged; null counts as an empty text.
  void setProgressInfo(const char* text);

  const std::string& progressInfo() const { return progressInfo_; }

 private:
  std::string progressInfo_;
};
