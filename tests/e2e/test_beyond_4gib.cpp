// A kernel file larger than 8 GiB whose sections and records all lie beyond 4 GiB.
//
// The file is built sparse: the writer's bytes of a small model, with everything after the file header moved
// 8 GiB further on (section table entries and directory offsets moved with it) and a hole in between, so the
// test needs a few hundred kilobytes of disk. Every kind of request must give on it exactly the doubles it gives
// on the compact file, through the mapped view alone and with positioned reads, through the designed functions
// and through a handle; and the file must stay as it was.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "TimeKernel.h"
#include "kernelfile/FileMapping.h"
#include "kernelwriter/KernelWriter.h"
#include "support/TestSupport.h"

namespace {

constexpr std::int64_t kShift = std::int64_t(8) << 30;  // 8 GiB
constexpr std::int32_t kNodes = 40, kDofs = 6 * kNodes, kSteps = 30, kBars = 5;

double value(int quantity, std::int64_t dof, std::int64_t step) {
  return 0.25 * quantity + 1e-3 * static_cast<double>(dof) - 1e-2 * static_cast<double>(step) +
         1e-5 * static_cast<double>((dof * 7 + step * 13) % 101);
}

kernelwriter::KernelFile model() {
  kernelwriter::KernelFile f;
  for (int q = 0; q < 3; ++q) {
    f.setMatrix(15 + q, kDofs, kSteps, [q](std::int64_t d, std::int64_t t) { return value(q, d, t); });
    f.setMatrix(21 + q, kSteps, kDofs, [q](std::int64_t t, std::int64_t d) { return value(q, d, t); });
    f.setMatrix(8 + q, kDofs, 1, [q](std::int64_t d, std::int64_t) { return 0.5 * value(q, d, 0); });
    f.setMatrix(5 + q, kDofs, 1, [q](std::int64_t d, std::int64_t) { return -0.5 * value(q, d, 0); });
  }
  f.setMatrix(1, 9, kSteps, [](std::int64_t r, std::int64_t t) { return 1e-2 * static_cast<double>(r + t); });
  f.setMatrix(4, 1, kSteps, [](std::int64_t, std::int64_t t) { return 1.0 + 1e-3 * static_cast<double>(t); });
  for (std::int32_t n = 0; n < kNodes; ++n) {
    std::vector<std::uint32_t> rows;
    for (std::uint32_t j = 0; j < 6; ++j) rows.push_back(static_cast<std::uint32_t>(6 * n) + j);
    const std::vector<std::int32_t> codes = {-999, -998, -997, -996, -995, -994};
    if (n % 3 == 0) {
      f.addNode(100 + n, kernelwriter::NodeRecord::make(rows, codes, {0, 1, 0, -1, 0, 0, 0, 0, 1}));
    } else {
      f.addNode(100 + n, kernelwriter::NodeRecord::make(rows, codes));
    }
  }
  for (std::int32_t e = 0; e < kBars; ++e) {
    std::vector<std::uint32_t> rows;
    for (std::uint32_t j = 0; j < 12; ++j) rows.push_back(static_cast<std::uint32_t>(6 * e) + j);
    kernelwriter::ElementRecord bar = kernelwriter::ElementRecord::make(583, rows);
    std::vector<double> force(12 * 12), stress(22 * 12), load(12), stressLoad(22);
    for (std::size_t k = 0; k < force.size(); ++k) force[k] = 0.01 * static_cast<double>((k * 5 + e) % 17);
    for (std::size_t k = 0; k < stress.size(); ++k) stress[k] = 0.02 * static_cast<double>((k * 3 + e) % 19);
    for (std::size_t k = 0; k < load.size(); ++k) load[k] = 0.1 * static_cast<double>(k);
    for (std::size_t k = 0; k < stressLoad.size(); ++k) stressLoad[k] = -0.1 * static_cast<double>(k);
    bar.forceRecovery = kernelwriter::Table::matrix(12, 12, force);
    bar.stressRecovery = kernelwriter::Table::matrix(22, 12, stress);
    bar.forceLoad = kernelwriter::Table::matrix(12, 1, load);
    bar.stressLoad = kernelwriter::Table::matrix(22, 1, stressLoad);
    f.addElement(500 + e, bar);
  }
  return f;
}

// Writes `bytes` moved by kShift after the file header, as a sparse file.
void writeShifted(const std::string& path, std::vector<std::uint8_t> bytes, const kernelwriter::Layout& layout) {
  for (int s = 0; s < kernelwriter::kSectionCount; ++s) {
    if (layout.sectionPositions[s] >= 0) kernelwriter::putI64(bytes, 4 + 8 * s, layout.sectionPositions[s] + kShift);
  }
  const std::int64_t nodeOffsets = layout.sectionPositions[2] + 12 + 4 * kNodes;
  for (std::int32_t i = 0; i < kNodes; ++i) {
    kernelwriter::putI64(bytes, nodeOffsets + 8 * i, layout.nodeRecordOffsets[static_cast<std::size_t>(i)] + kShift);
  }
  const std::int64_t elementOffsets = layout.sectionPositions[3] + 12 + 4 * kBars;
  for (std::int32_t i = 0; i < kBars; ++i) {
    kernelwriter::putI64(bytes, elementOffsets + 8 * i,
                         layout.elementRecordOffsets[static_cast<std::size_t>(i)] + kShift);
  }
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), kernelwriter::kFileHeaderSize);
  out.seekp(kShift + kernelwriter::kFileHeaderSize);
  out.write(reinterpret_cast<const char*>(bytes.data()) + kernelwriter::kFileHeaderSize,
            static_cast<std::streamsize>(bytes.size()) - kernelwriter::kFileHeaderSize);
}

