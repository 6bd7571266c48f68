#include "evaluate/ElementReader.h"

#include <cstdint>

#include "evaluate/Request.h"
#include "kernelfile/ElementRecord.h"
#include "kernelfile/NodeRecord.h"
#include "kernelfile/ReadTimeKernel.h"

namespace Zarn {

namespace {
// The prototype for the type code at the reader's position, as a counted share, or empty when the code is
// unknown. The reader moves past the code either way (unless no view could be made).
counted_ptr<TimeKernelElement> prototypeForNextCode(Request& request) {
  std::int32_t code = TimeKernelElement::kTypeCode;  // 0 names no prototype, so an unread code finds nothing
  request.kernel.readI32(code);
  const auto found = request.elementPrototypes.find(code);
  if (found == request.elementPrototypes.end()) return counted_ptr<TimeKernelElement>();
  return found->second;
}
}  // namespace

counted_ptr<TimeKernelElement> readElementDofRows(Request& request) {
  counted_ptr<TimeKernelElement> element = prototypeForNextCode(request);
  if (element) Zarn::readElementDofRows(request.kernel.mapping, element->dofRows);
  return element;
}

counted_ptr<TimeKernelElement> readElementRecord(Request& request) {
  counted_ptr<TimeKernelElement> element = prototypeForNextCode(request);
  if (element) readElementRecordFields(request.kernel.mapping, element->recordFields());
  return element;
}

void readNode(ReadTimeKernel& kernel, TimeKernelNode& node) {
  readNodeRecord(kernel.mapping, node.dofRows, node.dofCodes, node.transform);
}

}  // namespace Zarn
