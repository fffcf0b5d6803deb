#pragma once

/// How a volume is stored. In-memory volumes are always contiguous and uncompressed, so all three
/// flags are ignored.
class VlMeta {
 public:
  VlMeta(bool sliced, bool inMemory) : sliced_(sliced), inMemory_(inMemory) {}

  bool compressed = false;

  bool isSliced() const { return sliced_; }
  bool isInMemory() const { return inMemory_; }

 private:
  bool sliced_;
  bool inMemory_;
};