struct Ask {
  std::int32_t flags;
  std::vector<std::int32_t> ids;
  std::vector<std::int32_t> keys;
  std::int32_t step;
  std::int32_t length;
};

std::vector<double> designed(const std::string& path, const Ask& a, std::int32_t* code) {
  std::vector<double> out(static_cast<std::size_t>(a.length), -1.0);
  *code = TimeKernelOutputResult(path.c_str(), a.flags, a.ids.data(), static_cast<std::int32_t>(a.ids.size()),
                                 a.keys.data(), static_cast<std::int32_t>(a.keys.size()), 1, a.step, out.data(),
                                 a.length);
  return out;
}

std::vector<double> viaHandle(const std::string& path, const Ask& a, std::int32_t* code) {
  std::vector<double> out(static_cast<std::size_t>(a.length), -1.0);
  TimeKernelFile* handle = nullptr;
  *code = TimeKernelOpen(path.c_str(), &handle);
  if (*code != 0) return out;
  *code = TimeKernelQuery(handle, a.flags, a.ids.data(), static_cast<std::int32_t>(a.ids.size()), a.keys.data(),
                          static_cast<std::int32_t>(a.keys.size()), 1, a.step, out.data(), a.length);
  TimeKernelClose(handle);
  return out;
}

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

class BeyondFourGiB : public testsupport::PlatformTest {};

TEST_F(BeyondFourGiB, EveryRequestOnAnEightGiBSparseFileGivesTheCompactFilesDoubles) {
  testsupport::TempFile compact("compact"), large("beyond_4gib");
  const kernelwriter::KernelFile f = model();
  kernelwriter::Layout layout;
  const std::vector<std::uint8_t> bytes = f.bytes(&layout);
  kernelwriter::writeBytes(compact.path(), bytes);
  writeShifted(large.path(), bytes, layout);
  struct stat st;
  ASSERT_EQ(::stat(large.path().c_str(), &st), 0);
  ASSERT_EQ(st.st_size, kShift + static_cast<std::int64_t>(bytes.size()));
  if (static_cast<std::int64_t>(st.st_blocks) * 512 > (std::int64_t(1) << 30)) {
    GTEST_SKIP() << "the file system does not keep holes: the test would fill 8 GiB of disk";
  }
  const std::string before = testsupport::readWholeFile(compact.path());

  const std::vector<std::int32_t> nodes = {100, 139, 117, 4242, 103};
  const std::vector<std::int32_t> nodalKeys = {102, 103, 104, 106, 207, 308};
  const std::vector<std::int32_t> bars = {504, 500, 502};
  const std::vector<std::int32_t> barKeys = {100140402, 200140402, 100142101};
  const std::int32_t n = static_cast<std::int32_t>(nodes.size() * 3);
  const std::vector<Ask> asks = {
      {0, nodes, nodalKeys, 7, static_cast<std::int32_t>(nodes.size() * nodalKeys.size())},
      {2 | 8, nodes, nodalKeys, kSteps, static_cast<std::int32_t>(nodes.size() * nodalKeys.size())},
      {0, nodes, nodalKeys, 0, static_cast<std::int32_t>(nodes.size() * nodalKeys.size()) * kSteps},
      {2 | 8, nodes, nodalKeys, 0, static_cast<std::int32_t>(nodes.size() * nodalKeys.size()) * kSteps},
      {16 | 8, nodes, {102, 203, 304}, 0, 2 * n * n},
      {1, bars, barKeys, 4, static_cast<std::int32_t>(bars.size() * barKeys.size())},
      {1 | 2, bars, barKeys, 0, static_cast<std::int32_t>(bars.size() * barKeys.size()) * kSteps},
  };
  for (const Ask& a : asks) {
    SCOPED_TRACE("flags " + std::to_string(a.flags) + ", step " + std::to_string(a.step));
    std::int32_t expectedCode = 0, code = 0;
    const std::vector<double> expected = designed(compact.path(), a, &expectedCode);
    ASSERT_EQ(expectedCode, 0);
    EXPECT_TRUE(sameBits(designed(large.path(), a, &code), expected));
    EXPECT_EQ(code, 0);
    Zarn::positionedReadsEnabled = false;  // every byte through the mapped view
    EXPECT_TRUE(sameBits(designed(large.path(), a, &code), expected));
    EXPECT_EQ(code, 0);
    Zarn::positionedReadsEnabled = true;
    EXPECT_TRUE(sameBits(viaHandle(large.path(), a, &code), expected));
    EXPECT_EQ(code, 0);
  }
  std::int32_t count = 8;
  std::vector<std::int32_t> ids(8, 0);
  ASSERT_EQ(TimeKernelElementID(large.path().c_str(), ids.data(), &count), 0);
  EXPECT_EQ(count, kBars);
  EXPECT_EQ(ids[0], 500);
  EXPECT_EQ(ids[4], 504);
  ASSERT_EQ(::stat(large.path().c_str(), &st), 0);
  EXPECT_EQ(st.st_size, kShift + static_cast<std::int64_t>(bytes.size())) << "the file was lengthened";
  EXPECT_EQ(testsupport::readWholeFile(compact.path()), before);
}

}  // namespace
