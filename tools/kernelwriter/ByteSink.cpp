#include "kernelwriter/ByteSink.h"

#include <stdexcept>

namespace kernelwriter {

void ByteSink::flush() {
  if (used_ == 0) return;
  drain(buffer_.data(), used_);
  used_ = 0;
}

void ByteSink::finish() { flush(); }

void MemorySink::drain(const uint8_t* data, size_t n) { out_.insert(out_.end(), data, data + n); }

FileSink::FileSink(const std::string& path) : path_(path) {
  file_ = std::fopen(path.c_str(), "wb");
  if (file_ == nullptr) throw std::runtime_error("kernelwriter: cannot open " + path + " for writing");
  // Our own buffer already gathers whole chunks; a second copy in the C library would only cost time.
  std::setvbuf(file_, nullptr, _IONBF, 0);
}

FileSink::~FileSink() {
  if (file_ != nullptr) std::fclose(file_);
}

void FileSink::drain(const uint8_t* data, size_t n) {
  if (std::fwrite(data, 1, n, file_) != n) throw std::runtime_error("kernelwriter: cannot write to " + path_);
}

void FileSink::finishFile() {
  finish();
  std::FILE* f = file_;
  file_ = nullptr;
  if (std::fclose(f) != 0) throw std::runtime_error("kernelwriter: cannot close " + path_);
}

}  // namespace kernelwriter
