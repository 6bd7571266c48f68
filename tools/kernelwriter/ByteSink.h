// Buffered little-endian output for the writer: values are encoded into a fixed buffer and handed on in chunks,
// so writing a file of any size takes one buffer of memory. Internal to the writer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace kernelwriter {

class ByteSink {
 public:
  // Chunk size of every sink: large enough that the per-chunk cost vanishes against the copying, small enough
  // to be nothing next to the files it writes.
  static constexpr size_t kChunkSize = size_t(1) << 20;

  ByteSink() : buffer_(kChunkSize) {}
  virtual ~ByteSink() = default;
  ByteSink(const ByteSink&) = delete;
  ByteSink& operator=(const ByteSink&) = delete;

  void putU32(uint32_t v) {
    uint8_t* p = room(4);
    for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * i));
  }
  void putI32(int32_t v) { putU32(uint32_t(v)); }
  void putU64(uint64_t v) {
    uint8_t* p = room(8);
    for (int i = 0; i < 8; ++i) p[i] = uint8_t(v >> (8 * i));
  }
  void putI64(int64_t v) { putU64(uint64_t(v)); }
  // The double's IEEE 754 bit pattern, little-endian.
  void putF64(double v) {
    uint64_t bits;
    std::memcpy(&bits, &v, 8);
    putU64(bits);
  }

  // Hands on whatever is still buffered. Call once at the end; the sink may not be used afterwards.
  void finish();

  int64_t written() const { return total_; }  // bytes accepted so far, buffered or not

 protected:
  // Takes one chunk of output. Throws on failure.
  virtual void drain(const uint8_t* data, size_t n) = 0;

 private:
  // Space for n (at most 8) more bytes, draining the buffer first when it is full.
  uint8_t* room(size_t n) {
    if (used_ + n > buffer_.size()) flush();
    uint8_t* p = buffer_.data() + used_;
    used_ += n;
    total_ += int64_t(n);
    return p;
  }
  void flush();

  std::vector<uint8_t> buffer_;
  size_t used_ = 0;
  int64_t total_ = 0;
};

// Appends to a vector owned by the caller; the vector must outlive the sink.
class MemorySink : public ByteSink {
 public:
  explicit MemorySink(std::vector<uint8_t>& out) : out_(out) {}

 protected:
  void drain(const uint8_t* data, size_t n) override;

 private:
  std::vector<uint8_t>& out_;
};

// Writes to a file opened (created or truncated) by the constructor and closed by finishFile or the destructor.
// Throws std::runtime_error, naming the path, when the file cannot be opened, written or closed.
class FileSink : public ByteSink {
 public:
  explicit FileSink(const std::string& path);
  ~FileSink() override;
  // finish(), then closes the file and reports a failed close.
  void finishFile();

 protected:
  void drain(const uint8_t* data, size_t n) override;

 private:
  std::string path_;
  std::FILE* file_ = nullptr;
};

}  // namespace kernelwriter
