// timekernel: ask a kernel file questions from the command line, through the shared library's handle functions.
//
// Every command prints a table (aligned for a terminal), CSV with a header row, or JSON. Errors are the
// library's own words (TimeKernelLastError) and a non-zero exit status: 1 when the library refuses, 2 for a
// command line that cannot be understood. Long requests are split into ranges of IDs and show a progress bar on
// standard error when it is a terminal.
#include "TimeKernel.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "Output.h"

namespace {

using cli::Cell;
using cli::Format;

// ---- errors ----

struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
struct LibraryError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Stops the command with the library's reason for its last -1.
void check(int32_t rc, const std::string& what) {
  if (rc != 0) {
    const std::string reason = TimeKernelLastError();
    throw LibraryError(what + (reason.empty() ? "" : ": " + reason));
  }
}

// ---- help ----

const char* const kOverview =
    "usage: timekernel COMMAND FILE [OPTIONS]\n"
    "\n"
    "Reads the results of a dynamic analysis from a kernel file.\n"
    "\n"
    "commands:\n"
    "  info      what the file holds: steps, degrees of freedom, modes, loads, nodes, elements, sections\n"
    "  nodes     the node IDs and their components\n"
    "  elements  the element IDs and their types\n"
    "  keys      the response ids (and names) that a node or an element has\n"
    "  history   values over all steps\n"
    "  step      values at one step\n"
    "  envelope  each node value's maximum and minimum over all steps\n"
    "  modal     one mode's contribution over all steps, or every mode's peak contribution\n"
    "\n"
    "Run 'timekernel COMMAND --help' for a command's options.\n";

const char* const kSelection =
    "  --nodes LIST       node IDs, e.g. 1,2,5 or 1-5\n"
    "  --elements LIST    element IDs (element results)\n"
    "  --keys LIST        response names or ids, e.g. ux,uy or 102,103 or axial@1; default: a node's\n"
    "                     displacements ux,uy,uz, or every response of the first element\n"
    "  --rotate           turn values into the output system of their node or element (flag 2)\n";
const char* const kFormat = "  --format F         table (default), csv or json\n";

std::string help(const std::string& command) {
  if (command == "info")
    return std::string(
               "usage: timekernel info FILE [--format F]\n\n"
               "The file's format number, size, steps, degrees of freedom, modes, loads, nodes, elements by\n"
               "type and the sections present.\n\n") +
           kFormat;
  if (command == "nodes")
    return std::string(
               "usage: timekernel nodes FILE [--format F]\n\n"
               "One row per node: its ID and the names of its displacement components.\n\n") +
           kFormat;
  if (command == "elements")
    return std::string(
               "usage: timekernel elements FILE [--format F]\n\n"
               "One row per element: its ID, type code and type.\n\n") +
           kFormat;
  if (command == "keys")
    return std::string(
               "usage: timekernel keys FILE (--node ID | --element ID) [--format F]\n\n"
               "The response ids that have a value at the node or element, with their names.\n\n") +
           kFormat;
  if (command == "history")
    return std::string(
               "usage: timekernel history FILE (--nodes LIST | --elements LIST) [--keys LIST] [--rotate]\n"
               "                         [--base-motion] [--format F]\n\n"
               "Values over all steps: one row per ID and step, one column per key.\n\n") +
           kSelection + "  --base-motion      nodal values include the stored base motion (flag 8)\n" + kFormat;
  if (command == "step")
    return std::string(
               "usage: timekernel step FILE (--nodes LIST | --elements LIST) --step N [--keys LIST]\n"
               "                      [--rotate] [--base-motion] [--format F]\n\n"
               "Values at step N (1-based): one row per ID, one column per key.\n\n") +
           kSelection +
           "  --step N           the step, from 1 to the file's step count\n"
           "  --base-motion      nodal values include the stored base motion (flag 8)\n" +
           kFormat;
  if (command == "envelope")
    return std::string(
               "usage: timekernel envelope FILE --nodes LIST [--keys LIST] [--rotate] [--base-motion]\n"
               "                          [--format F]\n\n"
               "Each node value's maximum and minimum over all steps, step 0 included (flag 16).\n\n") +
           "  --nodes LIST       node IDs, e.g. 1,2,5 or 1-5\n"
           "  --keys LIST        response names or ids; default ux,uy,uz\n"
           "  --rotate           turn values into the output system of their node (flag 2)\n"
           "  --base-motion      include the stored base motion (flag 8)\n" +
           kFormat;
  if (command == "modal")
    return std::string(
               "usage: timekernel modal FILE (--nodes LIST | --elements LIST) [--mode M] [--keys LIST]\n"
               "                       [--rotate] [--format F]\n\n"
               "With --mode M, the contribution of mode M alone over all steps (flag 4), laid out as\n"
               "'history'. Without it, every mode's peak contribution: one row per mode, ID and key, with\n"
               "the largest magnitude and the step where it occurs.\n\n") +
           kSelection + "  --mode M           the mode, from 1 to the file's mode count\n" + kFormat;
  return kOverview;
}

// ---- the command line ----

struct Args {
  std::string command, file;
  std::vector<int32_t> nodes, elements;
  std::vector<std::string> keys;
  bool hasNodes = false, hasElements = false, rotate = false, baseMotion = false, help = false;
  int32_t step = 0, mode = 0, node = 0, element = 0;
  bool hasStep = false, hasMode = false, hasNode = false, hasElement = false;
  Format format = Format::Table;
};

int32_t parseInt(const std::string& text, const char* option) {
  char* end = nullptr;
  errno = 0;
  const long long v = std::strtoll(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || errno != 0 || v < INT32_MIN || v > INT32_MAX)
    throw UsageError(std::string(option) + ": not an integer: '" + text + "'");
  return static_cast<int32_t>(v);
}

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= text.size()) {
    const size_t comma = text.find(',', start);
    const std::string part = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    if (!part.empty()) parts.push_back(part);
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return parts;
}

