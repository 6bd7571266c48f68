// The C boundary. Each export converts its arguments, runs its cycle (or its query on a handle) inside one try,
// ends the cycle the same way on every path (CycleGuard), and turns every failure into -1 and the thread's last
// error text. Nothing thrown inside may reach the host.
#include <new>

#include "TimeKernel.h"
#include "base/Failure.h"
#include "cycle/ElementListing.h"
#include "cycle/Handle.h"
#include "cycle/LastError.h"
#include "cycle/OutputRequest.h"
#include "cycle/TheKernel.h"

namespace {

// Runs `body` and gives 0, or -1 with the reason kept as this thread's last error.
template <class Body>
int32_t guarded(Body body) {
  try {
    body();
    Zarn::recordSuccess();
    return 0;
  } catch (int) {
    Zarn::recordFailure(Zarn::lastFailureReason());
  } catch (const std::bad_alloc&) {
    Zarn::recordFailure("out of memory");
  } catch (...) {
    Zarn::recordFailure("an unexpected internal failure");
  }
  return -1;
}

}  // namespace

extern "C" TIMEKERNEL_API int32_t TimeKernelElementID(const char* path, int32_t* ids, int32_t* count) {
  return guarded([&] {
    Zarn::CycleGuard cycle;
    Zarn::listElementIds(path, ids, count);
  });
}

extern "C" TIMEKERNEL_API int32_t TimeKernelOutputResult(const char* path, int32_t flags, const int32_t* ids,
                                                        int32_t idCount, const int32_t* keys, int32_t keyCount,
                                                        int32_t modeNumber, int32_t stepNumber, double* result,
                                                        int32_t resultLength) {
  return guarded([&] {
    Zarn::CycleGuard cycle;
    Zarn::outputResult(path, flags, ids, idCount, keys, keyCount, modeNumber, stepNumber, result, resultLength);
  });
}

extern "C" TIMEKERNEL_API int32_t TimeKernelOpen(const char* path, TimeKernelFile** file) {
  return guarded([&] { Zarn::openHandle(path, file); });
}

extern "C" TIMEKERNEL_API void TimeKernelClose(TimeKernelFile* file) {
  Zarn::closeHandle(file);
  Zarn::recordSuccess();
}

extern "C" TIMEKERNEL_API int32_t TimeKernelQuery(TimeKernelFile* file, int32_t flags, const int32_t* ids,
                                                 int32_t idCount, const int32_t* keys, int32_t keyCount,
                                                 int32_t modeNumber, int32_t stepNumber, double* result,
                                                 int32_t resultLength) {
  return guarded([&] {
    Zarn::queryHandle(file, flags, ids, idCount, keys, keyCount, modeNumber, stepNumber, result, resultLength);
  });
}

extern "C" TIMEKERNEL_API const char* TimeKernelLastError(void) { return Zarn::lastErrorText(); }

extern "C" TIMEKERNEL_API int32_t TimeKernelDescribe(TimeKernelFile* file, TimeKernelDescription* description) {
  return guarded([&] { Zarn::describeHandle(file, description); });
}

extern "C" TIMEKERNEL_API int32_t TimeKernelNodeIDs(TimeKernelFile* file, int32_t* ids, int32_t* count) {
  return guarded([&] { Zarn::listHandleNodes(file, ids, count); });
}

extern "C" TIMEKERNEL_API int32_t TimeKernelElements(TimeKernelFile* file, int32_t* ids, int32_t* typeCodes,
                                                    int32_t* count) {
  return guarded([&] { Zarn::listHandleElements(file, ids, typeCodes, count); });
}

extern "C" TIMEKERNEL_API int32_t TimeKernelResponseIDs(TimeKernelFile* file, int32_t flags, int32_t id,
                                                       int32_t* keys, int32_t* count) {
  return guarded([&] { Zarn::listHandleResponses(file, flags, id, keys, count); });
}

extern "C" TIMEKERNEL_API int32_t TimeKernelResponseName(int32_t typeCode, int32_t key, char* name,
                                                        int32_t capacity) {
  int32_t length = -1;
  const int32_t rc = guarded([&] { length = Zarn::responseName(typeCode, key, name, capacity); });
  return rc == 0 ? length : -1;
}

extern "C" TIMEKERNEL_API int32_t TimeKernelResponseByName(int32_t typeCode, const char* name, int32_t* key) {
  return guarded([&] { Zarn::responseByName(typeCode, name, key); });
}
