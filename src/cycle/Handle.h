// The handle functions apart from the C boundary: an open file that answers many questions.
//
// A handle owns its file, opened read-only, and a pool of queries' working states ("contexts"): each is a
// read-only kernel over the handle's file with a request of its own. A query takes an idle context from the pool
// (or makes one), answers on it, and gives it back, so several threads can query one handle at once and never
// share mutable state; the pool's lock is held only to take and give back. Handles share nothing with each other
// nor with the process-wide kernel of the designed exports. Every failure is Zarn::fail().
#pragma once

#include <cstdint>

#include "TimeKernel.h"

namespace Zarn {

void openHandle(const char* path, TimeKernelFile** file);
void closeHandle(TimeKernelFile* file);
void queryHandle(TimeKernelFile* file, std::int32_t flags, const std::int32_t* ids, std::int32_t idCount,
                 const std::int32_t* keys, std::int32_t keyCount, std::int32_t modeNumber, std::int32_t stepNumber,
                 double* result, std::int32_t resultLength);
void describeHandle(TimeKernelFile* file, TimeKernelDescription* description);
void listHandleNodes(TimeKernelFile* file, std::int32_t* ids, std::int32_t* count);
void listHandleElements(TimeKernelFile* file, std::int32_t* ids, std::int32_t* typeCodes, std::int32_t* count);
void listHandleResponses(TimeKernelFile* file, std::int32_t flags, std::int32_t id, std::int32_t* keys,
                         std::int32_t* count);
// The name of a response id, and the id of a name (keys/ResponseNames.h), at the C boundary's checks.
std::int32_t responseName(std::int32_t typeCode, std::int32_t key, char* name, std::int32_t capacity);
void responseByName(std::int32_t typeCode, const char* name, std::int32_t* key);

}  // namespace Zarn