// "1,2,5" or "101-104" or both mixed.
std::vector<int32_t> parseIdList(const std::string& text, const char* option) {
  std::vector<int32_t> ids;
  for (const std::string& part : split(text)) {
    const size_t dash = part.find('-', 1);
    if (dash == std::string::npos) {
      ids.push_back(parseInt(part, option));
      continue;
    }
    const int32_t first = parseInt(part.substr(0, dash), option),
                  last = parseInt(part.substr(dash + 1), option);
    if (last < first || static_cast<int64_t>(last) - first > 10000000)
      throw UsageError(std::string(option) + ": not a range: '" + part + "'");
    for (int64_t id = first; id <= last; ++id) ids.push_back(static_cast<int32_t>(id));
  }
  if (ids.empty()) throw UsageError(std::string(option) + ": no IDs given");
  return ids;
}

Args parseArgs(int argc, char** argv) {
  Args a;
  std::vector<std::string> words(argv + 1, argv + argc);
  size_t i = 0;
  if (i < words.size() && words[i][0] != '-') a.command = words[i++];
  auto value = [&](const std::string& option) -> std::string {
    if (i + 1 >= words.size()) throw UsageError(option + " needs a value");
    return words[++i];
  };
  for (; i < words.size(); ++i) {
    const std::string& w = words[i];
    if (w == "--help" || w == "-h")
      a.help = true;
    else if (w == "--nodes")
      a.nodes = parseIdList(value(w), "--nodes"), a.hasNodes = true;
    else if (w == "--elements")
      a.elements = parseIdList(value(w), "--elements"), a.hasElements = true;
    else if (w == "--keys")
      a.keys = split(value(w));
    else if (w == "--step")
      a.step = parseInt(value(w), "--step"), a.hasStep = true;
    else if (w == "--mode")
      a.mode = parseInt(value(w), "--mode"), a.hasMode = true;
    else if (w == "--node")
      a.node = parseInt(value(w), "--node"), a.hasNode = true;
    else if (w == "--element")
      a.element = parseInt(value(w), "--element"), a.hasElement = true;
    else if (w == "--rotate")
      a.rotate = true;
    else if (w == "--base-motion")
      a.baseMotion = true;
    else if (w == "--format") {
      const std::string f = value(w);
      if (f == "table")
        a.format = Format::Table;
      else if (f == "csv")
        a.format = Format::Csv;
      else if (f == "json")
        a.format = Format::Json;
      else
        throw UsageError("--format: table, csv or json, not '" + f + "'");
    } else if (!w.empty() && w[0] == '-') {
      throw UsageError("unknown option " + w);
    } else if (a.file.empty()) {
      a.file = w;
    } else {
      throw UsageError("unexpected argument '" + w + "'");
    }
  }
  return a;
}

