#include "model/ElementReader.h"

#include <cstdint>

#include "kernelfile/ReadTimeKernel.h"

namespace Zarn {

namespace {
// The prototype for the type code at the reader's position, as a counted share, or empty when the code is
// unknown. The reader moves past the code either way (unless no view could be made).
counted_ptr<TimeKernelElement> prototypeForNextCode(ReadTimeKernel& kernel) {
  std::int32_t code = TimeKernelElement::kTypeCode;  // 0 names no prototype, so an unread code finds nothing
  kernel.readI32(code);
  const auto found = kernel.elementPrototypes.find(code);
  if (found == kernel.elementPrototypes.end()) return counted_ptr<TimeKernelElement>();
  return found->second;
}
}  // namespace

counted_ptr<TimeKernelElement> readElementDofRows(ReadTimeKernel& kernel) {
  counted_ptr<TimeKernelElement> element = prototypeForNextCode(kernel);
  if (element) element->readDofRows();
  return element;
}

counted_ptr<TimeKernelElement> readElementRecord(ReadTimeKernel& kernel) {
  counted_ptr<TimeKernelElement> element = prototypeForNextCode(kernel);
  if (element) element->readRecord();
  return element;
}

}  // namespace Zarn
