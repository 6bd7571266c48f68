// The node and element records: consistent construction helpers and the byte encoding.
//
// Node record (8 + 8n bytes, 72 more with a rotation):
//   OFFSET     SIZE  FIELD
//   0          4     count n (u32)
//   4          4     hasTransform (u32): 0 none, any other value: the rotation follows
//   8          4n    dofRows (u32 each)
//   8 + 4n     4n    dofCodes (i32 each)
//   8 + 8n     72    transform, 9 doubles, only when hasTransform is not 0
//
// Element record, fields one after the other with no padding:
//   SIZE          FIELD
//   4             type code (i32)
//   4             dof count n (u32)
//   4n            dofRows (u32 each)
//   table         forceRotation, stressRotation, forceOffset, stressOffset
//   4             reference size m (u32)
//   8m            referenceDisplacement (doubles)
//   table         forceLoad, stressLoad, forceRecovery, stressRecovery, velocityForce, tenth
// A table is rows (u32), cols (u32) and rows * cols doubles, column-major; an empty one is its two counts.
//
// The encoders write the in-memory fields literally, so a record whose counts disagree with its arrays comes
// out exactly as inconsistent as it was built.
#include <stdexcept>
#include <utility>

#include "kernelwriter/KernelWriter.h"
#include "kernelwriter/RecordEncoding.h"

namespace kernelwriter {

Table Table::matrix(uint32_t rows, uint32_t cols, std::vector<double> columnMajor) {
  if (uint64_t(rows) * cols != columnMajor.size())
    throw std::invalid_argument("kernelwriter: Table::matrix values do not match rows * cols");
  Table t;
  t.rows = rows;
  t.cols = cols;
  t.values = std::move(columnMajor);
  return t;
}

int64_t Table::byteSize() const { return 8 + 8 * int64_t(values.size()); }

NodeRecord NodeRecord::make(std::vector<uint32_t> rows, std::vector<int32_t> codes) {
  if (rows.size() != codes.size())
    throw std::invalid_argument("kernelwriter: NodeRecord::make needs one code for each row");
  NodeRecord r;
  r.count = uint32_t(rows.size());
  r.dofRows = std::move(rows);
  r.dofCodes = std::move(codes);
  return r;
}

NodeRecord NodeRecord::make(std::vector<uint32_t> rows, std::vector<int32_t> codes, std::array<double, 9> t) {
  NodeRecord r = make(std::move(rows), std::move(codes));
  r.hasTransform = 1;
  r.transform.assign(t.begin(), t.end());
  return r;
}

int64_t NodeRecord::byteSize() const {
  return 8 + 4 * int64_t(dofRows.size() + dofCodes.size()) + 8 * int64_t(transform.size());
}

ElementRecord ElementRecord::make(int32_t typeCode, std::vector<uint32_t> dofRows) {
  ElementRecord r;
  r.typeCode = typeCode;
  r.dofCount = uint32_t(dofRows.size());
  r.dofRows = std::move(dofRows);
  return r;
}

void ElementRecord::setReference(std::vector<double> values) {
  referenceCount = uint32_t(values.size());
  referenceDisplacement = std::move(values);
}

int64_t ElementRecord::byteSize() const {
  int64_t size = 4 + 4 + 4 * int64_t(dofRows.size()) + 4 + 8 * int64_t(referenceDisplacement.size());
  for (const Table* t : {&forceRotation, &stressRotation, &forceOffset, &stressOffset, &forceLoad, &stressLoad,
                         &forceRecovery, &stressRecovery, &velocityForce, &tenth})
    size += t->byteSize();
  return size;
}

void encode(ByteSink& out, const Table& t) {
  out.putU32(t.rows);
  out.putU32(t.cols);
  for (double v : t.values) out.putF64(v);
}

void encode(ByteSink& out, const NodeRecord& r) {
  out.putU32(r.count);
  out.putU32(r.hasTransform);
  for (uint32_t row : r.dofRows) out.putU32(row);
  for (int32_t code : r.dofCodes) out.putI32(code);
  for (double v : r.transform) out.putF64(v);
}

void encode(ByteSink& out, const ElementRecord& r) {
  out.putI32(r.typeCode);
  out.putU32(r.dofCount);
  for (uint32_t row : r.dofRows) out.putU32(row);
  encode(out, r.forceRotation);
  encode(out, r.stressRotation);
  encode(out, r.forceOffset);
  encode(out, r.stressOffset);
  out.putU32(r.referenceCount);
  for (double v : r.referenceDisplacement) out.putF64(v);
  encode(out, r.forceLoad);
  encode(out, r.stressLoad);
  encode(out, r.forceRecovery);
  encode(out, r.stressRecovery);
  encode(out, r.velocityForce);
  encode(out, r.tenth);
}

}  // namespace kernelwriter