// ---- the file ----

const char* typeName(int32_t code) {
  switch (code) {
    case 580:
      return "bush";
    case 582:
      return "rod";
    case 583:
      return "bar";
    case 584:
      return "rigid bar";
    case 586:
      return "warping bar";
    case 594:
      return "catenary";
    case 642:
      return "plane stress";
    case 643:
      return "plane strain";
    case 645:
      return "shell";
    case 768:
      return "solid";
    default:
      return "unknown";
  }
}

const char* sectionName(int s) {
  static const char* const names[27] = {"mode shapes",
                                        "base motion",
                                        "node directory",
                                        "element directory",
                                        "load factors",
                                        "initial displacement (with base motion)",
                                        "initial velocity (with base motion)",
                                        "initial acceleration (with base motion)",
                                        "initial displacement",
                                        "initial velocity",
                                        "initial acceleration",
                                        "constant base motion",
                                        "initial modal displacement",
                                        "initial modal velocity",
                                        "initial modal acceleration",
                                        "displacement by step",
                                        "velocity by step",
                                        "acceleration by step",
                                        "modal displacement by step",
                                        "modal velocity by step",
                                        "modal acceleration by step",
                                        "displacement by row",
                                        "velocity by row",
                                        "acceleration by row",
                                        "modal displacement by row",
                                        "modal velocity by row",
                                        "modal acceleration by row"};
  return s >= 0 && s < 27 ? names[s] : "";
}

