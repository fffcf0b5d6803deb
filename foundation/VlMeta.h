#pragma once

/// How a volume is to be stored. In-memory volumes are always contiguous and uncompressed, so that
/// all three flags are accepted and change nothing.
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
