#include "kernelfile/TimeKernel.h"

#include <algorithm>

namespace Zarn {

TimeKernel::TimeKernel() { std::fill(std::begin(sectionPositions), std::end(sectionPositions), -1); }

TimeKernel::~TimeKernel() { TimeKernel::close(); }

void TimeKernel::close() {
  if (stream != nullptr) {
    std::fclose(stream);
    stream = nullptr;
  }
  std::fill(std::begin(sectionPositions), std::end(sectionPositions), -1);
}

std::int64_t TimeKernel::tell() const { return stream != nullptr ? static_cast<std::int64_t>(std::ftell(stream)) : 0; }

void TimeKernel::seek(std::int64_t offset) {
  if (stream != nullptr) std::fseek(stream, static_cast<long>(offset), SEEK_SET);
}

void TimeKernel::copyTimeKernelFields(TimeKernel& target) const {
  target.id = id;
  // The stream is not shared: two owners would close it twice. (No read cycle opens one.)
  target.stream = nullptr;
  target.fileName = fileName;
  std::copy(std::begin(sectionPositions), std::end(sectionPositions), std::begin(target.sectionPositions));
}

counted_ptr<Base> TimeKernel::clone(bool deep) const {
  counted_ptr<TimeKernel> copy = makeCounted<TimeKernel>();
  if (copy && deep) copyTimeKernelFields(*copy);
  return copy;
}

}  // namespace Zarn
