#include "cycle/Handle.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/Allocation.h"
#include "base/Failure.h"
#include "evaluate/Metadata.h"
#include "evaluate/Request.h"
#include "kernelfile/ReadTimeKernel.h"
#include "kernelfile/platform.h"
#include "keys/ResponseNames.h"

namespace Zarn {

namespace {

// The working state of one query in progress: a read-only kernel over the handle's file and a request on it.
struct Context {
  ReadTimeKernel kernel;
  Request request{kernel};
};

}  // namespace

}  // namespace Zarn

// The opaque handle of the C API.
struct TimeKernelFile {
  Zarn::platform::FileHandle file;  // opened read-only; owned, closed with the handle
  std::int64_t fileSize = 0;        // the file's size at open
  std::string path;
  std::mutex pool;                  // guards `idle` only
  std::vector<std::unique_ptr<Zarn::Context>> idle;

  ~TimeKernelFile() {
    idle.clear();  // the contexts' kernels forget the file before it is closed
    if (file.isOpen) Zarn::platform::calls().closeFile(file);
  }
};

namespace Zarn {

namespace {

std::unique_ptr<Context> makeContext(TimeKernelFile& handle) {
  auto context = std::make_unique<Context>();
  context->kernel.fileName = handle.path;
  context->kernel.openReadOnly(handle.file, handle.fileSize);
  return context;
}

// Lends a context for one query and takes it back, cleared, on every path.
class Lease {
 public:
  explicit Lease(TimeKernelFile* handle) : handle_(handle) {
    if (handle == nullptr) failBecause("the handle is NULL");
    {
      std::lock_guard<std::mutex> lock(handle->pool);
      if (!handle->idle.empty()) {
        context_ = std::move(handle->idle.back());
        handle->idle.pop_back();
      }
    }
    if (!context_) context_ = makeContext(*handle);
    context_->kernel.mapping.rearm();
  }
  ~Lease() {
    context_->request.clear();
    context_->kernel.selectedMode = -1;
    std::lock_guard<std::mutex> lock(handle_->pool);
    try {
      handle_->idle.push_back(std::move(context_));
    } catch (...) {
      // No room to keep it: it is freed here, and the next query makes another.
    }
  }
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;

  Context& operator*() { return *context_; }
  Context* operator->() { return context_.get(); }

