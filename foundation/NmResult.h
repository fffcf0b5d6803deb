#pragma once

/// Success or failure of a volume operation.
class NmResult {
 public:
  explicit NmResult(bool ok = true) : ok_(ok) {}
  bool isOk() const { return ok_; }

 private:
  bool ok_;
};
