#include "Output.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#if defined(_WIN32)
#include <io.h>
#define TIMEKERNEL_ISATTY _isatty
#define TIMEKERNEL_FILENO _fileno
#else
#include <unistd.h>
#define TIMEKERNEL_ISATTY isatty
#define TIMEKERNEL_FILENO fileno
#endif

namespace cli {

std::string exactNumber(double v) {
  if (std::isnan(v)) return "nan";
  if (std::isinf(v)) return v > 0 ? "inf" : "-inf";
  char buf[40];
  if (v == std::trunc(v) && std::fabs(v) < 1e15) {  // whole numbers as integers: 10, not 1e+01
    std::snprintf(buf, sizeof buf, "%.0f", v);
    return buf;
  }
  for (int precision = 1; precision <= 17; ++precision) {  // the shortest form that reads back exactly
    std::snprintf(buf, sizeof buf, "%.*g", precision, v);
    if (std::strtod(buf, nullptr) == v) break;
  }
  return buf;
}

std::string jsonNumber(double v) { return std::isfinite(v) ? exactNumber(v) : "null"; }

std::string jsonString(const std::string& s) {
  std::string out = "\"";
  for (unsigned char c : s) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      out += buf;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

namespace {

std::string tableText(const Cell& c) {
  if (!c.isNumber) return c.text;
  char buf[40];
  if (c.number == std::trunc(c.number) && std::fabs(c.number) < 1e15)  // IDs and response ids in full
    std::snprintf(buf, sizeof buf, "%.0f", c.number);
  else
    std::snprintf(buf, sizeof buf, "%.6g", c.number);
  return buf;
}

std::string csvText(const Cell& c) {
  if (c.isNumber) return exactNumber(c.number);
  if (c.text.find_first_of(",\"\n\r") == std::string::npos) return c.text;
  std::string out = "\"";
  for (char ch : c.text) {
    if (ch == '"') out += '"';
    out += ch;
  }
  return out + "\"";
}

}  // namespace

void writeTable(std::FILE* out, const Table& t, Format f) {
  if (f == Format::Csv) {
    for (size_t j = 0; j < t.header.size(); ++j)
      std::fprintf(out, "%s%s", j ? "," : "", csvText(Cell::str(t.header[j])).c_str());
    std::fprintf(out, "\n");
    for (const auto& row : t.rows) {
      for (size_t j = 0; j < row.size(); ++j) std::fprintf(out, "%s%s", j ? "," : "", csvText(row[j]).c_str());
      std::fprintf(out, "\n");
    }
    return;
  }
  if (f == Format::Json) {  // an array of objects, one per row, keyed by the header
    std::fprintf(out, "[");
    for (size_t i = 0; i < t.rows.size(); ++i) {
      std::fprintf(out, "%s\n  {", i ? "," : "");
      for (size_t j = 0; j < t.rows[i].size() && j < t.header.size(); ++j) {
        const Cell& c = t.rows[i][j];
        std::fprintf(out, "%s%s: %s", j ? ", " : "", jsonString(t.header[j]).c_str(),
                     c.isNumber ? jsonNumber(c.number).c_str() : jsonString(c.text).c_str());
      }
      std::fprintf(out, "}");
    }
    std::fprintf(out, "\n]\n");
    return;
  }
  std::vector<size_t> width(t.header.size(), 0);
  std::vector<bool> numeric(t.header.size(), false);
  for (size_t j = 0; j < t.header.size(); ++j) width[j] = t.header[j].size();
  std::vector<std::vector<std::string>> text;
  for (const auto& row : t.rows) {
    text.emplace_back();
    for (size_t j = 0; j < row.size() && j < width.size(); ++j) {
      text.back().push_back(tableText(row[j]));
      width[j] = std::max(width[j], text.back().back().size());
      if (row[j].isNumber) numeric[j] = true;
    }
  }
  auto line = [&](const std::vector<std::string>& cells) {
    std::string s;
    for (size_t j = 0; j < cells.size(); ++j) {
      const std::string pad(width[j] - cells[j].size(), ' ');
      s += (j ? "  " : "") + (numeric[j] ? pad + cells[j] : cells[j] + (j + 1 < cells.size() ? pad : ""));
    }
    std::fprintf(out, "%s\n", s.c_str());
  };
  line(t.header);
  for (const auto& row : text) line(row);
}

Progress::Progress(const char* what, long long total)
    : what_(what), total_(total), active_(total > 0 && TIMEKERNEL_ISATTY(TIMEKERNEL_FILENO(stderr)) != 0) {}

Progress::~Progress() {
  if (active_ && drawn_ >= 0) std::fprintf(stderr, "\r%*s\r", 60, "");
}

void Progress::advance(long long done) {
  if (!active_) return;
  const int width = 30;
  const int filled = static_cast<int>(width * std::min(done, total_) / total_);
  if (filled == drawn_) return;
  drawn_ = filled;
  std::fprintf(stderr, "\r%s [%s%s] %3d%%", what_, std::string(static_cast<size_t>(filled), '#').c_str(),
               std::string(static_cast<size_t>(width - filled), '.').c_str(),
               static_cast<int>(100 * std::min(done, total_) / total_));
  std::fflush(stderr);
}

}  // namespace cli
