// tkdump: ask a kernel file questions from the command line, through the shared library's two exports.
//
//   tkdump FILE elements
//       the element IDs of FILE, one per line
//   tkdump FILE values --ids 1,2 --keys 102,103 [--step N] [--flags F] [--mode M] [--steps S]
//       the values of the response ids at the IDs: one line per ID and step (all steps when --step is absent or
//       0; --steps gives the file's step count, which the C API does not report, default 1 for one step)
//   tkdump FILE envelope --ids 1,2 --keys 102
//       the envelope's maxima and minima per item
//
// Exit status: 0 on success, 1 when the library returns -1, 2 on a usage error.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "TimeKernel.h"

namespace {

int usage() {
  std::fprintf(stderr,
               "usage: tkdump FILE elements\n"
               "       tkdump FILE values --ids A,B --keys K1,K2 --steps S [--step N] [--flags F] [--mode M]\n"
               "       tkdump FILE envelope --ids A,B --keys K1,K2 [--flags F]\n");
  return 2;
}

bool parseList(const char* text, std::vector<int32_t>& out) {
  out.clear();
  const char* p = text;
  while (*p != '\0') {
    char* end = nullptr;
    const long v = std::strtol(p, &end, 10);
    if (end == p) return false;
    out.push_back(static_cast<int32_t>(v));
    p = *end == ',' ? end + 1 : end;
    if (*end != ',' && *end != '\0') return false;
  }
  return !out.empty();
}

struct Options {
  std::vector<int32_t> ids, keys;
  int32_t step = 0, flags = 0, mode = 0, steps = 1;
};

bool parseOptions(int argc, char** argv, int first, Options& o) {
  for (int i = first; i < argc; i += 2) {
    if (i + 1 >= argc) return false;
    const std::string name = argv[i];
    const char* value = argv[i + 1];
    if (name == "--ids") {
      if (!parseList(value, o.ids)) return false;
    } else if (name == "--keys") {
      if (!parseList(value, o.keys)) return false;
    } else if (name == "--step") {
      o.step = std::atoi(value);
    } else if (name == "--flags") {
      o.flags = std::atoi(value);
    } else if (name == "--mode") {
      o.mode = std::atoi(value);
    } else if (name == "--steps") {
      o.steps = std::atoi(value);
    } else {
      return false;
    }
  }
  return !o.ids.empty() && !o.keys.empty() && o.steps >= 1;
}

int listElements(const char* path) {
  int32_t total = 0;
  if (TimeKernelElementID(path, nullptr, &total) != 0) return 1;
  std::vector<int32_t> ids(static_cast<size_t>(total));
  int32_t count = total;
  if (TimeKernelElementID(path, ids.data(), &count) != 0) return 1;
  for (int32_t id : ids) std::printf("%d\n", id);
  return 0;
}

int printValues(const char* path, const Options& o) {
  const auto idCount = static_cast<int32_t>(o.ids.size());
  const auto keyCount = static_cast<int32_t>(o.keys.size());
  const int32_t steps = o.step > 0 ? 1 : o.steps;
  const int64_t rows = static_cast<int64_t>(keyCount) * steps;
  std::vector<double> result(static_cast<size_t>(rows * idCount));
  if (TimeKernelOutputResult(path, o.flags, o.ids.data(), idCount, o.keys.data(), keyCount, o.mode, o.step,
                             result.data(), static_cast<int32_t>(result.size())) != 0) {
    return 1;
  }
  for (int32_t i = 0; i < idCount; ++i) {
    const double* block = result.data() + i * rows;
    for (int32_t t = 0; t < steps; ++t) {
      std::printf("%d\t%d", o.ids[static_cast<size_t>(i)], o.step > 0 ? o.step : t + 1);
      for (int32_t r = 0; r < keyCount; ++r) std::printf("\t%.17g", block[r + keyCount * t]);
      std::printf("\n");
    }
  }
  return 0;
}

int printEnvelope(const char* path, const Options& o) {
  const auto idCount = static_cast<int32_t>(o.ids.size());
  const auto keyCount = static_cast<int32_t>(o.keys.size());
  const int64_t n = static_cast<int64_t>(keyCount) * idCount;
  std::vector<double> result(static_cast<size_t>(2 * n * n));
  if (TimeKernelOutputResult(path, o.flags | TIMEKERNEL_ENVELOPE, o.ids.data(), idCount, o.keys.data(), keyCount,
                             o.mode, 0, result.data(), static_cast<int32_t>(result.size())) != 0) {
    return 1;
  }
  for (int64_t p = 0; p < n; ++p) {
    std::printf("%d\t%d\tmax %.17g\tmin %.17g\n", o.ids[static_cast<size_t>(p / keyCount)],
                o.keys[static_cast<size_t>(p % keyCount)], result[static_cast<size_t>(p * n + p)],
                result[static_cast<size_t>(n * n + p * n + p)]);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return usage();
  const char* path = argv[1];
  const std::string command = argv[2];
  int rc;
  if (command == "elements" && argc == 3) {
    rc = listElements(path);
  } else if (command == "values" || command == "envelope") {
    Options o;
    if (!parseOptions(argc, argv, 3, o)) return usage();
    rc = command == "values" ? printValues(path, o) : printEnvelope(path, o);
  } else {
    return usage();
  }
  if (rc != 0) std::fprintf(stderr, "tkdump: the library returned -1\n");
  return rc;
}