 private:
  TimeKernelFile* handle_;
  std::unique_ptr<Context> context_;
};

}  // namespace

void openHandle(const char* path, TimeKernelFile** file) {
  if (file == nullptr) failBecause("file is NULL");
  *file = nullptr;
  if (path == nullptr) failBecause("path is NULL");
  auto handle = std::make_unique<TimeKernelFile>();
  handle->path = path;
  if (!platform::calls().openReadOnly(path, &handle->file)) {
    failBecause("cannot open the kernel file \"" + handle->path + "\" for reading");
  }
  std::int64_t size = 0;
  if (!platform::calls().fileSize(handle->file, &size) || size < 0) size = 0;
  handle->fileSize = size;
  // The first context checks the file (format number, section table, section 21) and stays in the pool.
  std::unique_ptr<Context> first = makeContext(*handle);
  handle->idle.push_back(std::move(first));
  *file = handle.release();
}

void closeHandle(TimeKernelFile* file) { delete file; }

void queryHandle(TimeKernelFile* file, std::int32_t flags, const std::int32_t* ids, std::int32_t idCount,
                 const std::int32_t* keys, std::int32_t keyCount, std::int32_t modeNumber, std::int32_t stepNumber,
                 double* result, std::int32_t resultLength) {
  checkResultArray(result, resultLength);
  // As in the designed door: a caller that gets -1 sees zeros, never stale data.
  try {
    Lease context(file);
    AllocationLimitScope limit(context->kernel.allocationBound);
    selectMode(context->kernel, flags, modeNumber);
    context->request.ask(flags, ids, idCount, keys, keyCount, modeNumber, stepNumber);
    answerRequest(context->request, result, resultLength);
  } catch (...) {
    std::fill(result, result + resultLength, 0.0);
    throw;
  }
}

void describeHandle(TimeKernelFile* file, TimeKernelDescription* description) {
  if (description == nullptr) failBecause("description is NULL");
  if (description->version < 1) {
    failBecause("description->version " + std::to_string(description->version) +
                " is below 1: set it to TIMEKERNEL_DESCRIPTION_VERSION");
  }
  Lease context(file);
  AllocationLimitScope limit(context->kernel.allocationBound);
  const FileFigures figures = describeFile(context->kernel);
  TimeKernelDescription out = *description;
  out.formatNumber = figures.formatNumber;
  out.stepCount = figures.stepCount;
  out.dofCount = figures.dofCount;
  out.modeCount = figures.modeCount;
  out.loadCount = figures.loadCount;
  out.nodeCount = figures.nodeCount;
  out.elementCount = figures.elementCount;
  out.sectionsPresent = figures.sectionsPresent;
  out.reserved = 0;
  out.fileSize = figures.fileSize;
  *description = out;  // version 1 is all there is: every field of it is written
}

namespace {
std::int32_t capacityOf(const std::int32_t* count, const void* array) {
  if (count == nullptr) failBecause("count is NULL");
  const std::int32_t capacity = std::max(*count, 0);
  if (capacity > 0 && array == nullptr) {
    failBecause("the array is NULL but the capacity is " + std::to_string(capacity));
  }
  return capacity;
}
}  // namespace

void listHandleNodes(TimeKernelFile* file, std::int32_t* ids, std::int32_t* count) {
  const std::int32_t capacity = capacityOf(count, ids);
  Lease context(file);
  AllocationLimitScope limit(context->kernel.allocationBound);
  *count = listNodeIds(context->kernel, ids, capacity);
}

void listHandleElements(TimeKernelFile* file, std::int32_t* ids, std::int32_t* typeCodes, std::int32_t* count) {
  const std::int32_t capacity = capacityOf(count, ids);
  Lease context(file);
  AllocationLimitScope limit(context->kernel.allocationBound);
  *count = listElements(context->kernel, ids, typeCodes, capacity);
}

void listHandleResponses(TimeKernelFile* file, std::int32_t flags, std::int32_t id, std::int32_t* keys,
                         std::int32_t* count) {
  const std::int32_t capacity = capacityOf(count, keys);
  Lease context(file);
  AllocationLimitScope limit(context->kernel.allocationBound);
  const std::vector<std::int32_t> found = listResponseIds(context->request, (flags & 1) != 0, id);
  const auto total = static_cast<std::int32_t>(found.size());
  std::copy(found.begin(), found.begin() + std::min(total, capacity), keys);
  *count = total;
}

std::int32_t responseName(std::int32_t typeCode, std::int32_t key, char* name, std::int32_t capacity) {
  if (capacity > 0 && name == nullptr) failBecause("name is NULL but the capacity is " + std::to_string(capacity));
  std::string text;
  if (!nameOfResponse(typeCode, key, text)) {
    failBecause("response id " + std::to_string(key) + " means nothing " +
                (typeCode == 0 ? std::string("at a node") : "at an element of type " + std::to_string(typeCode)));
  }
  if (capacity > 0) {
    const std::size_t n = std::min(text.size(), static_cast<std::size_t>(capacity) - 1);
    std::memcpy(name, text.data(), n);
    name[n] = '\0';
  }
  return static_cast<std::int32_t>(text.size());
}

void responseByName(std::int32_t typeCode, const char* name, std::int32_t* key) {
  if (name == nullptr) failBecause("name is NULL");
  if (key == nullptr) failBecause("key is NULL");
  std::int32_t found = 0;
  if (!responseOfName(typeCode, name, found)) {
    failBecause("\"" + std::string(name) + "\" names no response " +
                (typeCode == 0 ? std::string("at a node") : "at an element of type " + std::to_string(typeCode)));
  }
  *key = found;
}

}  // namespace Zarn