class File {
 public:
  explicit File(const std::string& path) : path_(path) {
    check(TimeKernelOpen(path.c_str(), &f_), "cannot open " + path);
  }
  ~File() { TimeKernelClose(f_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  TimeKernelFile* handle() const { return f_; }
  const std::string& path() const { return path_; }

  TimeKernelDescription describe() const {
    TimeKernelDescription d{};
    d.version = TIMEKERNEL_DESCRIPTION_VERSION;
    check(TimeKernelDescribe(f_, &d), "cannot describe " + path_);
    return d;
  }

  std::vector<int32_t> nodeIds() const {
    int32_t n = 0;
    check(TimeKernelNodeIDs(f_, nullptr, &n), "cannot list the nodes of " + path_);
    std::vector<int32_t> ids(static_cast<size_t>(n));
    check(TimeKernelNodeIDs(f_, ids.data(), &n), "cannot list the nodes of " + path_);
    ids.resize(static_cast<size_t>(std::min<int32_t>(n, static_cast<int32_t>(ids.size()))));
    return ids;
  }

  // Element IDs with their type codes, in file order.
  std::vector<std::pair<int32_t, int32_t>> elements() const {
    int32_t n = 0;
    check(TimeKernelElements(f_, nullptr, nullptr, &n), "cannot list the elements of " + path_);
    std::vector<int32_t> ids(static_cast<size_t>(n)), types(static_cast<size_t>(n));
    check(TimeKernelElements(f_, ids.data(), types.data(), &n), "cannot list the elements of " + path_);
    std::vector<std::pair<int32_t, int32_t>> out;
    for (size_t i = 0; i < ids.size() && i < static_cast<size_t>(n); ++i) out.emplace_back(ids[i], types[i]);
    return out;
  }

  std::vector<int32_t> responseIds(bool element, int32_t id) const {
    const std::string what =
        std::string("cannot list the responses of ") + (element ? "element " : "node ") + std::to_string(id);
    int32_t n = 0;
    check(TimeKernelResponseIDs(f_, element ? 1 : 0, id, nullptr, &n), what);
    std::vector<int32_t> keys(static_cast<size_t>(n));
    check(TimeKernelResponseIDs(f_, element ? 1 : 0, id, keys.data(), &n), what);
    keys.resize(static_cast<size_t>(std::min<int32_t>(n, static_cast<int32_t>(keys.size()))));
    return keys;
  }

  void query(int32_t flags, const std::vector<int32_t>& ids, const std::vector<int32_t>& keys, int32_t mode,
             int32_t step, std::vector<double>& result) const {
    check(TimeKernelQuery(f_, flags, ids.data(), static_cast<int32_t>(ids.size()), keys.data(),
                          static_cast<int32_t>(keys.size()), mode, step, result.data(),
                          static_cast<int32_t>(result.size())),
          "the request failed");
  }

 private:
  std::string path_;
  TimeKernelFile* f_ = nullptr;
};

std::string responseName(int32_t typeCode, int32_t key) {
  char buf[64];
  const int32_t n = TimeKernelResponseName(typeCode, key, buf, sizeof buf);
  if (n < 0 || n >= static_cast<int32_t>(sizeof buf)) return std::to_string(key);
  return buf;
}

// ---- a selection: the IDs, their kind and type, and the keys ----

struct Selection {
  bool element = false;
  int32_t typeCode = 0;  // 0 for nodes; the element type that names the keys
  std::vector<int32_t> ids, keys;
  std::vector<std::string> names;
};

Selection select(const File& file, const Args& a, bool nodesOnly = false) {
  Selection s;
  if (a.hasNodes == a.hasElements || (nodesOnly && a.hasElements))
    throw UsageError(nodesOnly ? "give --nodes LIST" : "give either --nodes LIST or --elements LIST");
  s.element = a.hasElements;
  s.ids = s.element ? a.elements : a.nodes;
  if (s.element) {
    std::map<int32_t, int32_t> typeOf;
    for (const auto& [id, type] : file.elements()) typeOf[id] = type;
    std::map<int32_t, int32_t> types;  // type -> first requested element of that type
    for (int32_t id : s.ids) {
      const auto it = typeOf.find(id);
      if (it == typeOf.end()) {
        std::fprintf(stderr, "timekernel: element %d is not in %s; its values stay zero\n", id,
                     file.path().c_str());
        continue;
      }
      types.emplace(it->second, id);
    }
    if (types.size() > 1)
      throw UsageError("the elements are of " + std::to_string(types.size()) +
                       " types, whose responses have different names: ask for one type at a time");
    if (!types.empty()) s.typeCode = types.begin()->first;
  }
  if (a.keys.empty()) {
    if (!s.element) {
      s.keys = {102, 103, 104};
    } else {
      for (int32_t id : s.ids) {  // every response of the first element the file holds
        try {
          s.keys = file.responseIds(true, id);
          break;
        } catch (const LibraryError&) {
        }
      }
    }
  } else {
    for (const std::string& k : a.keys) {
      int32_t key = 0;
      if (TimeKernelResponseByName(s.typeCode, k.c_str(), &key) != 0)
        throw UsageError("--keys: '" + k + "' names no response of " +
                         (s.element ? std::string("a ") + typeName(s.typeCode) : std::string("a node")));
      s.keys.push_back(key);
    }
  }
  if (s.keys.empty()) throw UsageError("no keys to ask for");
  for (int32_t k : s.keys) s.names.push_back(responseName(s.typeCode, k));
  return s;
}

int32_t flagsOf(const Args& a, const Selection& s) {
  return (s.element ? TIMEKERNEL_ELEMENT_RESULTS : 0) | (a.rotate ? TIMEKERNEL_ROTATE : 0) |
         (a.baseMotion ? TIMEKERNEL_BASE_MOTION : 0);
}

// All steps of the selection, as values[id][step][key]; split into ranges of IDs so that one request stays
// well inside the library's 32-bit array length and the progress bar moves.
std::vector<double> allSteps(const File& file, const Selection& s, int32_t flags, int32_t mode, int32_t steps) {
  const size_t perId = s.keys.size() * static_cast<size_t>(steps);
  if (perId == 0) return {};
  if (perId > static_cast<size_t>(INT32_MAX)) throw UsageError("too many keys times steps for one ID");
  const size_t chunk =
      std::max<size_t>(1, std::min<size_t>(static_cast<size_t>(INT32_MAX) / perId, (8u << 20) / perId));
  std::vector<double> all(perId * s.ids.size());
  cli::Progress bar("reading", static_cast<long long>(s.ids.size()));
  for (size_t first = 0; first < s.ids.size(); first += chunk) {
    const size_t count = std::min(chunk, s.ids.size() - first);
    const std::vector<int32_t> ids(s.ids.begin() + static_cast<ptrdiff_t>(first),
                                   s.ids.begin() + static_cast<ptrdiff_t>(first + count));
    std::vector<double> part(perId * count);
    file.query(flags, ids, s.keys, mode, 0, part);
    std::copy(part.begin(), part.end(), all.begin() + static_cast<ptrdiff_t>(first * perId));
    bar.advance(static_cast<long long>(first + count));
  }
  return all;
}

// ---- the commands ----

void printHistory(const File& file, const Selection& s, const std::vector<double>& v, int32_t steps,
                  const std::vector<int32_t>& stepNumbers, Format format) {
  const size_t nk = s.keys.size();
  if (format == Format::Json) {
    std::printf("{\n  \"file\": %s,\n  \"kind\": \"%s\",\n  \"ids\": [", cli::jsonString(file.path()).c_str(),
                s.element ? "element" : "node");
    for (size_t i = 0; i < s.ids.size(); ++i) std::printf("%s%d", i ? ", " : "", s.ids[i]);
    std::printf("],\n  \"keys\": [");
    for (size_t r = 0; r < nk; ++r)
      std::printf("%s{\"id\": %d, \"name\": %s}", r ? ", " : "", s.keys[r],
                  cli::jsonString(s.names[r]).c_str());
    std::printf("],\n  \"steps\": [");
    for (size_t t = 0; t < stepNumbers.size(); ++t) std::printf("%s%d", t ? ", " : "", stepNumbers[t]);
    std::printf("],\n  \"values\": [");  // values[id][step][key]
    for (size_t i = 0; i < s.ids.size(); ++i) {
      std::printf("%s\n    [", i ? "," : "");
      for (int32_t t = 0; t < steps; ++t) {
        std::printf("%s[", t ? ", " : "");
        for (size_t r = 0; r < nk; ++r)
          std::printf("%s%s", r ? ", " : "",
                      cli::jsonNumber(v[i * nk * static_cast<size_t>(steps) + r + nk * static_cast<size_t>(t)])
                          .c_str());
        std::printf("]");
      }
      std::printf("]");
    }
    std::printf("\n  ]\n}\n");
    return;
  }
  cli::Table t;
  t.header = {s.element ? "element" : "node", "step"};
  t.header.insert(t.header.end(), s.names.begin(), s.names.end());
  for (size_t i = 0; i < s.ids.size(); ++i)
    for (int32_t st = 0; st < steps; ++st) {
      std::vector<Cell> row = {Cell::num(s.ids[i]), Cell::num(stepNumbers[static_cast<size_t>(st)])};
      for (size_t r = 0; r < nk; ++r)
        row.push_back(Cell::num(v[i * nk * static_cast<size_t>(steps) + r + nk * static_cast<size_t>(st)]));
      t.rows.push_back(std::move(row));
    }
  cli::writeTable(stdout, t, format);
}

std::vector<int32_t> oneToN(int32_t n) {
  std::vector<int32_t> v;
  for (int32_t i = 1; i <= n; ++i) v.push_back(i);
  return v;
}

void commandInfo(const File& file, Format format) {
  const TimeKernelDescription d = file.describe();
  std::map<int32_t, int> byType;
  if (d.elementCount > 0)
    for (const auto& e : file.elements()) ++byType[e.second];
  std::vector<int> sections;
  for (int s = 0; s < 27; ++s)
    if (d.sectionsPresent & (1u << s)) sections.push_back(s);
  if (format == Format::Json) {
    std::printf(
        "{\n  \"file\": %s,\n  \"format\": %d,\n  \"size\": %lld,\n  \"steps\": %d,\n  \"dofs\": %d,\n"
        "  \"modes\": %d,\n  \"loads\": %d,\n  \"nodes\": %d,\n  \"elements\": %d,\n  \"elementTypes\": {",
        cli::jsonString(file.path()).c_str(), d.formatNumber, static_cast<long long>(d.fileSize), d.stepCount,
        d.dofCount, d.modeCount, d.loadCount, d.nodeCount, d.elementCount);
    bool first = true;
    for (const auto& [type, n] : byType) {
      std::printf("%s%s: %d", first ? "" : ", ", cli::jsonString(typeName(type)).c_str(), n);
      first = false;
    }
    std::printf("},\n  \"sections\": [");
    for (size_t i = 0; i < sections.size(); ++i) std::printf("%s%d", i ? ", " : "", sections[i]);
    std::printf("]\n}\n");
    return;
  }
  cli::Table t;
  t.header = {"field", "value"};
  auto add = [&](const std::string& k, const std::string& v) {
    t.rows.push_back({Cell::str(k), Cell::str(v)});
  };
  add("file", file.path());
  add("format", std::to_string(d.formatNumber));
  add("size", std::to_string(static_cast<long long>(d.fileSize)) + " bytes");
  add("steps", std::to_string(d.stepCount));
  add("degrees of freedom", std::to_string(d.dofCount));
  add("modes", std::to_string(d.modeCount));
  add("loads", std::to_string(d.loadCount));
  add("nodes", std::to_string(d.nodeCount));
  std::string types;
  for (const auto& [type, n] : byType)
    types += (types.empty() ? " (" : ", ") + std::to_string(n) + " " + typeName(type);
  add("elements", std::to_string(d.elementCount) + (types.empty() ? "" : types + ")"));
  for (size_t i = 0; i < sections.size(); ++i)
    add(i == 0 ? "sections" : "", std::to_string(sections[i]) + " " + sectionName(sections[i]));
  cli::writeTable(stdout, t, format);
}

void commandNodes(const File& file, Format format) {
  cli::Table t;
  t.header = {"node", "components"};
  const std::vector<int32_t> ids = file.nodeIds();
  cli::Progress bar("reading", static_cast<long long>(ids.size()));
  for (size_t i = 0; i < ids.size(); ++i) {
    std::string names;
    for (int32_t k : file.responseIds(false, ids[i]))
      if (k % 100000000 / 100 == 1) names += (names.empty() ? "" : " ") + responseName(0, k);
    t.rows.push_back({Cell::num(ids[i]), Cell::str(names)});
    if (i % 256 == 0) bar.advance(static_cast<long long>(i));
  }
  cli::writeTable(stdout, t, format);
}

void commandElements(const File& file, Format format) {
  cli::Table t;
  t.header = {"element", "code", "type"};
  for (const auto& [id, type] : file.elements())
    t.rows.push_back({Cell::num(id), Cell::num(type), Cell::str(typeName(type))});
  cli::writeTable(stdout, t, format);
}

void commandKeys(const File& file, const Args& a) {
  if (a.hasNode == a.hasElement) throw UsageError("give either --node ID or --element ID");
  const bool element = a.hasElement;
  const int32_t id = element ? a.element : a.node;
  int32_t typeCode = 0;
  if (element)
    for (const auto& [eid, type] : file.elements())
      if (eid == id) typeCode = type;
  cli::Table t;
  t.header = {"key", "name"};
  for (int32_t k : file.responseIds(element, id))
    t.rows.push_back({Cell::num(k), Cell::str(responseName(typeCode, k))});
  cli::writeTable(stdout, t, a.format);
}

void commandHistory(const File& file, const Args& a) {
  const Selection s = select(file, a);
  const int32_t steps = file.describe().stepCount;
  printHistory(file, s, allSteps(file, s, flagsOf(a, s), 0, steps), steps, oneToN(steps), a.format);
}

void commandStep(const File& file, const Args& a) {
  if (!a.hasStep) throw UsageError("give --step N");
  const int32_t steps = file.describe().stepCount;
  if (a.step < 1 || a.step > steps)
    throw UsageError("--step: the file has steps 1 to " + std::to_string(steps) + ", not " +
                     std::to_string(a.step));
  const Selection s = select(file, a);
  std::vector<double> v(s.keys.size() * s.ids.size());
  file.query(flagsOf(a, s), s.ids, s.keys, 0, a.step, v);
  printHistory(file, s, v, 1, {a.step}, a.format);
}

void commandEnvelope(const File& file, const Args& a) {
  const Selection s = select(file, a, true);
  const int32_t flags = TIMEKERNEL_ENVELOPE | flagsOf(a, s);
  const size_t nk = s.keys.size();
  // One request per node: the diagonal of the n x n matrices is all that is read, so n stays keyCount.
  std::vector<double> env(2 * nk * nk);
  cli::Table t;
  t.header = {"node", "key", "max", "min"};
  cli::Progress bar("reading", static_cast<long long>(s.ids.size()));
  for (size_t i = 0; i < s.ids.size(); ++i) {
    file.query(flags, {s.ids[i]}, s.keys, 0, 0, env);
    for (size_t r = 0; r < nk; ++r)
      t.rows.push_back({Cell::num(s.ids[i]), Cell::str(s.names[r]), Cell::num(env[r * nk + r]),
                        Cell::num(env[nk * nk + r * nk + r])});
    bar.advance(static_cast<long long>(i + 1));
  }
  cli::writeTable(stdout, t, a.format);
}

void commandModal(const File& file, const Args& a) {
  const Selection s = select(file, a);
  const TimeKernelDescription d = file.describe();
  const int32_t flags = flagsOf(a, s) | TIMEKERNEL_SINGLE_MODE;
  if (a.hasMode) {
    if (a.mode < 1 || a.mode > d.modeCount)
      throw UsageError("--mode: the file has modes 1 to " + std::to_string(d.modeCount) + ", not " +
                       std::to_string(a.mode));
    printHistory(file, s, allSteps(file, s, flags, a.mode, d.stepCount), d.stepCount, oneToN(d.stepCount),
                 a.format);
    return;
  }
  cli::Table t;
  t.header = {"mode", s.element ? "element" : "node", "key", "peak", "step"};
  const size_t nk = s.keys.size(), steps = static_cast<size_t>(d.stepCount);
  for (int32_t m = 1; m <= d.modeCount; ++m) {
    const std::vector<double> v = allSteps(file, s, flags, m, d.stepCount);
    for (size_t i = 0; i < s.ids.size(); ++i)
      for (size_t r = 0; r < nk; ++r) {
        double peak = 0.0;
        size_t at = 0;
        for (size_t st = 0; st < steps; ++st) {
          const double x = v[i * nk * steps + r + nk * st];
          if (std::fabs(x) > std::fabs(peak)) peak = x, at = st;
        }
        t.rows.push_back({Cell::num(m), Cell::num(s.ids[i]), Cell::str(s.names[r]), Cell::num(peak),
                          Cell::num(static_cast<double>(at + 1))});
      }
  }
  cli::writeTable(stdout, t, a.format);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Args a = parseArgs(argc, argv);
    static const char* const commands[] = {"info",    "nodes", "elements", "keys",
                                           "history", "step",  "envelope", "modal"};
    const bool known = std::find_if(std::begin(commands), std::end(commands),
                                    [&](const char* c) { return a.command == c; }) != std::end(commands);
    if (a.command.empty() || a.command == "help") {
      std::fputs(kOverview, a.command.empty() && !a.help ? stderr : stdout);
      return a.command.empty() && !a.help ? 2 : 0;
    }
    if (!known) throw UsageError("unknown command '" + a.command + "'");
    if (a.help) {
      std::fputs(help(a.command).c_str(), stdout);
      return 0;
    }
    if (a.file.empty()) throw UsageError("give the kernel file");
    const File file(a.file);
    if (a.command == "info")
      commandInfo(file, a.format);
    else if (a.command == "nodes")
      commandNodes(file, a.format);
    else if (a.command == "elements")
      commandElements(file, a.format);
    else if (a.command == "keys")
      commandKeys(file, a);
    else if (a.command == "history")
      commandHistory(file, a);
    else if (a.command == "step")
      commandStep(file, a);
    else if (a.command == "envelope")
      commandEnvelope(file, a);
    else
      commandModal(file, a);
    return 0;
  } catch (const UsageError& e) {
    std::fprintf(stderr, "timekernel: %s\n(run 'timekernel --help' or 'timekernel COMMAND --help')\n",
                 e.what());
    return 2;
  } catch (const LibraryError& e) {
    std::fprintf(stderr, "timekernel: %s\n", e.what());
    return 1;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "timekernel: %s\n", e.what());
    return 1;
  }
}
